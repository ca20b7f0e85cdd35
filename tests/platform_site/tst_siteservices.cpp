// The site's service control: pending phases that end with the clock, the
// refusals of the real service manager, and the file other processes read.

#include "sitefixture.h"

#include <QString>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

constexpr int kStart = -1; // in place of a control code: StartService

struct Services {
    SiteTest::Site site;
    SiteTest::TestClock clock;
    std::unique_ptr<Platform> platform;
    SC_HANDLE manager = nullptr;

    Services() {
        site.WriteHosts();
        site.Write("hosts/RAS1/services.ini",
                   "[Callwarden]\r\nState=1\r\nStartPendingMs=3000\r\nStopPendingMs=2000\r\n\r\n"
                   "[RemoteAccess]\r\nState=4\r\nStartPendingMs=0\r\nStopPendingMs=0\r\n\r\n"
                   "[Router]\r\nState=1\r\n");
        OCL::Site::SiteOptions options;
        options.clock = &clock;
        platform = site.Open(options);
        Control().OpenManager("\\\\RAS1", ScAccess::ManagerAllAccess, &manager);
    }
    ~Services() { Control().Close(manager); }
    IServiceControl& Control() { return *platform->services; }
    SC_HANDLE Open(const QString& name) {
        SC_HANDLE service = nullptr;
        Control().Open(manager, name.toStdString(), ScAccess::ServiceAllAccess, &service);
        return service;
    }
    DWORD Do(SC_HANDLE service, int control, ServiceStatus* status) {
        return control == kStart ? Control().Start(service)
                                 : Control().Control(service, DWORD(control), status);
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
    void pendingPhases() {
        Services s;
        SC_HANDLE service = s.Open(u"callwarden"_s);
        QVERIFY(service);
        ServiceStatus status;
        QCOMPARE(s.Control().Start(service), Err::Success);
        QCOMPARE(s.Control().QueryStatus(service, &status), Err::Success);
        QCOMPARE(status.currentState, ServiceState::StartPending);
        QCOMPARE(status.waitHint, DWORD(3000));
        QCOMPARE(s.Control().Start(service), Err::ServiceAlreadyRunning);
        QCOMPARE(s.Do(service, ServiceControlCode::Stop, &status), Err::ServiceCannotAcceptControl);

        s.clock.Advance(2999);
        QCOMPARE(s.State(service), ServiceState::StartPending);
        s.clock.Advance(1);
        QCOMPARE(s.State(service), ServiceState::Running);

        // The phase ends by the clock alone: the file still says pending, and another
        // site object (as cwsite would be) sees the service running too.
        const std::string file = s.site.Read("hosts/RAS1/services.ini");
        QVERIFY(file.find("[Callwarden]\r\nState=2\r\n") != std::string::npos);
        QVERIFY(file.find("PendingUntil=" + std::to_string(s.clock.NowMs()) + "\r\n") != std::string::npos);
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

        QCOMPARE(s.Do(service, ServiceControlCode::Stop, &status), Err::Success);
        QCOMPARE(status.currentState, ServiceState::StopPending);
        QCOMPARE(s.Control().Start(service), Err::ServiceAlreadyRunning);
        s.clock.Advance(2000);
        QCOMPARE(s.State(service), ServiceState::Stopped);
        QVERIFY(s.site.Read("hosts/RAS1/services.ini").find("[RemoteAccess]\r\nState=4\r\n") !=
                std::string::npos);

        QCOMPARE(s.Control().Close(service), Err::Success);
        QCOMPARE(s.Control().Start(service), Err::InvalidHandle);
        QCOMPARE(s.Control().Start(s.manager), Err::InvalidHandle);
    }

    void controls_data() {
        QTest::addColumn<QString>("service");
        QTest::addColumn<int>("control");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("state"); // afterwards

        QTest::newRow("stop without a stop phase")
            << u"RemoteAccess"_s << int(ServiceControlCode::Stop) << 0 << int(ServiceState::Stopped);
        QTest::newRow("start without a start phase")
            << u"Router"_s << kStart << 0 << int(ServiceState::Running);
        QTest::newRow("start a running service")
            << u"RemoteAccess"_s << kStart << int(Err::ServiceAlreadyRunning) << int(ServiceState::Running);
        QTest::newRow("stop a stopped service") << u"Router"_s << int(ServiceControlCode::Stop)
                                                << int(Err::ServiceNotActive) << int(ServiceState::Stopped);
        QTest::newRow("ask a stopped service") << u"Router"_s << int(ServiceControlCode::Interrogate)
                                               << int(Err::ServiceNotActive) << int(ServiceState::Stopped);
        QTest::newRow("ask a running service")
            << u"RemoteAccess"_s << int(ServiceControlCode::Interrogate) << 0 << int(ServiceState::Running);
        QTest::newRow("pause is not offered")
            << u"RemoteAccess"_s << 2 << int(Err::InvalidServiceControl) << int(ServiceState::Running);
    }

    void controls() {
        QFETCH(QString, service);
        QFETCH(int, control);
        QFETCH(int, result);
        QFETCH(int, state);

        Services s;
        SC_HANDLE handle = s.Open(service);
        QVERIFY(handle);
        const std::string before = s.site.Read("hosts/RAS1/services.ini");
        ServiceStatus status;
        QCOMPARE(int(s.Do(handle, control, &status)), result);
        QCOMPARE(int(s.State(handle)), state);
        // What is refused or only asked leaves the file as it was.
        if (result != 0 || control == int(ServiceControlCode::Interrogate))
            QCOMPARE(s.site.Read("hosts/RAS1/services.ini"), before);
        s.Control().Close(handle);
    }

    void openService_data() {
        QTest::addColumn<QString>("machine");
        QTest::addColumn<QString>("service");
        QTest::addColumn<int>("result");

        QTest::newRow("known service") << u"\\\\RAS1"_s << u"Callwarden"_s << 0;
        QTest::newRow("name without backslashes") << u"ras1"_s << u"ROUTER"_s << 0;
        QTest::newRow("unknown service") << u"RAS1"_s << u"Spooler"_s << int(Err::ServiceDoesNotExist);
        QTest::newRow("host without services")
            << u"\\\\Console"_s << u"Callwarden"_s << int(Err::ServiceDoesNotExist);
        QTest::newRow("this computer") << QString() << u"Callwarden"_s << int(Err::ServiceDoesNotExist);
    }

    void openService() {
        QFETCH(QString, machine);
        QFETCH(QString, service);
        QFETCH(int, result);

        Services s;
        SC_HANDLE manager = nullptr, handle = nullptr;
        QCOMPARE(s.Control().OpenManager(machine.toStdString(), ScAccess::ManagerAllAccess, &manager),
                 Err::Success);
        QCOMPARE(int(s.Control().Open(manager, service.toStdString(), ScAccess::ServiceAllAccess, &handle)),
                 result);
        QCOMPARE(handle != nullptr, result == 0);
        s.Control().Close(handle);
        QCOMPARE(s.Control().Close(manager), Err::Success);
    }
};

QTEST_GUILESS_MAIN(TestSiteServices)
#include "tst_siteservices.moc"
