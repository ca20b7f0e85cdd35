#include "site/serve/hostservice.h"

#include "ini/inifile.h"
#include "platform/site/regparser.h"
#include "site/gen/logformat.h"
#include "site/gen/text.h"
#include "site/gen/traffic.h"

#include <QDateTime>

#include <fstream>
#include <iterator>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;
using OCL::Site::PortRecord;

namespace {

const QString kAccepted = u"0,Session accepted"_s;
const QString kDisconnected = u"0,Session disconnected"_s;
const QString kBadRequest = u"1,Bad request"_s;

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
    : m_context(context), m_host(std::move(host)), m_number(number) {}

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
    m_context.Print(
        u"%1  Callwarden service running, %2 session(s) connected"_s.arg(Name()).arg(m_held.size()));
}

void CHostService::Stop() {
    m_running = false;
    m_held.clear();
    WriteStatus();
    m_context.Print(u"%1  Callwarden service stopped"_s.arg(Name()));
}

CHostService::Held CHostService::NewHeld(const PortRecord& port, qint64 now) {
    Held h;
    h.port = QString::fromStdString(port.name);
    h.domain = CwText::FromAnsi(port.domain);
    h.user = CwText::FromAnsi(port.user);
    h.computer = CwText::FromAnsi(port.computer);
    h.ipx = QString::fromStdString(port.ipx);
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
        u"[Service]\r\nState=%1\r\nRereads=%2\r\nIdleTimer=%3\r\nStaticIP=%4\r\nMaster=%5\r\n"
        u"MasterShare=%6\r\nLogSessionEventsToEventLog=%7\r\nSessions=%8\r\n"_s
            .arg(m_running ? u"Running"_s : u"Stopped"_s)
            .arg(m_rereads)
            .arg(m_settings.idleTimer)
            .arg(m_settings.staticIp ? 1 : 0)
            .arg(m_settings.master ? 1 : 0)
            .arg(m_settings.masterShare)
            .arg(m_settings.logToEventLog ? 1 : 0)
            .arg(m_held.size());
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

void CHostService::Log(const fs::path& root, const QString& port, qint64 time, const QString& value,
                       qint64* key) {
    const fs::path file =
        OCL::Site::AppendWithoutCase(root, "LogData\\" + CwText::ToAnsi(CwLog::DayFileName(time)));
    QString error;
    const qint64 used =
        CwLog::AppendEvent(m_context.Files(), file, CwLog::Section(Name(), port), time, value, &error);
    if (!used)
        m_context.Print(u"%1  cannot write the log: %2"_s.arg(Name(), error));
    if (key)
        *key = used ? used : time;
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
        m_context.Print(
            u"%1  settings reread: IdleTimer=%2 StaticIP=%3 Master=%4 MasterShare=%5"_s.arg(Name())
                .arg(m_settings.idleTimer)
                .arg(m_settings.staticIp ? 1 : 0)
                .arg(m_settings.master ? 1 : 0)
                .arg(m_settings.masterShare));
        reply = u"0"_s;
    } else if (const QStringList fields = text.split(u','); fields.size() == 7) {
        const QString action = fields[0].trimmed(), port = fields[1].trimmed(), account = fields[2].trimmed();
        const qsizetype slash = account.indexOf(u'\\');
        if (action == u"0"_s && !port.isEmpty() && slash > 0 && slash < account.size() - 1)
            reply = Connect(port, account, fields[3].trimmed(), now, Plan{});
        else if (action == u"1"_s && !port.isEmpty())
            reply = Hangup(port, now, fields[4].trimmed().toLongLong());
    }
    if (reply == kBadRequest)
        m_context.Print(u"%1  bad request (%2 bytes)"_s.arg(Name()).arg(request.size()));
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

quint32 CHostService::Address(int portIndex, const CAccount& account, const CPortProfile& portProfile) {
    if (m_settings.staticIp && account.profile.staticIp)
        return quint32(account.profile.staticIp);
    if (m_settings.staticIp && portProfile.staticIp)
        return quint32(portProfile.staticIp);
    return 10u << 24 | quint32(m_number & 0xFF) << 16 | quint32((portIndex + 1) & 0xFF) << 8 |
           quint32(10 + m_ipCounter++ % 240);
}

QString CHostService::Connect(const QString& portName, const QString& accountName, const QString& computer,
                              qint64 now, const Plan& plan) {
    const QString domain = accountName.section(u'\\', 0, 0), user = accountName.section(u'\\', 1);
    std::vector<PortRecord> ports = m_context.site->ReadPorts(m_host);
    const PortRecord* port = FindPort(ports, portName);
    if (!port)
        return u"1,Unknown port"_s;
    const QString portSpelled = QString::fromStdString(port->name);
    const QString where = u"%1\\%2"_s.arg(Name(), portSpelled);
    const QString source = plan.simulated ? u" (simulated)"_s : QString();
    if (port->Connected())
        return u"1,Port in use by %1\\%2"_s.arg(CwText::FromAnsi(port->domain), CwText::FromAnsi(port->user));
    if (port->hardwareCondition != 1)
        return u"1,Port not operational"_s;
    const auto root = DataRoot();
    if (!root) {
        m_context.Print(u"%1  cannot reach the data share %2"_s.arg(where, m_settings.masterShare));
        return u"1,Data share not available"_s;
    }
    const fs::path usr = OCL::Site::AppendWithoutCase(*root, "callward.usr");
    const fs::path hw = OCL::Site::AppendWithoutCase(*root, "callward.hw");
    auto& files = m_context.Files();
    const auto hwDoc = files.Read(hw);
    std::optional<CAccount> account = CwProfiles::ReadAccount(*files.Read(usr), accountName);
    bool created = false;
    if (!account) {
        if (CwText::ToNumber(hwDoc->Find("Default", "AssignDefault").value_or("0")) != 1) {
            Log(*root, portSpelled, now, CwLog::DenyValue(accountName, CwRules::NotDefined));
            m_context.Print(u"%1  %2 denied: %3%4"_s.arg(where, accountName, CwRules::DenialText(1), source));
            return u"1,"_s + CwRules::DenialText(CwRules::NotDefined);
        }
        account = CAccount{accountName, CwProfiles::ReadProfile(*hwDoc, "Default"), {}};
        created = true;
    }

    const CPortProfile portProfile = CwProfiles::ReadPortProfile(*hwDoc, Name(), portSpelled);
    const bool allowed = m_context.Directory().IsAllowed(domain, user, portProfile.allowedGroups);
    const int reason = CwRules::Check(*account, ConnectedAnywhere(domain, user), allowed, now);
    OCL::Ini::Edit edit;
    if (created)
        CwProfiles::WriteProfile(edit, account->section, account->profile);
    if (reason) {
        ++account->stats.totalDenieds;
        CwProfiles::WriteStats(edit, account->section, account->stats);
        files.Apply(usr, edit);
        Log(*root, portSpelled, now, CwLog::DenyValue(account->section, reason));
        m_context.Print(
            u"%1  %2 denied: %3%4"_s.arg(where, account->section, CwRules::DenialText(reason), source));
        return u"1,"_s + CwRules::DenialText(reason);
    }

    // Take the port; another caller may have got it in the meantime.
    Held held;
    held.port = portSpelled;
    held.domain = domain;
    held.user = user;
    held.computer = computer;
    held.start = now;
    held.lastActivity = now;
    held.ip = Address(int(port - ports.data()), *account, portProfile);
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
    QString info;
    if ((mask & 4) && portProfile.maxSessionTime > 0)
        info = u"Greeting sent: port limit %1 min"_s.arg(portProfile.maxSessionTime / 60);
    else if ((mask & 2) && account->profile.HasTimeLimit())
        info = u"Greeting sent: account with time limits"_s;
    else if (mask & 1)
        info = u"Greeting sent"_s;
    qint64 key = now;
    Log(*root, portSpelled, now, CwLog::ConnectValue(account->section, info), &key);
    CwRules::CountConnect(account->stats, key);
    CwProfiles::WriteStats(edit, account->section, account->stats);
    files.Apply(usr, edit);
    m_held.insert(portSpelled.toUpper(), held);
    WriteStatus();
    m_context.Print(u"%1  %2 connected from %3, IP %4%5%6"_s.arg(
        where, account->section, computer, QString::fromStdString(OCL::Site::DottedAddress(held.ip)),
        created ? u", profile made from Default"_s : QString(), source));
    return kAccepted;
}

QString CHostService::Hangup(const QString& portName, qint64 now, qint64 time) {
    PortRecord ended;
    bool found = false;
    const bool written = m_context.site->EditPorts(m_host, [&](std::vector<PortRecord>& table) {
        PortRecord* p = FindPort(table, portName);
        if (!p)
            return false;
        found = true;
        if (!p->Connected())
            return false;
        ended = *p;
        p->EndSession();
        return true;
    });
    if (!found)
        return u"1,Unknown port"_s;
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

void CHostService::Finish(const Ended& e) {
    const Held& h = e.held;
    const qint64 lasted = std::max<qint64>(0, e.time - h.start);
    const QString where = u"%1\\%2"_s.arg(Name(), h.port);
    const auto root = DataRoot();
    if (!root) {
        m_context.Print(u"%1  cannot reach the data share %2"_s.arg(where, m_settings.masterShare));
        return;
    }
    const fs::path usr = OCL::Site::AppendWithoutCase(*root, "callward.usr");
    QString section = h.domain + u'\\' + h.user;
    if (std::optional<CAccount> account = CwProfiles::ReadAccount(*m_context.Files().Read(usr), section)) {
        section = account->section;
        CwRules::CountDisconnect(*account, lasted);
        OCL::Ini::Edit edit;
        const std::string s = CwText::ToAnsi(section);
        edit.Set(s, "TotalTime", std::to_string(account->stats.totalTime));
        edit.Set(s, "Lasted", std::to_string(account->stats.lasted));
        edit.Set(s, "PeriodUsage", std::to_string(account->stats.periodUsage));
        m_context.Files().Apply(usr, edit);
    }
    const bool shortForm = e.reason == CwRules::Hangup && e.shortForm;
    Log(*root, h.port, e.time,
        shortForm
            ? CwLog::HangupValue(lasted, section, h.ip)
            : CwLog::HangupLongValue(lasted, section, h.ip, e.reason, h.ipx,
                                     h.computer.isEmpty() ? u"?"_s : h.computer, h.bytesIn, h.bytesOut));
    m_context.Print(
        u"%1  %2 disconnected after %3 s%4"_s.arg(where, section)
            .arg(lasted)
            .arg(e.reason == CwRules::Hangup ? QString() : u": "_s + CwRules::ForcedText(e.reason)));
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
                const CAccount account =
                    CwProfiles::ReadAccount(*usr, h.domain + u'\\' + h.user).value_or(CAccount{{}, {}, {}});
                const CPortProfile port = CwProfiles::ReadPortProfile(*hw, Name(), h.port);
                const qint64 idle = port.idleMinutes > 0 ? port.idleMinutes : m_settings.idleTimer;
                reason = CwRules::LimitReached(account, port, idle, h.start, now, h.lastActivity);
            }
            if (!reason && h.plannedEnd && now >= h.plannedEnd)
                reason = CwRules::Hangup;
            if (reason) {
                ended.append({h, now, reason});
                p->EndSession();
                m_held.remove(key);
                changed = true;
            }
        }
        return changed;
    });
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
