#include "site/gen/demohistory.h"

#include "site/gen/directory.h"
#include "site/gen/text.h"
#include "site/gen/traffic.h"

#include <QDateTime>
#include <QMap>

#include <algorithm>
#include <limits>
#include <queue>

using namespace Qt::StringLiterals;

namespace {

// Share of a working day's peak that dials in at each local hour.
constexpr double kHourWeight[24] = {0.03, 0.02, 0.02, 0.02, 0.03, 0.05, 0.15, 0.45, 0.9,  1.0, 1.0,  0.95,
                                    0.7,  0.9,  1.0,  1.0,  0.9,  0.7,  0.45, 0.3,  0.25, 0.2, 0.12, 0.06};
constexpr double kWeekendShare = 0.15;

struct Attempt {
    qint64 time = 0;
    int server = 0;
    int user = -1;     // -1: someone of the server's callers
    qint64 length = 0; // 0: a length of the usual kind
};

struct Session {
    qint64 end = 0;
    int reason = CwRules::Hangup;
    int server = 0, port = 0, user = 0;
    qint64 start = 0;
    quint32 ip = 0;
    std::string ipx, netbios;
    double rateOut = 0, rateIn = 0; // bytes per second while active
    qint64 idleFrom = 0;
    bool longForm = true;
};

class CSimulation {
public:
    CSimulation(const CDemoModel& model, const CNetworkDirectory& directory, qint64 now, std::mt19937& rng)
        : m_model(model), m_directory(directory), m_now(now), m_rng(rng) {
        for (const CDemoServer& server : model.servers)
            m_busy.append(QList<int>(server.ports.size(), -1));
        for (const CDemoUser& user : model.users) {
            if (user.hasProfile)
                m_out.accounts.insert(user.Account().toUpper(),
                                      CAccount{user.Account(), true, user.profile, {}});
            const QList<CGroupProfile> groups =
                CwRules::MemberOf(model.groupProfiles, directory, user.domain, user.name);
            m_limits.append(CwRules::Governing(user.hasProfile ? &user.profile : nullptr, groups));
        }
        for (const CDemoDomain& domain : model.domains) {
            QList<int> callers;
            std::vector<double> weights;
            for (int i = 0; i < model.users.size(); ++i)
                if (model.users[i].domain == domain.name && model.users[i].Dials()) {
                    callers.append(i);
                    // Accounts without limits to go by try now and then, and are refused.
                    weights.push_back(model.users[i].weight * (m_limits[i] ? 1.0 : 0.25));
                }
            m_callers.insert(domain.name,
                             {callers, std::discrete_distribution<int>(weights.begin(), weights.end())});
        }
    }

    // Sessions ending, callers redialling and new attempts, in the order of time.
    void Run(std::vector<Attempt> attempts) {
        std::stable_sort(attempts.begin(), attempts.end(),
                         [](const Attempt& a, const Attempt& b) { return a.time < b.time; });
        constexpr qint64 kNever = std::numeric_limits<qint64>::max();
        std::size_t next = 0;
        for (;;) {
            const qint64 end = m_ends.empty() ? kNever : m_ends.top().first;
            const qint64 retry = m_retries.empty() ? kNever : m_retries.top().time;
            const qint64 attempt = next < attempts.size() ? attempts[next].time : kNever;
            const qint64 time = std::min({end, retry, attempt});
            if (time > m_now)
                break;
            if (end == time) {
                EndSession();
            } else if (retry == time) {
                const Attempt a = m_retries.top();
                m_retries.pop();
                Try(a);
            } else {
                Try(attempts[next++]);
            }
        }
        for (auto it = m_sessions.begin(); it != m_sessions.end(); ++it)
            m_out.live.append(Live(it.value()));
    }

    CDemoHistory Result() { return std::move(m_out); }

private:
    double Uniform(double from, double to) { return std::uniform_real_distribution<double>(from, to)(m_rng); }
    bool Chance(double p) { return Uniform(0, 1) < p; }

    int PickUser(int server) {
        // Most callers belong to the server's domain; some travel.
        QString domain = m_model.servers[server].domain;
        if (Chance(0.08))
            domain =
                m_model.domains[std::uniform_int_distribution<int>(0, int(m_model.domains.size()) - 1)(m_rng)]
                    .name;
        // Now and then someone already connected tries a second line.
        if (!m_liveUsers.isEmpty() && Chance(0.02)) {
            const QList<int> live = m_liveUsers.keys();
            return live[std::uniform_int_distribution<int>(0, int(live.size()) - 1)(m_rng)];
        }
        auto& [callers, distribution] = m_callers[domain];
        if (callers.isEmpty())
            return -1;
        // Otherwise people do not dial in while connected, and mostly give up
        // for a while once they were told their time is used up.
        int user = -1;
        for (int tries = 0; tries < 6; ++tries) {
            user = callers[distribution(m_rng)];
            if (!m_liveUsers.contains(user) && !(m_discouraged.value(user) > m_time && Chance(0.9)))
                break;
        }
        return user;
    }

    qint64 Log(qint64 time, const QString& section, const CwDayLog::Event& event) {
        std::optional<std::string> value = CwDayLog::Value(event);
        if (!value)
            return time; // the model's names are all valid; a statistics check would see the gap
        ++m_out.events;
        return m_out.days[QDateTime::fromSecsSinceEpoch(time).date()].Add(section, time, std::move(*value));
    }

    static CwDayLog::Event Denial(const QString& account, int reason) {
        CwDayLog::Event e;
        e.kind = CwDayLog::Event::Denied;
        e.account = CwText::ToAnsi(account);
        e.reason = reason;
        return e;
    }

    qint64 Length(const CDemoUser& user) {
        const double r = Uniform(0, 1);
        const double seconds = r < 0.5    ? Uniform(120, 1500)
                               : r < 0.85 ? Uniform(1500, 5400)
                                          : Uniform(5400, 14400);
        return qint64(seconds * (user.weight >= 2 ? 1.3 : 1.0));
    }

    quint32 Address(int server, int port, const CUserProfile& limits, const CPortProfile& portProfile) {
        if (m_model.servers[server].staticIp && limits.staticIp)
            return quint32(limits.staticIp);
        if (m_model.servers[server].staticIp && portProfile.staticIp)
            return quint32(portProfile.staticIp);
        return 10u << 24 | quint32(server + 1) << 16 | quint32(port + 1) << 8 |
               quint32(10 + m_ipCounter++ % 240);
    }

    static QString Info(const CUserProfile& limits, const CPortProfile& port) {
        if (port.maxSessionTime > 0)
            return u"Greeting sent: port limit "_s + QString::number(port.maxSessionTime / 60) + u" min"_s;
        if (limits.HasTimeLimit())
            return u"Greeting sent: account with time limits"_s;
        return {};
    }

    void Try(const Attempt& attempt) {
        m_time = attempt.time;
        const CDemoServer& server = m_model.servers[attempt.server];
        const int u = attempt.user >= 0 ? attempt.user : PickUser(attempt.server);
        QList<int> idle;
        for (int p = 0; p < server.ports.size(); ++p)
            if (m_busy[attempt.server][p] < 0 && server.ports[p].hardwareCondition == 1)
                idle.append(p);
        if (u < 0 || idle.isEmpty())
            return;
        const int port = idle[std::uniform_int_distribution<int>(0, int(idle.size()) - 1)(m_rng)];
        const CDemoUser& user = m_model.users[u];
        const QString portName = QString::fromStdString(server.ports[port].name);
        const QString section = CwDayLog::Section(server.name, portName);

        const QString key = user.Account().toUpper();
        auto account = m_out.accounts.find(key);
        if (!m_limits[u]) {
            Log(attempt.time, section, Denial(user.Account(), CwRules::NotDefined));
            return;
        }
        // A member governed by its groups' profiles alone gets its statistics kept from now on.
        if (account == m_out.accounts.end())
            account = m_out.accounts.insert(key, CAccount{user.Account(), false, {}, {}});
        const CUserProfile& limits = *m_limits[u];
        const CPortProfile portProfile = m_model.PortProfile(server.name, portName);
        const bool allowed = m_directory.IsAllowed(user.domain, user.name, portProfile.allowedGroups);
        const bool lockedOut = m_lockedOut.value({attempt.server, u}) > attempt.time;
        if (const int reason = CwRules::Check(limits, account->stats, m_liveUsers.value(u) > 0, allowed,
                                              lockedOut, attempt.time)) {
            Log(attempt.time, section, Denial(account->section, reason));
            ++account->stats.totalDenieds;
            if (reason == CwRules::PeriodUsed)
                m_discouraged[u] = attempt.time + 86400 * (limits.periodType == 1 ? 1 : 4);
            else if (reason == CwRules::Expired || reason == CwRules::TotalTimeUsed)
                m_discouraged[u] = attempt.time + 5 * 86400;
            return;
        }
        CwDayLog::Event connect;
        connect.account = CwText::ToAnsi(account->section);
        connect.info = CwText::ToAnsi(Info(limits, portProfile));
        const qint64 start = Log(attempt.time, section, connect);
        CwRules::CountConnect(account->stats, start);

        Session s;
        s.server = attempt.server;
        s.port = port;
        s.user = u;
        s.start = start;
        s.ip = Address(attempt.server, port, limits, portProfile);
        if (Chance(0.25))
            s.ipx = CwTraffic::IpxAddress(m_rng);
        if (Chance(0.8))
            s.netbios = CwText::ToAnsi(user.computer); // else the caller's name is not known
        s.rateOut = Uniform(300, std::min(server.ports[port].lineSpeed / 10.0, 12000.0));
        s.rateIn = s.rateOut * Uniform(0.1, 0.5);
        s.longForm = Chance(0.7);
        qint64 length = attempt.length > 0 ? attempt.length : Length(user);
        if (attempt.length == 0 && Chance(0.08)) {
            // A connection left open: it falls silent and stays up.
            length = std::max<qint64>(length, 7200);
            s.idleFrom = start + qint64(double(length) * Uniform(0.05, 0.4));
        }
        const qint64 idleMinutes = portProfile.idleMinutes > 0 ? portProfile.idleMinutes : server.idleTimer;
        const CwRules::SessionEnd end = CwRules::PlanEnd(limits, account->stats, portProfile, idleMinutes,
                                                         start, start + length, s.idleFrom);
        s.end = end.time;
        s.reason = end.reason;
        const int id = m_nextSession++;
        m_sessions.insert(id, s);
        m_ends.push({s.end, id});
        m_busy[attempt.server][port] = id;
        ++m_liveUsers[u];
    }

    void EndSession() {
        const int id = m_ends.top().second;
        m_ends.pop();
        const Session s = m_sessions.take(id);
        const CDemoUser& user = m_model.users[s.user];
        CAccount& account = m_out.accounts[user.Account().toUpper()];
        const qint64 lasted = s.end - s.start;
        const qint64 active = (s.idleFrom ? std::min(s.idleFrom, s.end) : s.end) - s.start;
        CwRules::CountDisconnect(*m_limits[s.user], account.stats, lasted);
        const CDemoServer& server = m_model.servers[s.server];
        const QString section =
            CwDayLog::Section(server.name, QString::fromStdString(server.ports[s.port].name));
        CwDayLog::Event e;
        e.kind = CwDayLog::Event::Hangup;
        e.account = CwText::ToAnsi(account.section);
        e.lasted = lasted;
        e.ip = s.ip;
        e.reason = s.reason;
        e.details = s.reason != CwRules::Hangup || s.longForm;
        e.ipx = s.ipx;
        e.netbios = s.netbios;
        e.bytesIn = qint64(double(active) * s.rateIn);
        e.bytesOut = qint64(double(active) * s.rateOut);
        Log(s.end, section, e);
        m_busy[s.server][s.port] = -1;
        if (--m_liveUsers[s.user] <= 0)
            m_liveUsers.remove(s.user);
        if (s.reason == CwRules::IdleTimeout) {
            // Cut off for idleness, some dial straight back in, and are refused for a while.
            m_lockedOut[{s.server, s.user}] = s.end + CwRules::kIdleLockoutSeconds;
            if (Chance(0.5))
                m_retries.push(
                    {s.end + std::uniform_int_distribution<int>(20, 240)(m_rng), s.server, s.user, 0});
        }
    }

    CDemoLiveSession Live(const Session& s) const {
        CDemoLiveSession live;
        live.server = s.server;
        live.port = s.port;
        live.user = s.user;
        live.start = s.start;
        live.ip = s.ip;
        live.ipx = s.ipx;
        const qint64 active = (s.idleFrom ? std::min(s.idleFrom, m_now) : m_now) - s.start;
        live.bytesOut = qint64(double(active) * s.rateOut);
        live.bytesIn = qint64(double(active) * s.rateIn);
        return live;
    }

    const CDemoModel& m_model;
    const CNetworkDirectory& m_directory;
    const qint64 m_now;
    std::mt19937& m_rng;
    CDemoHistory m_out;
    QList<QList<int>> m_busy; // server -> port -> session id, -1 idle
    // Ordered containers only: the site must come out the same in every process.
    QMap<int, Session> m_sessions;
    std::priority_queue<std::pair<qint64, int>, std::vector<std::pair<qint64, int>>, std::greater<>> m_ends;
    QMap<int, int> m_liveUsers;                    // user -> sessions
    QMap<int, qint64> m_discouraged;               // user -> until when they rarely try again
    QMap<std::pair<int, int>, qint64> m_lockedOut; // (server, user) -> end of an idle lock-out
    struct Later {
        bool operator()(const Attempt& a, const Attempt& b) const { return a.time > b.time; }
    };
    std::priority_queue<Attempt, std::vector<Attempt>, Later> m_retries;
    QList<std::optional<CUserProfile>> m_limits; // by user: what governs the account, if anything
    qint64 m_time = 0;
    QMap<QString, std::pair<QList<int>, std::discrete_distribution<int>>> m_callers;
    int m_nextSession = 0;
    int m_ipCounter = 0;
};

} // namespace

CDemoHistory SimulateHistory(const CDemoModel& model, const CNetworkDirectory& directory, qint64 start,
                             qint64 now, int consoleBias, std::mt19937& rng) {
    std::vector<Attempt> attempts;
    const QDate first = QDateTime::fromSecsSinceEpoch(start).date().addDays(-1);
    const QDate last = QDateTime::fromSecsSinceEpoch(now).date().addDays(1);
    for (int si = 0; si < model.servers.size(); ++si) {
        const CDemoServer& server = model.servers[si];
        if (server.peakRate <= 0)
            continue;
        const qint64 bias = consoleBias + server.biasOffset;
        for (QDate day = first; day <= last; day = day.addDays(1)) {
            const double share = day.dayOfWeek() >= 6 ? kWeekendShare : 1.0;
            for (int hour = 0; hour < 24; ++hour) {
                // The server's own clock: its local hour, turned into UTC by its bias.
                const qint64 from = QDateTime(day, QTime(hour, 0), Qt::UTC).toSecsSinceEpoch() + bias * 60;
                const int count =
                    std::poisson_distribution<int>(server.peakRate * kHourWeight[hour] * share)(rng);
                for (int k = 0; k < count; ++k) {
                    const qint64 time = from + std::uniform_int_distribution<int>(0, 3599)(rng);
                    if (time >= start && time <= now)
                        attempts.push_back({time, si, -1, 0});
                }
            }
        }
    }
    // A few sessions that began in the last half hour and are still on now.
    for (int k = 0; k < 6; ++k) {
        const int si = k % 5 == 3 ? 4 : k % 5; // not the unreachable branch
        const QList<int> users = model.UsersOf(model.servers[si].domain);
        QList<int> callers;
        for (int u : users)
            if (model.users[u].hasProfile && model.users[u].Dials() && model.users[u].profile.expiryTime == 0)
                callers.append(u);
        if (callers.isEmpty())
            continue;
        const int user = callers[std::uniform_int_distribution<int>(0, int(callers.size()) - 1)(rng)];
        attempts.push_back({now - std::uniform_int_distribution<int>(120, 1500)(rng), si, user, 6 * 3600});
    }
    CSimulation simulation(model, directory, now, rng);
    simulation.Run(std::move(attempts));
    return simulation.Result();
}
