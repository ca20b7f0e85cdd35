#include "site/serve/hostservice.h"

#include "ini/inifile.h"
#include "platform/site/regparser.h"
#include "site/gen/text.h"
#include "site/gen/traffic.h"

#include <QDateTime>
#include <QSet>

#include <fstream>
#include <iterator>
#include <limits>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;
using OCL::Site::PortRecord;

namespace {

const QString kAccepted = u"0,Session accepted"_s;
const QString kDisconnected = u"0,Session disconnected"_s;
const QString kBadRequest = u"1,Bad request"_s;

QString Yes(bool on) {
    return on ? u"1"_s : u"0"_s;
}

bool Same(const QString& a, const std::string& b) {
    return OCL::Site::SameName(CwText::ToAnsi(a), b);
}

PortRecord* FindPort(std::vector<PortRecord>& ports, const QString& name) {
    for (PortRecord& port : ports)
        if (Same(name, port.name))
            return &port;
    return nullptr;
}

// A value of the service's key in a host's registry file.
class CServiceKey {
public:
    explicit CServiceKey(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        m_parsed = OCL::Site::ParseRegistryText(bytes);
        if (const OCL::Site::RegNode* root = m_parsed.hive.Root("HKEY_LOCAL_MACHINE"))
            m_key = OCL::Site::CRegHive::Walk(
                *root, {"Software", "Osterline Technologies", "Callwarden", "Service"});
    }
    qint64 Dword(const char* name) const {
        const OCL::Site::RegValue* value = m_key ? m_key->FindValue(name) : nullptr;
        if (!value || value->data.size() < 4)
            return 0;
        quint32 number = 0;
        for (int i = 3; i >= 0; --i)
            number = number << 8 | quint8(value->data[std::size_t(i)]);
        return number;
    }
    QString String(const char* name) const {
        const OCL::Site::RegValue* value = m_key ? m_key->FindValue(name) : nullptr;
        if (!value)
            return {};
        return CwText::FromAnsi(std::string_view(value->data).substr(0, value->data.find('\0')));
    }

private:
    OCL::Site::RegParseResult m_parsed;
    const OCL::Site::RegNode* m_key = nullptr;
};

double Uniform(std::mt19937& rng, double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(rng);
}

} // namespace

CHostService::CHostService(CServeContext& context, OCL::Site::HostInfo host, int number)
    : m_context(context), m_host(std::move(host)), m_number(number),
      m_notices(context, QString::fromStdString(m_host.name)) {}

void CHostService::Start(qint64 now) {
    m_running = true;
    ReadSettings();
    m_held.clear();
    for (const PortRecord& port : m_context.site->ReadPorts(m_host))
        if (port.Connected())
            m_held.insert(QString::fromStdString(port.name).toUpper(), NewHeld(port, now));
    // Sessions found connected carry on; while traffic is simulated they end in time too.
    if (m_context.simulating)
        for (Held& held : m_held)
            held.plannedEnd = now + qint64(Uniform(m_context.rng, 120, 2400));
    WriteStatus();
    m_context.Print(Name() + u"  Callwarden service running, "_s + QString::number(m_held.size()) +
                    u" session(s) connected"_s);
}

void CHostService::Stop() {
    m_running = false;
    m_held.clear();
    WriteStatus();
    m_context.Print(Name() + u"  Callwarden service stopped"_s);
}

CHostService::Held CHostService::NewHeld(const PortRecord& port, qint64 now) {
    Held h;
    h.port = QString::fromStdString(port.name);
    h.domain = CwText::FromAnsi(port.domain);
    h.user = CwText::FromAnsi(port.user);
    h.computer = CwText::FromAnsi(port.computer);
    h.ipx = CwText::FromAnsi(port.ipx);
    h.start = port.start;
    h.ip = OCL::Site::PackAddress(port.ip);
    h.lastActivity = now;
    h.rateOut = Uniform(m_context.rng, 200, std::clamp(port.lineSpeed / 10.0, 400.0, 12000.0));
    h.rateIn = h.rateOut * Uniform(m_context.rng, 0.1, 0.5);
    h.bytesOut = port.bytesXmit;
    h.bytesIn = port.bytesRcved;
    return h;
}

void CHostService::ReadSettings() {
    const CServiceKey key(m_host.dir / "registry.reg");
    m_settings.master = key.Dword("Master") == 1;
    m_settings.masterShare = key.String("MasterShare");
    m_settings.idleTimer = key.Dword("IdleTimer");
    m_settings.staticIp = key.Dword("StaticIP") != 0;
    m_settings.logToEventLog = key.Dword("LogSessionEventsToEventLog") != 0;
}

void CHostService::WriteStatus() {
    const QString text =
        u"[Service]\r\nState="_s + (m_running ? u"Running"_s : u"Stopped"_s) + u"\r\nRereads="_s +
        QString::number(m_rereads) + u"\r\nIdleTimer="_s + QString::number(m_settings.idleTimer) +
        u"\r\nStaticIP="_s + Yes(m_settings.staticIp) + u"\r\nMaster="_s + Yes(m_settings.master) +
        u"\r\nMasterShare="_s + m_settings.masterShare + u"\r\nLogSessionEventsToEventLog="_s +
        Yes(m_settings.logToEventLog) + u"\r\nSessions="_s + QString::number(m_held.size()) + u"\r\n"_s;
    if (text == m_lastStatus)
        return;
    const fs::path dir = m_context.site->Root() / "run";
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (m_context.Files().WriteAll(dir / (m_host.name + ".status"), CwText::ToAnsi(text)))
        m_lastStatus = text;
}

std::optional<fs::path> CHostService::DataRoot() {
    if (m_settings.masterShare.isEmpty())
        return std::nullopt;
    fs::path local;
    if (m_context.shares.Resolve(CwText::ToAnsi(m_settings.masterShare), &local) != OCL::Err::Success)
        return std::nullopt;
    return local;
}

bool CHostService::Log(const fs::path& root, const QString& port, qint64 time, const CwDayLog::Event& event,
                       qint64* key) {
    if (key)
        *key = time;
    const QString where = Name() + u'\\' + port;
    const std::optional<std::string> value = CwDayLog::Value(event);
    if (!value) {
        m_context.Print(where + u"  not logged: "_s + CwText::FromAnsi(event.account) +
                        u" cannot be written to the log unchanged"_s);
        return false;
    }
    const fs::path file =
        OCL::Site::AppendWithoutCase(root, "LogData\\" + CwText::ToAnsi(CwDayLog::DayFileName(time)));
    QString error;
    const qint64 used =
        CwDayLog::AppendEvent(m_context.Files(), file, CwDayLog::Section(Name(), port), time, *value, &error);
    if (!used) {
        m_context.Print(where + u"  cannot write the log: "_s + error);
        return false;
    }
    if (key)
        *key = used;
    return true;
}

QByteArray CHostService::Handle(const QByteArray& request, qint64 now) {
    QByteArray bytes = request;
    while (bytes.endsWith('\0'))
        bytes.chop(1);
    const QString text = CwText::FromAnsi(std::string_view(bytes.constData(), std::size_t(bytes.size())));
    QString reply = kBadRequest;
    if (text == u"UPDATE_UPDATE"_s) {
        ReadSettings();
        ++m_rereads;
        WriteStatus();
        m_context.Print(Name() + u"  settings reread: IdleTimer="_s + QString::number(m_settings.idleTimer) +
                        u" StaticIP="_s + Yes(m_settings.staticIp) + u" Master="_s + Yes(m_settings.master) +
                        u" MasterShare="_s + m_settings.masterShare);
        reply = u"0"_s;
    } else if (const QStringList fields = text.split(u','); fields.size() == 7) {
        const QString action = fields[0].trimmed(), port = fields[1].trimmed(), account = fields[2].trimmed();
        const qsizetype slash = account.indexOf(u'\\');
        if (action == u"0"_s && !port.isEmpty() && slash > 0 && slash < account.size() - 1)
            reply = Connect(port, account, fields[3].trimmed(), now, Plan{});
        else if (action == u"1"_s && !port.isEmpty())
            reply = Hangup(port, account, now, fields[4].trimmed().toLongLong());
    }
    if (reply == kBadRequest)
        m_context.Print(Name() + u"  bad request ("_s + QString::number(request.size()) + u" bytes)"_s);
    return QByteArray::fromStdString(CwText::ToAnsi(reply));
}

bool CHostService::ConnectedAnywhere(const QString& domain, const QString& user) {
    for (const std::string& name : m_context.site->HostNames()) {
        const auto host = m_context.site->FindHost(name);
        if (!host)
            continue;
        for (const PortRecord& port : m_context.site->ReadPorts(*host))
            if (port.Connected() && Same(domain, port.domain) && Same(user, port.user))
                return true;
    }
    return false;
}

CHostService::RasPermission CHostService::RasPermissionOf(const QString& domain, const QString& user) {
    RasPermission permission;
    const CNetworkDirectory::Domain* d = m_context.Directory().FindDomain(domain);
    if (!d || d->controller.isEmpty())
        return permission;
    const auto controller = m_context.site->FindHost(d->controller.toStdString());
    if (!controller)
        return permission;
    const auto doc = m_context.Files().Read(controller->dir / "rasusers.ini");
    const std::string account = CwText::ToAnsi(user);
    // Accounts the controller keeps no record of are left to the service's own rules.
    if (!doc->FindSection(account))
        return permission;
    const qint64 bits = CwText::ToNumber(doc->Find(account, "Privilege").value_or("0"));
    permission.refused = (bits & 8) == 0;
    if (bits & 2)
        permission.callback = CwText::FromAnsi(std::string(doc->Find(account, "Phone").value_or("")));
    return permission;
}

quint32 CHostService::Address(int portIndex, const CUserProfile& limits, const CPortProfile& portProfile) {
    if (m_settings.staticIp && limits.staticIp)
        return quint32(limits.staticIp);
    if (m_settings.staticIp && portProfile.staticIp)
        return quint32(portProfile.staticIp);
    return 10u << 24 | quint32(m_number & 0xFF) << 16 | quint32((portIndex + 1) & 0xFF) << 8 |
           quint32(10 + m_ipCounter++ % 240);
}

CHostService::Caller CHostService::Identify(const OCL::Ini::Document& usr, const OCL::Ini::Document* hw,
                                            const QString& domain, const QString& user) {
    Caller c;
    c.account = CwProfiles::ReadAccount(usr, domain + u'\\' + user);
    if (c.account && c.account->hasProfile) {
        c.own = c.account->profile;
    } else if (hw && CwText::ToNumber(hw->Find("Default", "AssignDefault").value_or("0")) == 1) {
        c.own = CwProfiles::ReadProfile(*hw, "Default");
        c.fromDefault = true;
    }
    const QList<CGroupProfile> groups =
        CwRules::MemberOf(CwProfiles::ReadGroupProfiles(usr), m_context.Directory(), domain, user);
    c.limits = CwRules::Governing(c.own ? &*c.own : nullptr, groups);
    return c;
}

QString CHostService::Deny(const fs::path& root, const QString& port, const QString& account,
                           const QString& source, qint64 now, int reason) {
    CwDayLog::Event e;
    e.kind = CwDayLog::Event::Denied;
    e.account = CwText::ToAnsi(account);
    e.reason = reason;
    Log(root, port, now, e);
    m_context.Print(Name() + u'\\' + port + u"  "_s + account + u" denied: "_s + CwRules::DenialText(reason) +
                    source);
    return u"1,"_s + CwRules::DenialText(reason);
}

QString CHostService::Connect(const QString& portName, const QString& accountName, const QString& computer,
                              qint64 now, const Plan& plan) {
    std::vector<PortRecord> ports = m_context.site->ReadPorts(m_host);
    const PortRecord* port = FindPort(ports, portName);
    if (!port)
        return u"1,Unknown port"_s;
    const QString portSpelled = QString::fromStdString(port->name);
    const QString where = Name() + u'\\' + portSpelled;
    const QString source = plan.simulated ? u" (simulated)"_s : QString();
    if (port->Connected())
        return u"1,Port in use by "_s + CwText::FromAnsi(port->domain) + u'\\' + CwText::FromAnsi(port->user);
    if (port->hardwareCondition != 1)
        return u"1,Port not operational"_s;
    // The name goes into the port table and the log as it stands.
    if (!computer.isEmpty() && !CwDayLog::IsComputerName(computer))
        return u"1,Invalid computer name"_s;
    const auto root = DataRoot();
    if (!root) {
        m_context.Print(where + u"  cannot reach the data share "_s + m_settings.masterShare);
        return u"1,Data share not available"_s;
    }
    // No Windows account has such a name: nobody to look up, nothing to keep.
    if (!CwDayLog::IsAccountName(accountName))
        return Deny(*root, portSpelled, accountName, source, now, CwRules::NotDefined);
    const qsizetype slash = accountName.indexOf(u'\\');
    const QString domain = accountName.left(slash), user = accountName.mid(slash + 1);
    const RasPermission ras = RasPermissionOf(domain, user);
    if (ras.refused) {
        m_context.Print(where + u"  "_s + accountName + u" has no dial-in permission"_s + source);
        return u"1,No dial-in permission"_s;
    }
    const fs::path usr = OCL::Site::AppendWithoutCase(*root, "callward.usr");
    const fs::path hw = OCL::Site::AppendWithoutCase(*root, "callward.hw");
    auto& files = m_context.Files();
    const auto hwDoc = files.Read(hw);
    const Caller caller = Identify(*files.Read(usr), hwDoc.get(), domain, user);
    if (!caller.limits)
        return Deny(*root, portSpelled, accountName, source, now, CwRules::NotDefined);

    const QString section = caller.account ? caller.account->section : accountName;
    CUserStats stats = caller.account ? caller.account->stats : CUserStats{};
    const CPortProfile portProfile = CwProfiles::ReadPortProfile(*hwDoc, Name(), portSpelled);
    const bool allowed = m_context.Directory().IsAllowed(domain, user, portProfile.allowedGroups);
    const bool lockedOut = m_lockedOut.value(accountName.toUpper()) > now;
    OCL::Ini::Edit edit;
    if (const int reason =
            CwRules::Check(*caller.limits, stats, ConnectedAnywhere(domain, user), allowed, lockedOut, now)) {
        // One who would only get the default profile is no account of the service until admitted.
        if (caller.account || !caller.fromDefault) {
            ++stats.totalDenieds;
            CwProfiles::WriteStats(edit, section, stats);
            files.Apply(usr, edit);
        }
        return Deny(*root, portSpelled, section, source, now, reason);
    }

    // Take the port; another caller may have got it in the meantime.
    Held held;
    held.port = portSpelled;
    held.domain = domain;
    held.user = user;
    held.computer = computer;
    held.start = now;
    held.lastActivity = now;
    held.ip = Address(int(port - ports.data()), *caller.limits, portProfile);
    held.rateOut = Uniform(m_context.rng, 200, std::clamp(port->lineSpeed / 10.0, 400.0, 12000.0));
    held.rateIn = held.rateOut * Uniform(m_context.rng, 0.1, 0.5);
    if (plan.length > 0)
        held.plannedEnd = now + plan.length;
    if (plan.idleAfter > 0)
        held.idleFrom = now + plan.idleAfter;
    bool taken = false;
    const bool written = m_context.site->EditPorts(m_host, [&](std::vector<PortRecord>& table) {
        PortRecord* p = FindPort(table, portSpelled);
        if (!p || p->Connected())
            return false;
        p->EndSession();
        p->user = CwText::ToAnsi(user);
        p->domain = CwText::ToAnsi(domain);
        p->computer = CwText::ToAnsi(computer);
        p->start = now;
        p->ip = OCL::Site::DottedAddress(held.ip);
        p->flags = 4;
        CwTraffic::Add(*p, 300, 200, m_context.rng);
        taken = true;
        return true;
    });
    if (!written || !taken)
        return u"1,Port in use"_s;

    const qint64 mask = CwText::ToNumber(hwDoc->Find("Greetings", "RuleMask").value_or("0"));
    CwDayLog::Event e;
    e.account = CwText::ToAnsi(section);
    int greeting = -1;
    if ((mask & 4) && portProfile.maxSessionTime > 0) {
        greeting = 2;
        e.info = "Greeting sent: port limit " + std::to_string(portProfile.maxSessionTime / 60) + " min";
    } else if ((mask & 2) && caller.limits->HasTimeLimit()) {
        greeting = 1;
        e.info = "Greeting sent: account with time limits";
    } else if (mask & 1) {
        greeting = 0;
        e.info = "Greeting sent";
    }
    qint64 key = now;
    Log(*root, portSpelled, now, e, &key);
    CwRules::CountConnect(stats, key);
    // Only now is the caller allowed in, and only now gets a profile of its own.
    if (caller.fromDefault)
        CwProfiles::WriteProfile(edit, section, *caller.own);
    CwProfiles::WriteStats(edit, section, stats);
    files.Apply(usr, edit);
    m_held.insert(portSpelled.toUpper(), held);
    m_notices.Greet(*root, greeting, user, now);
    WriteStatus();
    m_context.Print(where + u"  "_s + section + u" connected from "_s + computer + u", IP "_s +
                    QString::fromStdString(OCL::Site::DottedAddress(held.ip)) +
                    (caller.fromDefault ? u", profile made from Default"_s : QString()) +
                    (ras.callback.isEmpty() ? QString() : u", called back at "_s + ras.callback) + source);
    return kAccepted;
}

QString CHostService::Hangup(const QString& portName, const QString& account, qint64 now, qint64 time) {
    const qsizetype slash = account.indexOf(u'\\');
    const QString domain = account.left(slash), user = account.mid(slash + 1);
    PortRecord ended;
    bool found = false, someoneElse = false;
    const bool written = m_context.site->EditPorts(m_host, [&](std::vector<PortRecord>& table) {
        PortRecord* p = FindPort(table, portName);
        if (!p)
            return false;
        found = true;
        if (!p->Connected())
            return false;
        // Only the caller of the session can hang it up.
        someoneElse = slash <= 0 || !Same(domain, p->domain) || !Same(user, p->user);
        if (someoneElse)
            return false;
        ended = *p;
        p->EndSession();
        return true;
    });
    if (!found)
        return u"1,Unknown port"_s;
    if (someoneElse)
        return u"1,Account not connected on port"_s;
    if (!written || !ended.Connected())
        return u"1,No session on port"_s;
    const QString key = QString::fromStdString(ended.name).toUpper();
    Ended e{m_held.value(key, NewHeld(ended, now)), now, CwRules::Hangup};
    e.held.bytesOut = ended.bytesXmit;
    e.held.bytesIn = ended.bytesRcved;
    // The caller's own clock, when it is sensible.
    if (time >= ended.start && time <= now + 60)
        e.time = time;
    m_held.remove(key);
    e.shortForm = true; // a hang-up from the pipe is logged in the short form
    Finish(e);
    WriteStatus();
    return kDisconnected;
}

void CHostService::Finish(const Ended& ended) {
    const Held& h = ended.held;
    const qint64 lasted = std::max<qint64>(0, ended.time - h.start);
    const QString where = Name() + u'\\' + h.port;
    QString section = h.domain + u'\\' + h.user;
    if (ended.reason == CwRules::IdleTimeout)
        m_lockedOut.insert(section.toUpper(), ended.time + CwRules::kIdleLockoutSeconds);
    const auto root = DataRoot();
    if (!root) {
        m_context.Print(where + u"  cannot reach the data share "_s + m_settings.masterShare);
        return;
    }
    const fs::path usr = OCL::Site::AppendWithoutCase(*root, "callward.usr");
    const auto usrDoc = m_context.Files().Read(usr);
    if (const Caller caller = Identify(*usrDoc, nullptr, h.domain, h.user); caller.account) {
        section = caller.account->section;
        CUserStats stats = caller.account->stats;
        CwRules::CountDisconnect(caller.limits.value_or(CUserProfile{}), stats, lasted);
        OCL::Ini::Edit edit;
        const std::string s = CwText::ToAnsi(section);
        edit.Set(s, "TotalTime", std::to_string(stats.totalTime));
        edit.Set(s, "Lasted", std::to_string(stats.lasted));
        edit.Set(s, "PeriodUsage", std::to_string(stats.periodUsage));
        m_context.Files().Apply(usr, edit);
    }
    CwDayLog::Event e;
    e.kind = CwDayLog::Event::Hangup;
    e.account = CwText::ToAnsi(section);
    e.lasted = lasted;
    e.ip = h.ip;
    e.reason = ended.reason;
    e.details = ended.reason != CwRules::Hangup || !ended.shortForm;
    e.ipx = CwText::ToAnsi(h.ipx);
    e.netbios = CwText::ToAnsi(h.computer);
    e.bytesIn = h.bytesIn;
    e.bytesOut = h.bytesOut;
    if (!CwDayLog::Value(e)) {
        // A port table edited by hand may hold addresses the log cannot carry; the event matters more.
        m_context.Print(where + u"  caller's computer name or IPX address left out of the log"_s);
        e.ipx.clear();
        e.netbios.clear();
    }
    Log(*root, h.port, ended.time, e);
    m_context.Print(
        where + u"  "_s + section + u" disconnected after "_s + QString::number(lasted) + u" s"_s +
        (ended.reason == CwRules::Hangup ? QString() : u": "_s + CwRules::ForcedText(ended.reason)));
}

void CHostService::Tick(qint64 now, double seconds) {
    if (!m_running || m_held.isEmpty())
        return;
    const auto root = DataRoot();
    auto& files = m_context.Files();
    std::shared_ptr<const OCL::Ini::Document> usr, hw;
    if (root) {
        usr = files.Read(OCL::Site::AppendWithoutCase(*root, "callward.usr"));
        hw = files.Read(OCL::Site::AppendWithoutCase(*root, "callward.hw"));
    }
    QList<Ended> ended;
    m_context.site->EditPorts(m_host, [&](std::vector<PortRecord>& table) {
        bool changed = false;
        for (const QString& key : m_held.keys()) {
            Held& h = m_held[key];
            PortRecord* p = FindPort(table, h.port);
            if (!p || !p->Connected() || !Same(h.user, p->user) || !Same(h.domain, p->domain) ||
                p->start != h.start) {
                // The console disconnected the port.
                ended.append({h, now, CwRules::Hangup});
                m_held.remove(key);
                continue;
            }
            if (!h.idleFrom || now < h.idleFrom) {
                const double out = h.rateOut * seconds * Uniform(m_context.rng, 0.3, 1.7);
                CwTraffic::Add(*p, qint64(out), qint64(out * h.rateIn / h.rateOut), m_context.rng);
                h.lastActivity = now;
                changed = true;
            }
            h.bytesOut = p->bytesXmit;
            h.bytesIn = p->bytesRcved;
            int reason = 0;
            if (root) {
                const Caller caller = Identify(*usr, nullptr, h.domain, h.user);
                const CUserStats stats = caller.account ? caller.account->stats : CUserStats{};
                const CPortProfile port = CwProfiles::ReadPortProfile(*hw, Name(), h.port);
                const qint64 idle = port.idleMinutes > 0 ? port.idleMinutes : m_settings.idleTimer;
                reason = CwRules::LimitReached(caller.limits.value_or(CUserProfile{}), stats, port, idle,
                                               h.start, now, h.lastActivity);
            }
            if (!reason && h.plannedEnd && now >= h.plannedEnd)
                reason = CwRules::Hangup;
            if (!reason && root)
                WarnBeforeEnd(*hw, *usr, h, now);
            if (reason) {
                ended.append({h, now, reason});
                p->EndSession();
                m_held.remove(key);
                changed = true;
            }
        }
        return changed;
    });
    QSet<QString> live;
    for (const Held& h : std::as_const(m_held))
        live.insert(SessionKey(h));
    m_notices.Keep(live);
    for (Ended& e : ended) {
        // Now and then a caller's own hang-up is logged in the short form.
        if (e.reason == CwRules::Hangup && Uniform(m_context.rng, 0, 1) < 0.3)
            e.shortForm = true;
        Finish(e);
    }
    WriteStatus();
}

bool CHostService::Simulate(qint64 now) {
    if (!m_running)
        return false;
    QStringList idle;
    for (const PortRecord& port : m_context.site->ReadPorts(m_host))
        if (!port.Connected() && port.hardwareCondition == 1)
            idle.append(QString::fromStdString(port.name));
    const CNetworkDirectory& directory = m_context.Directory();
    QList<QPair<QString, QString>> accounts, local;
    for (const CNetworkDirectory::Domain& d : directory.Domains()) {
        const bool ours = d.computers.contains(Name(), Qt::CaseInsensitive);
        for (const QString& user : d.users) {
            accounts.append({d.name, user});
            if (ours)
                local.append({d.name, user});
        }
    }
    if (idle.isEmpty() || accounts.isEmpty())
        return false;
    auto& rng = m_context.rng;
    const QString port = idle[std::uniform_int_distribution<int>(0, int(idle.size()) - 1)(rng)];
    // Callers mostly belong to the server's own domain and mostly have a profile.
    QPair<QString, QString> caller;
    const auto root = DataRoot();
    for (int tries = 0; tries < 3; ++tries) {
        const auto& pool = !local.isEmpty() && Uniform(rng, 0, 1) < 0.8 ? local : accounts;
        caller = pool[std::uniform_int_distribution<int>(0, int(pool.size()) - 1)(rng)];
        if (!root || CwProfiles::ReadAccount(
                         *m_context.Files().Read(OCL::Site::AppendWithoutCase(*root, "callward.usr")),
                         caller.first + u'\\' + caller.second))
            break;
    }
    const auto& [domain, user] = caller;
    Plan plan;
    plan.simulated = true;
    plan.length = qint64(Uniform(rng, 0, 1) < 0.75 ? Uniform(rng, 60, 900) : Uniform(rng, 900, 3600));
    if (Uniform(rng, 0, 1) < 0.15) {
        // A connection left open: it falls silent and stays up until the idle time-out.
        plan.idleAfter = qint64(Uniform(rng, 30, 300));
        plan.length = std::max<qint64>(plan.length, 7200);
    }
    Connect(port, domain + u'\\' + user, u"PC-"_s + user.toUpper().left(12), now, plan);
    return true;
}

QString CHostService::SessionKey(const Held& held) {
    return held.port.toUpper() + u'@' + QString::number(held.start);
}

void CHostService::WarnBeforeEnd(const OCL::Ini::Document& hw, const OCL::Ini::Document& usr,
                                 const Held& held, qint64 now) {
    const Caller caller = Identify(usr, nullptr, held.domain, held.user);
    if (!caller.limits)
        return;
    const CUserStats stats = caller.account ? caller.account->stats : CUserStats{};
    const CPortProfile port = CwProfiles::ReadPortProfile(hw, Name(), held.port);
    const qint64 idle = port.idleMinutes > 0 ? port.idleMinutes : m_settings.idleTimer;
    constexpr qint64 kNever = std::numeric_limits<qint64>::max();
    const CwRules::SessionEnd end =
        CwRules::PlanEnd(*caller.limits, stats, port, idle, held.start, kNever, held.idleFrom);
    if (end.reason != CwRules::Hangup && end.time != kNever)
        m_notices.Warn(hw, SessionKey(held), held.user, end.time, now);
}

void CHostService::Daily(qint64 now) {
    if (!m_running || !m_settings.master)
        return;
    if (const auto root = DataRoot())
        m_notices.Daily(*root, now);
}
