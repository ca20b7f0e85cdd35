// The site's network: browsing with the packing of WNetEnumResource, and the
// dial-in servers and controller of a domain.

#include "sitefixture.h"

#include <QString>
#include <QStringList>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<Platform> OpenNetwork(SiteTest::Site& site) {
    site.WriteHosts();
    site.Write("network.ini", "[Provider:Microsoft Windows Network]\r\nDomains=CORP, LAB\r\n\r\n"
                              "[Provider:NetWare or Compatible Network]\r\nDomains=NWTREE\r\n\r\n"
                              "[Domain:CORP]\r\nController=DC1\r\nBackupControllers=DC2\r\n"
                              "Computers=DC1,RAS1,WS1,Console\r\nDialinServers=RAS1,RAS2\r\n\r\n"
                              "[Domain:LAB]\r\nController=DOWN\r\n\r\n[Domain:NWTREE]\r\nComputers=NW1\r\n");
    return site.Open();
}

QStringList Remote(const std::vector<NetResource>& entries) {
    QStringList list;
    for (const auto& e : entries)
        list << QString::fromLatin1(e.remoteName);
    return list;
}

// Size of an entry packed as NETRESOURCEA.
DWORD Packed(const NetResource& r) {
    DWORD size = 32;
    for (const std::string* s : {&r.localName, &r.remoteName, &r.comment, &r.provider})
        if (!s->empty())
            size += DWORD(s->size() + 1);
    return size;
}

} // namespace

class TestSiteNetwork : public QObject {
    Q_OBJECT

private slots:
    // Entries are handed out as they fit the caller's buffer and count.
    void browse() {
        SiteTest::Site site;
        auto platform = OpenNetwork(site);
        INetwork& net = *platform->network;
        NetResource corp;
        corp.displayType = DisplayType::Domain;
        corp.usage = ResourceUsage::Container;
        corp.remoteName = "corp";
        corp.provider = "Microsoft Windows Network";
        HNETENUM handle = nullptr;
        std::vector<NetResource> all, got;
        DWORD count = 0xFFFFFFFF;
        QCOMPARE(net.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle), Err::Success);
        QCOMPARE(net.EnumResource(handle, &count, 1 << 20, &all), Err::Success);
        QCOMPARE(Remote(all), (QStringList{u"\\\\DC1"_s, u"\\\\RAS1"_s, u"\\\\WS1"_s, u"\\\\Console"_s,
                                           u"\\\\DC2"_s, u"\\\\RAS2"_s}));
        net.CloseEnum(handle);

        QCOMPARE(net.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle), Err::Success);
        // "\\DC1" and "\\RAS1" fit exactly; the third does not.
        count = 0xFFFFFFFF;
        QCOMPARE(net.EnumResource(handle, &count, Packed(all[0]) + Packed(all[1]), &got), Err::Success);
        QCOMPARE(count, DWORD(2));
        // One byte too few for the next entry: nothing, and MoreData.
        count = 0xFFFFFFFF;
        QCOMPARE(net.EnumResource(handle, &count, Packed(all[2]) - 1, &got), Err::MoreData);
        QCOMPARE(count, DWORD(0));
        // A count limit wins over a large buffer.
        count = 1;
        QCOMPARE(net.EnumResource(handle, &count, 1 << 20, &got), Err::Success);
        QCOMPARE(count, DWORD(1));
        count = 0xFFFFFFFF;
        QCOMPARE(net.EnumResource(handle, &count, 1 << 20, &got), Err::Success);
        QCOMPARE(count, DWORD(3));
        QCOMPARE(Remote(got), Remote(all));
        QCOMPARE(net.EnumResource(handle, &count, 1 << 20, &got), Err::NoMoreItems);
        QCOMPARE(net.CloseEnum(handle), Err::Success);
        count = 1;
        QCOMPARE(net.EnumResource(handle, &count, 1 << 20, &got), Err::InvalidHandle);

        // What cannot be browsed.
        corp.remoteName = "NOWHERE";
        QCOMPARE(net.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle),
                 Err::BadNetName);
        corp.displayType = DisplayType::Network;
        corp.remoteName = "Banyan";
        QCOMPARE(net.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle),
                 Err::BadNetName);
        corp.usage = ResourceUsage::Connectable;
        QCOMPARE(net.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle),
                 Err::NotContainer);
        QVERIFY(!handle);
    }

    void domains_data() {
        QTest::addColumn<QString>("domain");
        QTest::addColumn<int>("serversResult");
        QTest::addColumn<QStringList>("servers");
        QTest::addColumn<int>("controllerResult");
        QTest::addColumn<QString>("controller");

        const QStringList corp{u"RAS1"_s, u"RAS2"_s};
        QTest::newRow("primary domain") << QString() << 0 << corp << 0 << u"\\\\DC1"_s;
        QTest::newRow("name in other case") << u"corp"_s << 0 << corp << 0 << u"\\\\DC1"_s;
        QTest::newRow("controller unreachable, still named")
            << u"LAB"_s << 0 << QStringList{} << 0 << u"\\\\DOWN"_s;
        QTest::newRow("no controller")
            << u"NWTREE"_s << 0 << QStringList{} << int(Err::NerrDcNotFound) << QString();
        QTest::newRow("unknown domain") << u"NOWHERE"_s << int(Err::NoSuchDomain) << QStringList{}
                                        << int(Err::NerrDcNotFound) << QString();
    }

    void domains() {
        QFETCH(QString, domain);
        QFETCH(QStringList, servers);
        QFETCH(QString, controller);

        SiteTest::Site site;
        auto platform = OpenNetwork(site);
        std::vector<std::u16string> names;
        DWORD total = 99, resume = 0;
        QTEST(int(platform->network->ServerEnum(domain.toStdU16String(), ServerType::DialinServer, 0xFFFFFFFF,
                                                &names, &total, &resume)),
              "serversResult");
        QStringList got;
        for (const auto& n : names)
            got << QString::fromStdU16String(n);
        QCOMPARE(got, servers);
        QCOMPARE(total, DWORD(servers.size()));
        std::u16string dc;
        QTEST(int(platform->network->GetDCName(u"\\\\RAS1", domain.toStdU16String(), &dc)),
              "controllerResult");
        QCOMPARE(QString::fromStdU16String(dc), controller);
    }
};

QTEST_GUILESS_MAIN(TestSiteNetwork)
#include "tst_sitenetwork.moc"
