// The site's network: browsing with the packing of WNetEnumResource, the lists
// of the Net* calls, and the domain controller rules.

#include "sitefixture.h"

#include <QString>
#include <QStringList>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

struct Network {
    SiteTest::Site site;
    std::unique_ptr<Platform> platform;

    Network() {
        site.WriteHosts();
        site.Write("hosts/DC1/host.ini", "[Host]\r\n");
        site.Write("network.ini",
                   "[Provider:Microsoft Windows Network]\r\nDomains=CORP, LAB\r\n\r\n"
                   "[Provider:NetWare or Compatible Network]\r\nDomains=NWTREE\r\n\r\n"
                   "[Domain:CORP]\r\nController=DC1\r\nBackupControllers=DC2\r\n"
                   "Computers=DC1,RAS1,WS1,Console\r\nDialinServers=RAS1,RAS2\r\n"
                   "Users=Administrator,alice,bob,carol,dave\r\nGroups=Domain Users,Dialers\r\n"
                   "LocalGroups=Administrators,Users\r\n\r\n"
                   "[Group:CORP\\Dialers]\r\nMembers=alice, bob, carol\r\n\r\n"
                   "[Domain:LAB]\r\nController=DOWN\r\nUsers=tester\r\n\r\n"
                   "[Domain:NWTREE]\r\nComputers=NW1\r\n");
        platform = site.Open();
    }
    INetwork& Net() { return *platform->network; }
};

QStringList Names(const std::vector<std::u16string>& names) {
    QStringList list;
    for (const auto& n : names)
        list << QString::fromStdU16String(n);
    return list;
}

QStringList Remote(const std::vector<NetResource>& entries) {
    QStringList list;
    for (const auto& e : entries)
        list << QString::fromLatin1(e.remoteName);
    return list;
}

NetResource Container(DWORD displayType, const QString& name) {
    NetResource r;
    r.displayType = displayType;
    r.usage = ResourceUsage::Container;
    r.remoteName = name.toStdString();
    r.provider = "Microsoft Windows Network";
    return r;
}

// Size of an entry packed as NETRESOURCEA.
DWORD Packed(const NetResource& r) {
    DWORD size = 32;
    for (const std::string* s : {&r.localName, &r.remoteName, &r.comment, &r.provider})
        if (!s->empty())
            size += DWORD(s->size() + 1);
    return size;
}

enum Call { Servers, Users, Groups, LocalGroups, Members };

// A Net* list in one page: the dial-in servers of a domain, or a list that the
// domain controller server keeps.
DWORD List(INetwork& net, Call call, const std::u16string& server, std::vector<std::u16string>* names,
           DWORD* total) {
    DWORD resume = 0;
    DWORD_PTR handle = 0;
    switch (call) {
    case Servers:
        return net.ServerEnum(server, ServerType::DialinServer, 0xFFFFFFFF, names, total, &resume);
    case Users:
        return net.UserEnum(server, UserFilter::NormalAccount, 0xFFFFFFFF, names, total, &resume);
    case Groups:
        return net.GroupEnum(server, 0xFFFFFFFF, names, total, &handle);
    case LocalGroups:
        return net.LocalGroupEnum(server, 0xFFFFFFFF, names, total, &handle);
    case Members:
        return net.GroupGetUsers(server, u"Dialers", 0xFFFFFFFF, names, total, &handle);
    }
    return 0xDEAD;
}

} // namespace

class TestSiteNetwork : public QObject {
    Q_OBJECT

private slots:
    void browse_data() {
        QTest::addColumn<int>("displayType"); // of the container; -1: the top
        QTest::addColumn<QString>("container");
        QTest::addColumn<int>("result");
        QTest::addColumn<QStringList>("entries");

        QTest::newRow("providers") << -1 << QString() << 0
                                   << QStringList{u"Microsoft Windows Network"_s,
                                                  u"NetWare or Compatible Network"_s};
        QTest::newRow("domains") << int(DisplayType::Network) << u"NetWare or Compatible Network"_s << 0
                                 << QStringList{u"NWTREE"_s};
        QTest::newRow("a share is no container")
            << int(DisplayType::Share) << u"\\\\RAS1\\CW_NT_DB"_s << int(Err::NotContainer) << QStringList{};
        QTest::newRow("unknown provider")
            << int(DisplayType::Network) << u"Banyan"_s << int(Err::BadNetName) << QStringList{};
        QTest::newRow("unknown domain")
            << int(DisplayType::Domain) << u"NOWHERE"_s << int(Err::BadNetName) << QStringList{};
    }

    void browse() {
        QFETCH(int, displayType);
        QFETCH(QString, container);
        QFETCH(int, result);
        QFETCH(QStringList, entries);

        Network n;
        NetResource parent = Container(DWORD(displayType), container);
        if (displayType == DisplayType::Share)
            parent.usage = ResourceUsage::Connectable;
        HNETENUM handle = nullptr;
        QCOMPARE(int(n.Net().OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0,
                                      displayType < 0 ? nullptr : &parent, &handle)),
                 result);
        std::vector<NetResource> got;
        DWORD count = 0xFFFFFFFF;
        if (handle)
            n.Net().EnumResource(handle, &count, 32768, &got);
        QCOMPARE(Remote(got), entries);
        n.Net().CloseEnum(handle);
    }

    // Entries are handed out as they fit the caller's buffer and count.
    void enumPacking() {
        Network n;
        const NetResource corp = Container(DisplayType::Domain, u"corp"_s);
        HNETENUM handle = nullptr;
        std::vector<NetResource> all, got;
        DWORD count = 0xFFFFFFFF;
        QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle),
                 Err::Success);
        QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &all), Err::Success);
        QCOMPARE(Remote(all), (QStringList{u"\\\\DC1"_s, u"\\\\RAS1"_s, u"\\\\WS1"_s, u"\\\\Console"_s,
                                           u"\\\\DC2"_s, u"\\\\RAS2"_s}));
        n.Net().CloseEnum(handle);

        QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle),
                 Err::Success);
        // "\\DC1" and "\\RAS1" fit exactly; the third does not.
        count = 0xFFFFFFFF;
        QCOMPARE(n.Net().EnumResource(handle, &count, Packed(all[0]) + Packed(all[1]), &got), Err::Success);
        QCOMPARE(count, DWORD(2));
        // One byte too few for the next entry: nothing, and MoreData.
        count = 0xFFFFFFFF;
        QCOMPARE(n.Net().EnumResource(handle, &count, Packed(all[2]) - 1, &got), Err::MoreData);
        QCOMPARE(count, DWORD(0));
        // A count limit wins over a large buffer.
        count = 1;
        QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &got), Err::Success);
        QCOMPARE(count, DWORD(1));
        count = 0xFFFFFFFF;
        QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &got), Err::Success);
        QCOMPARE(count, DWORD(3));
        QCOMPARE(Remote(got), Remote(all));
        QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &got), Err::NoMoreItems);
        QCOMPARE(n.Net().CloseEnum(handle), Err::Success);
        count = 1;
        QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &got), Err::InvalidHandle);
    }

    void accounts_data() {
        QTest::addColumn<int>("call");
        QTest::addColumn<QString>("server");
        QTest::addColumn<int>("result");
        QTest::addColumn<QStringList>("names");

        const QStringList dialin{u"RAS1"_s, u"RAS2"_s};
        QTest::newRow("dial-in servers") << int(Servers) << u"CORP"_s << 0 << dialin;
        QTest::newRow("domain in other case") << int(Servers) << u"corp"_s << 0 << dialin;
        QTest::newRow("primary domain") << int(Servers) << QString() << 0 << dialin;
        QTest::newRow("no dial-in servers") << int(Servers) << u"LAB"_s << 0 << QStringList{};
        QTest::newRow("unknown domain")
            << int(Servers) << u"NOWHERE"_s << int(Err::NoSuchDomain) << QStringList{};
        QTest::newRow("users") << int(Users) << u"\\\\DC1"_s << 0
                               << QStringList{u"Administrator"_s, u"alice"_s, u"bob"_s, u"carol"_s,
                                              u"dave"_s};
        QTest::newRow("groups") << int(Groups) << u"\\\\DC1"_s << 0
                                << QStringList{u"Domain Users"_s, u"Dialers"_s};
        QTest::newRow("local groups")
            << int(LocalGroups) << u"DC1"_s << 0 << QStringList{u"Administrators"_s, u"Users"_s};
        QTest::newRow("members") << int(Members) << u"DC1"_s << 0
                                 << QStringList{u"alice"_s, u"bob"_s, u"carol"_s};
        QTest::newRow("not a controller: no users") << int(Users) << u"\\\\RAS1"_s << 0 << QStringList{};
        QTest::newRow("not a controller: no group")
            << int(Members) << u"RAS1"_s << int(Err::NerrGroupNotFound) << QStringList{};
    }

    void accounts() {
        QFETCH(int, call);
        QFETCH(QString, server);
        QFETCH(int, result);
        QFETCH(QStringList, names);

        Network n;
        std::vector<std::u16string> got;
        DWORD total = 99;
        QCOMPARE(int(List(n.Net(), Call(call), server.toStdU16String(), &got, &total)), result);
        QCOMPARE(Names(got), names);
        QCOMPARE(total, DWORD(names.size()));
    }

    void dcName_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("domain");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("controller");

        QTest::newRow("named domain") << QString() << u"CORP"_s << 0 << u"\\\\DC1"_s;
        QTest::newRow("primary domain") << QString() << QString() << 0 << u"\\\\DC1"_s;
        QTest::newRow("asked of a server") << u"\\\\RAS1"_s << u"corp"_s << 0 << u"\\\\DC1"_s;
        QTest::newRow("controller unreachable still named") << QString() << u"LAB"_s << 0 << u"\\\\DOWN"_s;
        QTest::newRow("domain without controller")
            << QString() << u"NWTREE"_s << int(Err::NerrDcNotFound) << QString();
        QTest::newRow("unknown domain") << QString() << u"NOWHERE"_s << int(Err::NerrDcNotFound) << QString();
    }

    void dcName() {
        QFETCH(QString, server);
        QFETCH(QString, domain);
        QFETCH(int, result);
        QFETCH(QString, controller);

        Network n;
        std::u16string name;
        QCOMPARE(int(n.Net().GetDCName(server.toStdU16String(), domain.toStdU16String(), &name)), result);
        QCOMPARE(QString::fromStdU16String(name), controller);
    }
};

QTEST_GUILESS_MAIN(TestSiteNetwork)
#include "tst_sitenetwork.moc"
