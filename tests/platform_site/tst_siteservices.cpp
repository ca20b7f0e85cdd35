// The site's service control: pending phases that end with the clock, as every
// process that reads the file sees them, and the controls a service refuses.

#include "sitefixture.h"

#include <QString>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

struct Services {
    SiteTest::Site site;
    SiteTest::TestClock clock;
    std::unique_ptr<Platform> platform;
    SC_HANDLE manager = nullptr;

    Services() {
        site.WriteHosts();
        site.Write("hosts/RAS1/services.ini",
                   "[Callwarden]\r\nState=1\r\nStartPendingMs=3000\r\nStopPendingMs=2000\r\n"
                   "\r\n[RemoteAccess]\r\nState=4\r\n\r\n[Router]\r\nState=1\r\n");
        OCL::Site::SiteOptions options;
        options.clock = &clock;
        platform = site.Open(options);
        Control().OpenManager("\\\\RAS1", ScAccess::ManagerAllAccess, &manager);
    }
    ~Services() { Control().Close(manager); }
    IServiceControl& Control() { return *platform->services; }
    DWORD Open(const QString& name, SC_HANDLE* service) {
        return Control().Open(manager, name.toStdString(), ScAccess::ServiceAllAccess, service);
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
        SC_HANDLE service = nullptr;
        QCOMPARE(s.Open(u"callwarden"_s, &service), Err::Success);
        ServiceStatus status;
        QCOMPARE(s.Control().Start(service), Err::Success);
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

        // The phase ends by the clock alone: the file still says pending, and
        // another site object (as cwsite would be) sees the service running too.
        QVERIFY(
            s.site.Read("hosts/RAS1/services.ini")
                .find(
                    "[Callwarden]\r\nState=2\r\nStartPendingMs=3000\r\nStopPendingMs=2000\r\nPendingUntil=" +
                    std::to_string(s.clock.NowMs()) + "\r\n") != std::string::npos);
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

        QCOMPARE(s.Control().Control(service, ServiceControlCode::Stop, &status), Err::Success);
        QCOMPARE(status.currentState, ServiceState::StopPending);
        QCOMPARE(s.Control().Start(service), Err::ServiceAlreadyRunning);
        s.clock.Advance(2000);
        QCOMPARE(s.State(service), ServiceState::Stopped);
        QVERIFY(s.site.Read("hosts/RAS1/services.ini").find("[RemoteAccess]\r\nState=4\r\n") !=
                std::string::npos);
        QCOMPARE(s.Control().Close(service), Err::Success);
        QCOMPARE(s.Control().Start(service), Err::InvalidHandle);
    }

    void refusals_data() {
        QTest::addColumn<QString>("service");
        QTest::addColumn<int>("control");
        QTest::addColumn<int>("result");

        QTest::newRow("unknown service") << u"Spooler"_s << 0 << int(Err::ServiceDoesNotExist);
        QTest::newRow("ask a stopped service, name in other case")
            << u"ROUTER"_s << int(ServiceControlCode::Interrogate) << int(Err::ServiceNotActive);
        QTest::newRow("ask a running service")
            << u"RemoteAccess"_s << int(ServiceControlCode::Interrogate) << 0;
        QTest::newRow("pause is not offered") << u"RemoteAccess"_s << 2 << int(Err::InvalidServiceControl);
    }

    // What is refused or only asked leaves the file as it was.
    void refusals() {
        QFETCH(QString, service);
        QFETCH(int, control);
        QFETCH(int, result);

        Services s;
        const std::string before = s.site.Read("hosts/RAS1/services.ini");
        SC_HANDLE handle = nullptr;
        ServiceStatus status;
        DWORD r = s.Open(service, &handle);
        if (handle)
            r = s.Control().Control(handle, DWORD(control), &status);
        QCOMPARE(int(r), result);
        QCOMPARE(s.site.Read("hosts/RAS1/services.ini"), before);
        s.Control().Close(handle);
    }
};

QTEST_GUILESS_MAIN(TestSiteServices)
#include "tst_siteservices.moc"
