// The site's network browsed with the packing of WNetEnumResource: entries are
// handed out as they fit the caller's buffer and count.

#include "sitefixture.h"

#include <QString>
#include <QStringList>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

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
    void browse() {
        SiteTest::Site site;
        site.WriteHosts();
        site.Write("network.ini",
                   "[Provider:Microsoft Windows Network]\r\nDomains=CORP\r\n\r\n[Domain:CORP]\r\n"
                   "Controller=DC1\r\nBackupControllers=DC2\r\nComputers=DC1,RAS1,WS1,Console\r\n"
                   "DialinServers=RAS1,RAS2\r\n");
        auto platform = site.Open();
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
};

QTEST_GUILESS_MAIN(TestSiteNetwork)
#include "tst_sitenetwork.moc"
