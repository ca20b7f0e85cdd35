// The site's service control: pending phases that end with the clock, the
// refusals of the real service manager, and the file other processes read.

#include "sitefixture.h"

#include <QString>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

constexpr const char* kServices =
    "[Callwarden]\r\nState=1\r\nStartPendingMs=3000\r\nStopPendingMs=2000\r\n\r\n"
    "[RemoteAccess]\r\nState=4\r\nStartPendingMs=0\r\nStopPendingMs=0\r\n\r\n"
    "[Router]\r\nState=1\r\n";

struct Services {
    SiteTest::Site site;
    SiteTest::TestClock clock;
    std::unique_ptr<Platform> platform;
    SC_HANDLE manager = nullptr;

    Services() {
        site.WriteHosts();
        site.Write("hosts/RAS1/services.ini", kServices);
        OCL::Site::SiteOptions options;
        options.clock = &clock;
        platform = site.Open(options);
    }
    ~Services() {
        if (manager)
            platform->services->Close(manager);
    }
    IServiceControl& Control() { return *platform->services; }
    SC_HANDLE Open(const char* name) {
        if (!manager && Control().OpenManager("\\\\RAS1", ScAccess::ManagerAllAccess, &manager) != 0)
            return nullptr;
        SC_HANDLE service = nullptr;
        Control().Open(manager, name, ScAccess::ServiceAllAccess, &service);
        return service;
    }
    DWORD State(SC_HANDLE service) {
        ServiceStatus status;
        return Control().QueryStatus(service, &status) == 0 ? status.currentState : 0xDEAD;
    }
};

} // namespace

class TestSiteServices : public QObject {
    Q_OBJECT

private slots:
    void pendingPhases();
    void immediate_data();
    void immediate();
    void refusals_data();
    void refusals();
    void openManager_data();
    void openManager();
    void handles();
};

void TestSiteServices::pendingPhases() {
    Services s;
    SC_HANDLE service = s.Open("callwarden");
    QVERIFY(service);
    QCOMPARE(s.State(service), ServiceState::Stopped);

    QCOMPARE(s.Control().Start(service), Err::Success);
    ServiceStatus status;
    QCOMPARE(s.Control().QueryStatus(service, &status), Err::Success);
    QCOMPARE(status.currentState, ServiceState::StartPending);
    QCOMPARE(status.waitHint, DWORD(3000));
    QCOMPARE(s.Control().Start(service), Err::ServiceAlreadyRunning);
    QCOMPARE(s.Control().Control(service, ServiceControlCode::Stop, &status),
             Err::ServiceCannotAcceptControl);

    s.clock.Advance(2999);
    QCOMPARE(s.State(service), ServiceState::StartPending);
    s.clock.Advance(1);
    QCOMPARE(s.State(service), ServiceState::Running);
    QCOMPARE(s.Control().Start(service), Err::ServiceAlreadyRunning);

    // The state lives in the file: another site object (as cwsite would) sees it.
    const std::string file = s.site.Read("hosts/RAS1/services.ini");
    QVERIFY(file.find("[Callwarden]\r\nState=2\r\n") != std::string::npos);
    QVERIFY(file.find("PendingUntil=" + std::to_string(s.clock.NowMs()) + "\r\n") != std::string::npos);
    {
        OCL::Site::SiteOptions options;
        options.clock = &s.clock;
        auto other = s.site.Open(options);
        SC_HANDLE manager = nullptr, handle = nullptr;
        QCOMPARE(other->services->OpenManager("RAS1", ScAccess::ManagerAllAccess, &manager), Err::Success);
        QCOMPARE(other->services->Open(manager, "Callwarden", ScAccess::ServiceAllAccess, &handle),
                 Err::Success);
        QCOMPARE(other->services->QueryStatus(handle, &status), Err::Success);
        QCOMPARE(status.currentState, ServiceState::Running);
        other->services->Close(handle);
        other->services->Close(manager);
    }

    QCOMPARE(s.Control().Control(service, ServiceControlCode::Stop, &status), Err::Success);
    QCOMPARE(status.currentState, ServiceState::StopPending);
    QCOMPARE(s.State(service), ServiceState::StopPending);
    QCOMPARE(s.Control().Start(service), Err::ServiceAlreadyRunning);
    s.clock.Advance(2000);
    QCOMPARE(s.State(service), ServiceState::Stopped);
    QCOMPARE(s.Control().Control(service, ServiceControlCode::Stop, &status), Err::ServiceNotActive);

    // The other sections are left as they were.
    const std::string after = s.site.Read("hosts/RAS1/services.ini");
    QVERIFY(after.find("[RemoteAccess]\r\nState=4\r\n") != std::string::npos);
    QCOMPARE(s.Control().Close(service), Err::Success);
}

void TestSiteServices::immediate_data() {
    QTest::addColumn<QString>("service");
    QTest::addColumn<bool>("start");
    QTest::addColumn<int>("state");

    QTest::newRow("stop without a stop phase") << u"RemoteAccess"_s << false << int(ServiceState::Stopped);
    QTest::newRow("start without a start phase") << u"Router"_s << true << int(ServiceState::Running);
}

void TestSiteServices::immediate() {
    QFETCH(QString, service);
    QFETCH(bool, start);
    QFETCH(int, state);

    Services s;
    SC_HANDLE handle = s.Open(service.toStdString().c_str());
    QVERIFY(handle);
    ServiceStatus status;
    if (start) {
        QCOMPARE(s.Control().Start(handle), Err::Success);
    } else {
        QCOMPARE(s.Control().Control(handle, ServiceControlCode::Stop, &status), Err::Success);
        QCOMPARE(int(status.currentState), state);
    }
    QCOMPARE(int(s.State(handle)), state);
    s.Control().Close(handle);
}

void TestSiteServices::refusals_data() {
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("control");
    QTest::addColumn<int>("result");

    QTest::newRow("start a running service") << u"RemoteAccess"_s << 0 << int(Err::ServiceAlreadyRunning);
    QTest::newRow("stop a stopped service")
        << u"Router"_s << int(ServiceControlCode::Stop) << int(Err::ServiceNotActive);
    QTest::newRow("ask a stopped service")
        << u"Router"_s << int(ServiceControlCode::Interrogate) << int(Err::ServiceNotActive);
    QTest::newRow("ask a running service")
        << u"RemoteAccess"_s << int(ServiceControlCode::Interrogate) << int(Err::Success);
    QTest::newRow("pause is not offered") << u"RemoteAccess"_s << 2 << int(Err::InvalidServiceControl);
}

void TestSiteServices::refusals() {
    QFETCH(QString, service);
    QFETCH(int, control);
    QFETCH(int, result);

    Services s;
    SC_HANDLE handle = s.Open(service.toStdString().c_str());
    QVERIFY(handle);
    const std::string before = s.site.Read("hosts/RAS1/services.ini");
    ServiceStatus status;
    const DWORD r =
        control == 0 ? s.Control().Start(handle) : s.Control().Control(handle, DWORD(control), &status);
    QCOMPARE(int(r), result);
    QCOMPARE(s.site.Read("hosts/RAS1/services.ini"), before);
    s.Control().Close(handle);
}

void TestSiteServices::openManager_data() {
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("managerResult");
    QTest::addColumn<int>("serviceResult");

    QTest::newRow("known service") << u"\\\\RAS1"_s << u"Callwarden"_s << 0 << 0;
    QTest::newRow("name without backslashes") << u"ras1"_s << u"ROUTER"_s << 0 << 0;
    QTest::newRow("unknown service") << u"RAS1"_s << u"Spooler"_s << 0 << int(Err::ServiceDoesNotExist);
    QTest::newRow("host without services")
        << u"\\\\Console"_s << u"Callwarden"_s << 0 << int(Err::ServiceDoesNotExist);
    QTest::newRow("this computer") << QString() << u"Callwarden"_s << 0 << int(Err::ServiceDoesNotExist);
    QTest::newRow("unknown host") << u"\\\\NOSUCH"_s << u"Callwarden"_s << 53 << -1;
    QTest::newRow("unreachable host") << u"\\\\DOWN"_s << u"Callwarden"_s << 53 << -1;
    QTest::newRow("access denied") << u"\\\\LOCKED"_s << u"Callwarden"_s << 5 << -1;
}

void TestSiteServices::openManager() {
    QFETCH(QString, machine);
    QFETCH(QString, service);
    QFETCH(int, managerResult);
    QFETCH(int, serviceResult);

    Services s;
    SC_HANDLE manager = reinterpret_cast<SC_HANDLE>(std::uintptr_t{1});
    QCOMPARE(int(s.Control().OpenManager(machine.toStdString(), ScAccess::ManagerAllAccess, &manager)),
             managerResult);
    if (managerResult) {
        QVERIFY(!manager);
        return;
    }
    SC_HANDLE handle = nullptr;
    QCOMPARE(int(s.Control().Open(manager, service.toStdString(), ScAccess::ServiceAllAccess, &handle)),
             serviceResult);
    QCOMPARE(handle != nullptr, serviceResult == 0);
    if (handle)
        s.Control().Close(handle);
    QCOMPARE(s.Control().Close(manager), Err::Success);
}

void TestSiteServices::handles() {
    Services s;
    SC_HANDLE service = s.Open("Callwarden");
    QVERIFY(service);
    ServiceStatus status;
    SC_HANDLE other = nullptr;
    // A manager is not a service, and a service is not a manager.
    QCOMPARE(s.Control().Start(s.manager), Err::InvalidHandle);
    QCOMPARE(s.Control().QueryStatus(s.manager, &status), Err::InvalidHandle);
    QCOMPARE(s.Control().Open(service, "Router", 0, &other), Err::InvalidHandle);
    QCOMPARE(s.Control().Close(service), Err::Success);
    QCOMPARE(s.Control().Close(service), Err::InvalidHandle);
    QCOMPARE(s.Control().Start(service), Err::InvalidHandle);
    QCOMPARE(s.Control().QueryStatus(nullptr, &status), Err::InvalidHandle);
    QCOMPARE(s.Control().Control(service, ServiceControlCode::Stop, &status), Err::InvalidHandle);
}

QTEST_GUILESS_MAIN(TestSiteServices)
#include "tst_siteservices.moc"
