// The site's service control: pending phases that end with the clock, as every
// process that reads the file sees them, and what a pending service refuses.

#include "sitefixture.h"

#include "ini/inifile.h"

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
        QCOMPARE(s.Open(u"Spooler"_s, &service), Err::ServiceDoesNotExist);
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
        Ini::Files files;
        const auto file = s.site.Path("hosts/RAS1/services.ini");
        QCOMPARE(files.GetString(file, "Callwarden", "State", ""), std::string("2"));
        QCOMPARE(files.GetString(file, "Callwarden", "PendingUntil", ""), std::to_string(s.clock.NowMs()));
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
        // The other services are left as they were.
        QCOMPARE(files.GetString(file, "RemoteAccess", "State", ""), std::string("4"));
        QCOMPARE(s.Control().Close(service), Err::Success);
        QCOMPARE(s.Control().Start(service), Err::InvalidHandle);
    }
};

QTEST_GUILESS_MAIN(TestSiteServices)
#include "tst_siteservices.moc"
