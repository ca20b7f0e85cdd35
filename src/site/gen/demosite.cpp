#include "site/gen/demosite.h"

#include "ini/inifile.h"
#include "site/gen/bigday.h"
#include "site/gen/demohistory.h"
#include "site/gen/demomodel.h"
#include "site/gen/directory.h"
#include "site/gen/text.h"
#include "site/gen/traffic.h"
#include "site/sitewriter.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

const QString kZoneKey = u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s;
const QString kVersionKey = u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s;
const QString kRasKey = u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\RAS\\CurrentVersion"_s;
const QString kServicesKey = u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\"_s;
const QString kInternationalKey = u"HKEY_USERS\\.DEFAULT\\Control Panel\\International"_s;
const QString kGeneralKey = u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\General"_s;

QByteArray Text(const OCL::Ini::Edit& edit) {
    return QByteArray::fromStdString(edit.ApplyTo(std::string()));
}

void WriteComputer(CSiteWriter& w, const QString& host, int major, int bias) {
    w.SetRegString(host, kVersionKey, u"CurrentVersion"_s, u"%1.0"_s.arg(major));
    w.SetRegString(host, kVersionKey, u"CurrentBuildNumber"_s, major >= 5 ? u"2195"_s : u"1381"_s);
    w.SetRegDword(host, kZoneKey, u"ActiveTimeBias"_s, quint32(bias));
    w.SetRegDword(host, kZoneKey, u"Bias"_s, quint32(bias));
    w.SetRegString(host, kInternationalKey, u"Locale"_s, u"00000409"_s);
}

void WriteNetwork(CSiteWriter& w, const CDemoModel& m) {
    w.SetPrimaryDomain(m.domains.front().name);
    for (const CDemoDomain& d : m.domains) {
        w.AddDomain(d.name, d.controller);
        for (const QString& computer : d.computers) {
            bool dialin = false;
            for (const CDemoServer& s : m.servers)
                dialin = dialin || s.name == computer;
            w.AddComputer(d.name, computer, dialin);
        }
        QStringList everyone;
        for (int u : m.UsersOf(d.name)) {
            w.AddUser(d.name, m.users[u].name);
            everyone.append(m.users[u].name);
        }
        for (const QString& group : d.groups) {
            QStringList members;
            for (int u : m.UsersOf(d.name))
                if (group == u"Domain Users"_s || m.users[u].groups.contains(group))
                    members.append(m.users[u].name);
            w.AddGroup(d.name, group, members);
        }
        for (const QString& local : {u"Administrators"_s, u"Users"_s, u"Guests"_s, u"Backup Operators"_s})
            w.AddLocalGroup(d.name, local);
    }
    // Another provider's domain, which the console leaves out.
    w.AddDomain(u"NWCORP"_s, u"NWFS1"_s, u"NetWare or Compatible Network"_s);
    w.AddUser(u"NWCORP"_s, u"supervisor"_s);
}

void WriteServer(CSiteWriter& w, const CDemoModel& m, const CDemoServer& s, int bias, qint64 now,
                 std::mt19937& rng) {
    CSiteWriter::HostOptions options;
    options.rasKind = s.rras ? u"RRAS"_s : u"RAS"_s;
    options.reachable = s.reachable;
    options.latencyMs = s.latencyMs;
    options.majorVersion = s.majorVersion;
    options.buildNumber = s.majorVersion >= 5 ? 2195 : 1381;
    w.AddHost(s.name, options);
    WriteComputer(w, s.name, s.majorVersion, bias);
    w.SetRegString(s.name, kRasKey, u"Title"_s,
                   s.rras ? u"Routing and Remote Access Service"_s : u"Remote Access Service"_s);
    w.SetRegString(s.name, kServicesKey + u"RemoteAccess"_s, u"DisplayName"_s,
                   s.rras ? u"Routing and Remote Access"_s : u"Remote Access Service"_s);
    if (s.RasService() == u"Router"_s)
        w.SetRegString(s.name, kServicesKey + u"Router"_s, u"DisplayName"_s,
                       u"Routing and Remote Access Service"_s);
    w.CreateRegKey(s.name, kGeneralKey);

    w.SetServiceDword(s.name, u"Master"_s, s.master ? 1 : 0);
    w.SetServiceString(s.name, u"MasterShare"_s, m.MasterShare());
    w.SetServiceDword(s.name, u"IdleTimer"_s, quint32(s.idleTimer));
    w.SetServiceDword(s.name, u"StaticIP"_s, s.staticIp ? 1 : 0);
    w.SetServiceDword(s.name, u"LogSessionEventsToEventLog"_s, s.master ? 1 : 0);
    w.SetServiceString(s.name, u"Version"_s, s.reachable ? u"3.2.1"_s : u"3.1.4"_s);
    const int installedDaysAgo = std::uniform_int_distribution<int>(200, 900)(rng);
    w.SetServiceDword(s.name, u"Installed"_s, quint32(now - installedDaysAgo * 86400LL));
    if (s.rasType >= 0)
        w.SetServiceDword(s.name, u"RAS Type"_s, quint32(s.rasType));
    if (s.master) {
        w.SetServiceString(s.name, u"ODBC_DSN"_s, u"CallwardenExport"_s);
        w.SetServiceString(s.name, u"ODBC_Account"_s, u"cwexport"_s);
        w.SetServiceString(s.name, u"ODBC_Password"_s, u"export"_s);
        w.SetServiceDword(s.name, u"ExportUsers"_s, 1);
        w.SetServiceDword(s.name, u"ExportHistory"_s, 1);
        w.SetServiceDword(s.name, u"ExportHours"_s, 1u << (2 + 1));      // 02:00
        w.SetServiceDword(s.name, u"ExportDays"_s, 2 | 4 | 8 | 16 | 32); // Monday to Friday
        w.SetServiceDword(s.name, u"ExportDates"_s, 1u << 1 | 1u << 15); // the 1st and the 15th
    }

    w.SetService(s.name, u"Callwarden"_s, 4, 2500, 2000);
    w.SetService(s.name, s.RasService(), 4, 3000, 2500);
    if (s.rras)
        w.WriteShareFile(s.name, u"admin$"_s, u"system32/mprapi.dll"_s,
                         QByteArray("router administration library\r\n"));
}

QByteArray AccountFile(const CDemoModel& m, const CDemoHistory& history) {
    OCL::Ini::Edit edit;
    for (const CDemoUser& user : m.users) {
        const auto account = history.accounts.find(user.Account().toUpper());
        if (account == history.accounts.end())
            continue;
        if (account->hasProfile)
            CwProfiles::WriteProfile(edit, account->section, account->profile);
        CwProfiles::WriteStats(edit, account->section, account->stats);
    }
    for (const CGroupProfile& group : m.groupProfiles) {
        const std::string section = CwText::ToAnsi(u'+' + group.domain + u'\\' + group.group);
        edit.Set(section, "MaxSessionTime", std::to_string(group.maxSessionTime));
        edit.Set(section, "MaxTotalTime", std::to_string(group.maxTotalTime));
        edit.Set(section, "NoDuplicate", group.noDuplicate ? "1" : "0");
    }
    return Text(edit);
}

QByteArray HardwareFile(const CDemoModel& m) {
    OCL::Ini::Edit edit;
    for (const QString& name : m.portProfileOrder) {
        const CPortProfile p = m.portProfiles.value(name.toUpper());
        const std::string section = CwText::ToAnsi(name);
        edit.Set(section, "MaxSessionTime", std::to_string(p.maxSessionTime));
        edit.Set(section, "StaticIP", std::to_string(p.staticIp));
        edit.Set(section, "AllowedGroups",
                 p.allowedGroups.isEmpty() ? std::string()
                                           : CwText::ToAnsi(CwProfiles::JoinAllowedGroups(p.allowedGroups)));
        edit.Set(section, "Idle", std::to_string(p.idleMinutes));
    }
    CwProfiles::WriteProfile(edit, u"Default"_s, m.defaultProfile);
    edit.Set("Default", "AssignDefault", "0");
    edit.Set("General", "Notify1", "300");
    edit.Set("General", "Notify1Text", "Your dial-in session will be ended in 5 minutes.");
    edit.Set("General", "Notify2", "60");
    edit.Set("General", "Notify2Text",
             "Your dial-in session will be ended in 1 minute. Please save your work now.");
    edit.Set("General", "DailyStatusEmailHour", "8");
    edit.Set("General", "DailyStatusEmailType", "1");
    edit.Set("General", "DailyStatusEmailTo", "ras-admins@example.com");
    edit.Set("General", "DailyStatusEmailPOPServer", "mail.example.com");
    edit.Set("General", "DailyStatusEmailFrom", "callwarden@example.com");
    edit.Set("General", "AutoArchiveAge", "30");
    edit.Set("Greetings", "RuleMask", "6");
    return Text(edit);
}

QString TimeZoneText(int bias) {
    const int minutes = -bias;
    return minutes % 60 ? u"UTC%1%2:%3"_s.arg(minutes < 0 ? u"-"_s : u"+"_s)
                              .arg(std::abs(minutes) / 60)
                              .arg(std::abs(minutes) % 60, 2, 10, QChar(u'0'))
                        : u"UTC%1%2"_s.arg(minutes < 0 ? u"-"_s : u"+"_s).arg(std::abs(minutes) / 60);
}

} // namespace

bool WriteDemoSite(const QString& root, const CDemoOptions& options, CDemoSummary* summary, QString* error) {
    std::mt19937 rng(options.seed);
    const qint64 now = options.now ? options.now : QDateTime::currentSecsSinceEpoch();
    const QDate today = QDateTime::fromSecsSinceEpoch(now).date();
    const int consoleBias = -QDateTime::fromSecsSinceEpoch(now).offsetFromUtc() / 60;
    CDemoModel model = BuildDemoModel(rng);
    if (options.bigDay || options.years > 0) {
        // A server of its own, so that its day stays apart from the network's history.
        CDemoServer load;
        load.name = CwBigDay::kServer;
        load.domain = model.domains.front().name;
        load.rras = true;
        load.majorVersion = 5;
        for (const QString& name : CwBigDay::PortNames()) {
            OCL::Site::PortRecord port;
            port.name = name.toStdString();
            port.deviceType = "vpn";
            port.deviceName = "VPN Miniport (PPTP)";
            port.mediaName = "rastapi";
            port.lineSpeed = 10000000;
            load.ports.append(port);
        }
        model.servers.append(load);
        model.domains.front().computers.append(load.name);
    }

    CSiteWriter w(root);
    w.SetLocalComputer(model.console);
    w.SetSiteValue(u"Site"_s, u"RouterAdmin"_s, u"1"_s);
    WriteNetwork(w, model);

    // The console's computer and the monitored servers in its registry.
    CSiteWriter::HostOptions console;
    w.AddHost(model.console, console);
    WriteComputer(w, model.console, 4, consoleBias);
    for (const CDemoServer& s : model.servers)
        w.AddMonitoredServer(model.console, s.name);
    w.SetClientString(model.console, u"InstallPath"_s, model.installPath);
    w.SetClientDword(model.console, u"View Refresh"_s, 5000);
    w.SetClientDword(model.console, u"TimeFormatSeconds"_s, 0);
    w.SetClientDword(model.console, u"HistoryViewColumns"_s, 0);
    w.SetClientDword(model.console, u"AutoSizeColumns"_s, 0);
    QDir().mkpath(w.HostPath(model.console) + u"/drives/C/Program Files/Callwarden"_s);
    w.SharePath(model.console, u"admin$"_s);
    QDir().mkpath(w.SharePath(model.console, u"admin$"_s) + u"/system32"_s);

    CNetworkDirectory directory;
    for (const CDemoDomain& d : model.domains) {
        CNetworkDirectory::Domain domain{d.name, d.controller, {}, {}, d.computers};
        for (int u : model.UsersOf(d.name))
            domain.users.append(model.users[u].name);
        for (const QString& group : d.groups) {
            QStringList members;
            for (int u : model.UsersOf(d.name))
                if (group == u"Domain Users"_s || model.users[u].groups.contains(group))
                    members.append(model.users[u].name);
            domain.groups.insert(group, members);
        }
        directory.AddDomain(domain);
    }

    for (const CDemoDomain& d : model.domains) {
        w.AddHost(d.controller, console);
        WriteComputer(w, d.controller, 4, consoleBias);
        w.SetService(d.controller, u"Netlogon"_s, 4, 1000, 1000);
        w.SharePath(d.controller, u"NETLOGON"_s);
        for (int u : model.UsersOf(d.name))
            w.SetRasUser(d.controller, model.users[u].name, model.users[u].privilege, model.users[u].phone);
    }

    const QDate firstLogDay = today.addDays(1 - options.logDays);
    const qint64 start = firstLogDay.addDays(-options.oldDays).startOfDay().toSecsSinceEpoch();
    const CDemoHistory history = SimulateHistory(model, directory, start, now, consoleBias, rng);

    const CDemoServer* master = model.Master();
    for (int si = 0; si < model.servers.size(); ++si) {
        const CDemoServer& s = model.servers[si];
        WriteServer(w, model, s, consoleBias + s.biasOffset, now, rng);
        QList<OCL::Site::PortRecord> ports = s.ports;
        for (const CDemoLiveSession& live : history.live) {
            if (live.server != si)
                continue;
            const CDemoUser& user = model.users[live.user];
            OCL::Site::PortRecord& p = ports[live.port];
            p.user = user.name.toStdString();
            p.domain = user.domain.toStdString();
            p.computer = user.computer.toStdString();
            p.start = live.start;
            p.ip = OCL::Site::DottedAddress(live.ip);
            p.ipx = live.ipx;
            p.flags = 4 | (live.user % 2 ? 1 : 0);
            CwTraffic::Add(p, live.bytesOut, live.bytesIn, rng);
        }
        for (const OCL::Site::PortRecord& p : ports)
            w.AddPort(s.name, p);
    }

    // The data share on the master: profiles, settings, greetings and logs.
    const QString share = u"CW_NT_DB"_s;
    w.SharePath(master->name, share);
    w.WriteShareFile(master->name, share, u"callward.usr"_s, AccountFile(model, history));
    w.WriteShareFile(master->name, share, u"callward.hw"_s, HardwareFile(model));
    w.WriteShareFile(master->name, share, u"greet_0.txt"_s,
                     QByteArray("Welcome to the company network.\r\nPlease hang up when you have finished."));
    w.WriteShareFile(
        master->name, share, u"greet_1.txt"_s,
        QByteArray("Your account has time limits. You will be warned before your session is ended."));
    w.WriteShareFile(
        master->name, share, u"greet_2.txt"_s,
        QByteArray("This line is limited in time. You will be warned before your session is ended."));
    const QDate bigDay = options.bigDay ? today.addDays(-1) : QDate();
    QMap<QDate, std::string> files;
    for (auto it = history.days.constBegin(); it != history.days.constEnd(); ++it)
        files.insert(it.key(), it.value().Text());
    if (bigDay.isValid()) {
        std::mt19937 bigRng(options.seed ^ 0x5eedu);
        files[bigDay] +=
            CwBigDay::DayText(CwBigDay::kServer, CwBigDay::PortNames(), bigDay, CwBigDay::kEvents, bigRng);
    }
    // The long history: the demo's days get LOADRAS's events added; the days
    // before them are written straight out after the site, one at a time.
    std::mt19937 yearRng(options.seed ^ 0x7ea5u);
    const QDate firstYearDay = today.addYears(-std::max(options.years, 0));
    const auto yearDay = [&](QDate day) {
        return CwBigDay::DayText(CwBigDay::kServer, CwBigDay::PortNames(), day, options.yearEventsPerDay,
                                 yearRng);
    };
    for (auto it = files.begin(); it != files.end(); ++it)
        if (it.key() >= firstYearDay && it.key() < today)
            it.value() += yearDay(it.key());
    for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
        const QString folder = it.key() < firstLogDay ? u"OldData"_s : u"LogData"_s;
        const QString name =
            folder + u'/' + CwDayLog::DayFileName(QDateTime(it.key(), QTime(12, 0)).toSecsSinceEpoch());
        w.WriteShareFile(master->name, share, name, QByteArray::fromStdString(it.value()));
        if (it.key() == bigDay && summary)
            summary->bigDayFile = name;
    }
    QDir().mkpath(w.SharePath(master->name, share) + u"/LogData"_s);
    QDir().mkpath(w.SharePath(master->name, share) + u"/OldData"_s);

    if (!w.Save(error))
        return false;
    int yearEvents = 0;
    const QDate firstHistoryDay = files.isEmpty() ? today : files.firstKey();
    for (QDate day = firstYearDay; day < std::min(firstHistoryDay, today); day = day.addDays(1)) {
        const QString name = w.SharePath(master->name, share) +
                             (day < firstLogDay ? u"/OldData/"_s : u"/LogData/"_s) +
                             CwDayLog::DayFileName(QDateTime(day, QTime(12, 0)).toSecsSinceEpoch());
        const std::string text = yearDay(day);
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(text.data(), qint64(text.size())) != qint64(text.size())) {
            *error = u"%1: %2"_s.arg(name, file.errorString());
            return false;
        }
        yearEvents += options.yearEventsPerDay;
    }

    if (summary) {
        summary->masterShare = model.MasterShare();
        summary->accounts = int(model.users.size());
        summary->profiles = int(std::count_if(history.accounts.begin(), history.accounts.end(),
                                              [](const CAccount& a) { return a.hasProfile; }));
        summary->events = history.events + yearEvents;
        summary->liveSessions = int(history.live.size());
        for (const CDemoServer& s : model.servers) {
            QString line = s.name.leftJustified(10) + u"  "_s +
                           (s.rras ? u"Routing and RAS"_s : u"RAS            "_s) + u" on Windows NT "_s +
                           QString::number(s.majorVersion) + u".0, "_s +
                           QString::number(s.ports.size()).rightJustified(3) + u" ports, "_s +
                           TimeZoneText(consoleBias + s.biasOffset);
            if (s.master)
                line += u", master"_s;
            if (!s.reachable)
                line += u", unreachable"_s;
            summary->servers.append(line);
        }
    }
    return true;
}
