#include "support/testconsole.h"

#include "core/servers/servernotice.h"
#include "platform/site/site.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

bool CNoticeSink::event(QEvent* event) {
    if (event->type() != CServerNotice::EventType())
        return QObject::event(event);
    const auto* notice = static_cast<CServerNotice*>(event);
    notices.append({notice->Message(), notice->Index(), notice->ServerId()});
    if (forward && doc) {
        if (auto index = doc->Servers().Resolve(notice->Index(), notice->ServerId()))
            forward(notice->Message(), *index);
    }
    return true;
}

CTestConsole::CTestConsole(const std::function<void(CSiteWriter&)>& setup, bool useTestClock)
    : m_root(m_dir.path()) {
    m_writer = std::make_unique<CSiteWriter>(m_root);
    m_writer->SetLocalComputer(kTestConsole);
    m_writer->AddHost(kTestConsole);
    m_writer->CreateRegKey(kTestConsole, CSiteWriter::kServersKey);
    m_writer->CreateRegKey(kTestConsole, CSiteWriter::kClientKey);
    m_writer->SetRegDword(kTestConsole,
                          u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s,
                          u"ActiveTimeBias"_s, 0);
    if (setup)
        setup(*m_writer);
    m_writer->Save();
    Open(useTestClock);
}

CTestConsole::CTestConsole(const CExistingSite& site) : m_root(site.root) {
    m_writer = std::make_unique<CSiteWriter>(m_root);
    Open(false);
}

void CTestConsole::Open(bool useTestClock) {
    OCL::Site::SiteOptions options;
    options.moduleFolder = CW_BIN_DIR;
    if (useTestClock) {
        m_clock = std::make_unique<CTestClock>();
        options.clock = m_clock.get();
    }
    m_platform = OCL::Site::OpenSite(m_root.toStdString(), options);
    m_env = std::make_unique<CEnvironment>(*m_platform, m_files, m_prompter);
}

CTestConsole::~CTestConsole() {
    m_frame.reset();
    m_doc.reset();
}

void CTestConsole::Save() {
    m_writer->Save();
}

CCwadminDoc& CTestConsole::Doc() {
    if (!m_doc) {
        m_doc = std::make_unique<CCwadminDoc>(*m_env, m_binding);
        m_doc->SetNotifyTarget(&m_sink);
        m_sink.doc = m_doc.get();
    }
    return *m_doc;
}

bool CTestConsole::FetchAll(bool force, int timeoutMs) {
    CCwadminDoc& doc = Doc();
    doc.m_forceRefresh = force ? 1 : 0;
    doc.updateAllServersData();
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        bool done = true;
        for (std::size_t i = 0; i < doc.Servers().GetCount(); ++i)
            done = done && doc.Servers()[i].m_fetchFinished.load();
        if (done) {
            QCoreApplication::processEvents();
            return true;
        }
    }
    return false;
}

void CTestConsole::AddServer(CSiteWriter& writer, const QString& name, const QString& kind,
                             const QString& version, int ports, bool master, const QString& masterName) {
    CSiteWriter::HostOptions options;
    options.rasKind = kind;
    options.majorVersion = version.section(u'.', 0, 0).toInt();
    writer.AddHost(name, options);
    writer.AddMonitoredServer(kTestConsole, name);
    writer.SetRegString(name, u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s,
                        u"CurrentVersion"_s, version);
    writer.SetRegDword(name, u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s,
                       u"ActiveTimeBias"_s, 0);
    writer.SetRegString(name, u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\RemoteAccess"_s,
                        u"DisplayName"_s,
                        kind == u"RAS"_s ? u"Remote Access Service"_s : u"Routing and Remote Access"_s);
    writer.SetServiceDword(name, u"RAS Type"_s, kind == u"RAS"_s ? 0 : 1);
    writer.SetServiceDword(name, u"Master"_s, master ? 1 : 0);
    const QString share = u"\\\\%1\\CW_NT_DB"_s.arg(master ? name : masterName);
    writer.SetServiceString(name, u"MasterShare"_s, share);
    writer.SetServiceDword(name, u"LogSessionEventsToEventLog"_s, 1);
    writer.SetServiceDword(name, u"StaticIP"_s, 0);
    writer.SetServiceDword(name, u"IdleTimer"_s, 15);
    writer.SetServiceDword(name, u"Installed"_s, 1600000000);
    writer.SetServiceString(name, u"Version"_s, u"3.2.1"_s);
    if (master) {
        writer.SharePath(name, u"CW_NT_DB"_s);
        writer.SetServiceString(name, u"ODBC_DSN"_s, u"CallwardenDSN"_s);
        writer.SetServiceString(name, u"ODBC_Account"_s, u"cwexport"_s);
        writer.SetServiceString(name, u"ODBC_Password"_s, u"secret"_s);
        for (const QString& value :
             {u"ExportDates"_s, u"ExportDays"_s, u"ExportHours"_s, u"ExportUsers"_s, u"ExportHistory"_s})
            writer.SetServiceDword(name, value, 0);
    }
    writer.SetService(name, u"Callwarden"_s, 4, 1000, 1000);
    const bool oldRouter = kind == u"RRAS"_s && version == u"4.0"_s;
    writer.SetService(name, oldRouter ? u"Router"_s : u"RemoteAccess"_s, 4, 1000, 1000);
    for (int i = 1; i <= ports; ++i) {
        OCL::Site::PortRecord port;
        port.name = (kind == u"RAS"_s ? u"COM%1"_s : u"VPN1-%1"_s).arg(i).toStdString();
        port.deviceName = "Test modem";
        port.lineSpeed = 33600;
        writer.AddPort(name, port);
    }
}
