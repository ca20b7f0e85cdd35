// The site's network: browsing with the packing of WNetEnumResource and the
// paging of the Net* calls, and the domain controller rules.

#include "sitefixture.h"

#include <QString>
#include <QStringList>

#include <numeric>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

constexpr const char* kNetwork = "[Provider:Microsoft Windows Network]\r\nDomains=CORP, LAB\r\n\r\n"
                                 "[Provider:NetWare or Compatible Network]\r\nDomains=NWTREE\r\n\r\n"
                                 "[Domain:CORP]\r\nController=DC1\r\nBackupControllers=DC2\r\n"
                                 "Computers=DC1,RAS1,WS1,Console\r\nDialinServers=RAS1,RAS2\r\n"
                                 "Users=Administrator,alice,bob,carol,dave\r\nGroups=Domain Users,Dialers\r\n"
                                 "LocalGroups=Administrators,Users\r\n\r\n"
                                 "[Group:CORP\\Dialers]\r\nMembers=alice, bob, carol\r\n\r\n"
                                 "[Domain:LAB]\r\nController=DOWN\r\nUsers=tester\r\n\r\n"
                                 "[Domain:NWTREE]\r\nComputers=NW1\r\n";

struct Network {
    SiteTest::Site site;
    std::unique_ptr<Platform> platform;

    Network() {
        site.WriteHosts();
        site.Write("hosts/DC1/host.ini", "[Host]\r\n");
        site.Write("network.ini", kNetwork);
        site.Write("hosts/RAS1/shares/CW_NT_DB/callward.usr", "");
        site.Write("hosts/RAS1/shares/admin$/system32/placeholder", "");
        site.Write("site.ini", "[Site]\r\nLocalComputer=Console\r\n[Shares]\r\n\\\\RAS1\\Mapped=/tmp\r\n");
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
    void browse_data();
    void browse();
    void enumPacking();
    void openErrors();
    void serverEnum_data();
    void serverEnum();
    void paging_data();
    void paging();
    void dcName_data();
    void dcName();
    void accounts_data();
    void accounts();
    void groupMembers_data();
    void groupMembers();
};

void TestSiteNetwork::browse_data() {
    QTest::addColumn<int>("displayType"); // of the container; -1: the top
    QTest::addColumn<QString>("container");
    QTest::addColumn<QString>("provider");
    QTest::addColumn<int>("usage");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<int>("entryType");

    QTest::newRow("providers") << -1 << QString() << QString() << 0
                               << QStringList{u"Microsoft Windows Network"_s,
                                              u"NetWare or Compatible Network"_s}
                               << int(DisplayType::Network);
    QTest::newRow("domains") << int(DisplayType::Network) << u"Microsoft Windows Network"_s
                             << u"Microsoft Windows Network"_s << 0 << QStringList{u"CORP"_s, u"LAB"_s}
                             << int(DisplayType::Domain);
    QTest::newRow("other provider") << int(DisplayType::Network) << u"NetWare or Compatible Network"_s
                                    << u"NetWare or Compatible Network"_s << 0 << QStringList{u"NWTREE"_s}
                                    << int(DisplayType::Domain);
    QTest::newRow("computers") << int(DisplayType::Domain) << u"corp"_s << u"Microsoft Windows Network"_s << 0
                               << QStringList{u"\\\\DC1"_s,     u"\\\\RAS1"_s, u"\\\\WS1"_s,
                                              u"\\\\Console"_s, u"\\\\DC2"_s,  u"\\\\RAS2"_s}
                               << int(DisplayType::Server);
    QTest::newRow("shares without hidden ones")
        << int(DisplayType::Server) << u"\\\\RAS1"_s << u"Microsoft Windows Network"_s << 0
        << QStringList{u"\\\\RAS1\\CW_NT_DB"_s, u"\\\\RAS1\\Mapped"_s} << int(DisplayType::Share);
    QTest::newRow("only connectable") << int(DisplayType::Domain) << u"CORP"_s << QString()
                                      << int(ResourceUsage::Connectable) << QStringList{} << 0;
}

void TestSiteNetwork::browse() {
    QFETCH(int, displayType);
    QFETCH(QString, container);
    QFETCH(QString, provider);
    QFETCH(int, usage);
    QFETCH(QStringList, entries);
    QFETCH(int, entryType);

    Network n;
    NetResource parent;
    parent.displayType = DWORD(displayType);
    parent.usage = ResourceUsage::Container;
    parent.remoteName = container.toStdString();
    parent.provider = provider.toStdString();
    HNETENUM handle = nullptr;
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, DWORD(usage),
                              displayType < 0 ? nullptr : &parent, &handle),
             Err::Success);
    std::vector<NetResource> got;
    DWORD count = 0xFFFFFFFF;
    DWORD r = n.Net().EnumResource(handle, &count, 32768, &got);
    if (entries.isEmpty()) {
        QCOMPARE(r, Err::NoMoreItems);
    } else {
        QCOMPARE(r, Err::Success);
        QCOMPARE(count, DWORD(entries.size()));
    }
    QCOMPARE(Remote(got), entries);
    for (const NetResource& e : got) {
        QCOMPARE(int(e.displayType), entryType);
        QCOMPARE(e.scope, ResourceScope::GlobalNet);
        QCOMPARE(e.usage, entryType == int(DisplayType::Share) ? ResourceUsage::Connectable
                                                               : ResourceUsage::Container);
        if (!provider.isEmpty())
            QCOMPARE(QString::fromStdString(e.provider), provider);
    }
    count = 0xFFFFFFFF;
    QCOMPARE(n.Net().EnumResource(handle, &count, 32768, &got), Err::NoMoreItems);
    QCOMPARE(count, DWORD(0));
    QCOMPARE(n.Net().CloseEnum(handle), Err::Success);
    QCOMPARE(n.Net().CloseEnum(handle), Err::InvalidHandle);
}

// Entries are handed out as they fit the caller's buffer and count.
void TestSiteNetwork::enumPacking() {
    Network n;
    NetResource corp;
    corp.displayType = DisplayType::Domain;
    corp.usage = ResourceUsage::Container;
    corp.remoteName = "CORP";
    corp.provider = "Microsoft Windows Network";
    HNETENUM handle = nullptr;
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle), Err::Success);

    std::vector<NetResource> all;
    DWORD count = 0xFFFFFFFF;
    QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &all), Err::Success);
    QCOMPARE(all.size(), std::size_t(6));
    n.Net().CloseEnum(handle);

    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &corp, &handle), Err::Success);
    std::vector<NetResource> got;
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
    count = 0xFFFFFFFF;
    QCOMPARE(n.Net().EnumResource(handle, &count, 1 << 20, &got), Err::NoMoreItems);
    QCOMPARE(n.Net().CloseEnum(handle), Err::Success);
    count = 1;
    QCOMPARE(n.Net().EnumResource(handle, &count, 100, &got), Err::InvalidHandle);
}

void TestSiteNetwork::openErrors() {
    Network n;
    HNETENUM handle = nullptr;
    NetResource r;
    r.usage = ResourceUsage::Connectable;
    r.displayType = DisplayType::Share;
    r.remoteName = "\\\\RAS1\\CW_NT_DB";
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, 0, 0, &r, &handle), Err::NotContainer);
    r.usage = ResourceUsage::Container;
    r.displayType = DisplayType::Network;
    r.remoteName = "Banyan";
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, 0, 0, &r, &handle), Err::BadNetName);
    r.displayType = DisplayType::Domain;
    r.remoteName = "NOWHERE";
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, 0, 0, &r, &handle), Err::BadNetName);
    r.displayType = DisplayType::Server;
    r.remoteName = "\\\\DOWN";
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, 0, 0, &r, &handle), Err::BadNetPath);
    r.remoteName = "\\\\LOCKED";
    QCOMPARE(n.Net().OpenEnum(ResourceScope::GlobalNet, 0, 0, &r, &handle), Err::AccessDenied);
    QVERIFY(!handle);
    // Nothing is connected on a site.
    QCOMPARE(n.Net().OpenEnum(ResourceScope::Connected, 0, 0, nullptr, &handle), Err::Success);
    DWORD count = 0xFFFFFFFF;
    std::vector<NetResource> got;
    QCOMPARE(n.Net().EnumResource(handle, &count, 4096, &got), Err::NoMoreItems);
    n.Net().CloseEnum(handle);
}

void TestSiteNetwork::serverEnum_data() {
    QTest::addColumn<QString>("domain");
    QTest::addColumn<uint>("type");
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("dial-in servers") << u"CORP"_s << uint(ServerType::DialinServer) << 0
                                     << QStringList{u"RAS1"_s, u"RAS2"_s};
    QTest::newRow("domain name in other case")
        << u"corp"_s << uint(ServerType::DialinServer) << 0 << QStringList{u"RAS1"_s, u"RAS2"_s};
    QTest::newRow("servers") << u"CORP"_s << uint(ServerType::Server) << 0
                             << QStringList{u"DC1"_s, u"RAS1"_s, u"WS1"_s, u"Console"_s, u"DC2"_s, u"RAS2"_s};
    QTest::newRow("controller") << u"CORP"_s << uint(ServerType::DomainController) << 0
                                << QStringList{u"DC1"_s};
    QTest::newRow("controllers of both kinds")
        << u"CORP"_s << uint(ServerType::DomainController | ServerType::BackupController) << 0
        << QStringList{u"DC1"_s, u"DC2"_s};
    QTest::newRow("primary domain") << QString() << uint(ServerType::DialinServer) << 0
                                    << QStringList{u"RAS1"_s, u"RAS2"_s};
    QTest::newRow("no dial-in servers") << u"LAB"_s << uint(ServerType::DialinServer) << 0 << QStringList{};
    QTest::newRow("unknown domain") << u"NOWHERE"_s << uint(ServerType::All) << int(Err::NoSuchDomain)
                                    << QStringList{};
}

void TestSiteNetwork::serverEnum() {
    QFETCH(QString, domain);
    QFETCH(uint, type);
    QFETCH(int, result);
    QFETCH(QStringList, names);

    Network n;
    std::vector<std::u16string> got;
    DWORD total = 99, resume = 0;
    QCOMPARE(int(n.Net().ServerEnum(domain.toStdU16String(), type, 0xFFFFFFFF, &got, &total, &resume)),
             result);
    QCOMPARE(Names(got), names);
    QCOMPARE(total, DWORD(names.size()));
}

void TestSiteNetwork::paging_data() {
    QTest::addColumn<int>("call"); // 0 servers, 1 users, 2 groups, 3 local groups, 4 members
    QTest::addColumn<uint>("prefMaxLen");
    QTest::addColumn<QList<int>>("pages");

    // An entry costs 8 bytes and its UTF-16 name with terminator: DC1 16,
    // RAS1 18, WS1 16, Console 24, DC2 16, RAS2 18; Administrator 36, alice 20,
    // bob 16, carol 20, dave 18.
    QTest::newRow("servers, pages of 40") << 0 << 40u << QList<int>{2, 2, 2};
    QTest::newRow("servers, one byte less") << 0 << 39u << QList<int>{2, 1, 1, 2};
    QTest::newRow("servers, tiny pages still move") << 0 << 1u << QList<int>{1, 1, 1, 1, 1, 1};
    QTest::newRow("servers, one page") << 0 << 0xFFFFFFFFu << QList<int>{6};
    QTest::newRow("users") << 1 << 40u << QList<int>{1, 2, 2};
    QTest::newRow("groups") << 2 << 1u << QList<int>{1, 1};
    QTest::newRow("local groups") << 3 << 10000u << QList<int>{2};
    QTest::newRow("members") << 4 << 36u << QList<int>{2, 1};
}

// Each call returns one page and MoreData while pages remain; the resume handle
// carries on where the last page ended, and nothing is lost or repeated.
void TestSiteNetwork::paging() {
    QFETCH(int, call);
    QFETCH(uint, prefMaxLen);
    QFETCH(QList<int>, pages);

    Network n;
    std::vector<std::u16string> all;
    DWORD total = 0;
    QList<int> sizes;
    DWORD resume32 = 0;
    DWORD_PTR resume = 0;
    for (int i = 0; i < 20; ++i) {
        std::vector<std::u16string> page;
        DWORD r = 0;
        switch (call) {
        case 0:
            r = n.Net().ServerEnum(u"CORP", ServerType::All, prefMaxLen, &page, &total, &resume32);
            break;
        case 1:
            r = n.Net().UserEnum(u"\\\\DC1", UserFilter::NormalAccount, prefMaxLen, &page, &total, &resume32);
            break;
        case 2:
            r = n.Net().GroupEnum(u"DC1", prefMaxLen, &page, &total, &resume);
            break;
        case 3:
            r = n.Net().LocalGroupEnum(u"\\\\DC1", prefMaxLen, &page, &total, &resume);
            break;
        default:
            r = n.Net().GroupGetUsers(u"\\\\dc1", u"Dialers", prefMaxLen, &page, &total, &resume);
            break;
        }
        sizes << int(page.size());
        all.insert(all.end(), page.begin(), page.end());
        QCOMPARE(total, DWORD(std::accumulate(pages.begin(), pages.end(), 0)));
        if (r == Err::Success)
            break;
        QCOMPARE(r, Err::MoreData);
    }
    QCOMPARE(sizes, pages);
    QCOMPARE(all.size(), std::size_t(total));
    QStringList names = Names(all);
    names.removeDuplicates();
    QCOMPARE(names.size(), int(total));
}

void TestSiteNetwork::dcName_data() {
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
    QTest::newRow("asked of an unreachable server") << u"\\\\DOWN"_s << u"CORP"_s << 53 << QString();
}

void TestSiteNetwork::dcName() {
    QFETCH(QString, server);
    QFETCH(QString, domain);
    QFETCH(int, result);
    QFETCH(QString, controller);

    Network n;
    std::u16string name;
    QCOMPARE(int(n.Net().GetDCName(server.toStdU16String(), domain.toStdU16String(), &name)), result);
    QCOMPARE(QString::fromStdU16String(name), controller);
}

void TestSiteNetwork::accounts_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("call"); // 0 users, 1 groups, 2 local groups
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("names");

    const QStringList users{u"Administrator"_s, u"alice"_s, u"bob"_s, u"carol"_s, u"dave"_s};
    QTest::newRow("users") << u"\\\\DC1"_s << 0 << 0 << users;
    QTest::newRow("users, bare name") << u"dc1"_s << 0 << 0 << users;
    QTest::newRow("groups") << u"\\\\DC1"_s << 1 << 0 << QStringList{u"Domain Users"_s, u"Dialers"_s};
    QTest::newRow("local groups") << u"\\\\DC1"_s << 2 << 0 << QStringList{u"Administrators"_s, u"Users"_s};
    QTest::newRow("not a controller") << u"\\\\RAS1"_s << 0 << 0 << QStringList{};
    QTest::newRow("controller unreachable") << u"\\\\DOWN"_s << 0 << 53 << QStringList{};
    QTest::newRow("access denied") << u"\\\\LOCKED"_s << 1 << 5 << QStringList{};
    QTest::newRow("unknown computer") << u"\\\\NOSUCH"_s << 2 << 53 << QStringList{};
}

void TestSiteNetwork::accounts() {
    QFETCH(QString, server);
    QFETCH(int, call);
    QFETCH(int, result);
    QFETCH(QStringList, names);

    Network n;
    std::vector<std::u16string> got;
    DWORD total = 0, resume32 = 0;
    DWORD_PTR resume = 0;
    const std::u16string s = server.toStdU16String();
    const DWORD r = call == 0   ? n.Net().UserEnum(s, 3, 10000, &got, &total, &resume32)
                    : call == 1 ? n.Net().GroupEnum(s, 10000, &got, &total, &resume)
                                : n.Net().LocalGroupEnum(s, 10000, &got, &total, &resume);
    QCOMPARE(int(r), result);
    QCOMPARE(Names(got), names);
    QCOMPARE(total, DWORD(names.size()));
}

void TestSiteNetwork::groupMembers_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("group");
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("names");

    QTest::newRow("members") << u"\\\\DC1"_s << u"Dialers"_s << 0
                             << QStringList{u"alice"_s, u"bob"_s, u"carol"_s};
    QTest::newRow("group in other case")
        << u"DC1"_s << u"DIALERS"_s << 0 << QStringList{u"alice"_s, u"bob"_s, u"carol"_s};
    QTest::newRow("group without members") << u"DC1"_s << u"Domain Users"_s << 0 << QStringList{};
    QTest::newRow("unknown group") << u"DC1"_s << u"Nobody"_s << int(Err::NerrGroupNotFound) << QStringList{};
    QTest::newRow("not a controller")
        << u"RAS1"_s << u"Dialers"_s << int(Err::NerrGroupNotFound) << QStringList{};
    QTest::newRow("controller unreachable") << u"\\\\DOWN"_s << u"Dialers"_s << 53 << QStringList{};
}

void TestSiteNetwork::groupMembers() {
    QFETCH(QString, server);
    QFETCH(QString, group);
    QFETCH(int, result);
    QFETCH(QStringList, names);

    Network n;
    std::vector<std::u16string> got;
    DWORD total = 0;
    DWORD_PTR resume = 0;
    QCOMPARE(int(n.Net().GroupGetUsers(server.toStdU16String(), group.toStdU16String(), 10000, &got, &total,
                                       &resume)),
             result);
    QCOMPARE(Names(got), names);
}

QTEST_GUILESS_MAIN(TestSiteNetwork)
#include "tst_sitenetwork.moc"
