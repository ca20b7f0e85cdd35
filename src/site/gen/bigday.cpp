#include "site/gen/bigday.h"

#include "site/gen/logformat.h"
#include "site/gen/profiles.h"
#include "site/gen/text.h"
#include "site/gen/traffic.h"

#include <QDateTime>

#include <algorithm>
#include <charconv>
#include <vector>

namespace CwBigDay {
namespace {

constexpr int kDenials[] = {1, 2, 3, 4, 5, 6, 9};
constexpr int kForced[] = {CwRules::PortMaxTime, CwRules::UserMaxSession, CwRules::UserMaxTotal,
                           CwRules::IdleTimeout};

struct Caller {
    std::string account, computer;
};

} // namespace

QStringList PortNames() {
    QStringList ports;
    for (int i = 0; i < kPorts; ++i)
        ports.append(QStringLiteral("VPN1-") + QString::number(i));
    return ports;
}

std::string DayText(const QString& server, const QStringList& ports, const QDate& day, int events,
                    std::mt19937& rng) {
    std::vector<Caller> callers(kAccounts);
    for (int i = 0; i < kAccounts; ++i) {
        char name[16];
        const auto end = std::to_chars(name, name + sizeof name, 100000 + i).ptr;
        const std::string number(name + 1, end); // five digits
        callers[std::size_t(i)] = {CwText::ToAnsi(kDomain) + "\\load" + number, "LT-LOAD" + number};
    }
    const qint64 dayStart = day.startOfDay().toSecsSinceEpoch();
    const qint64 dayLength = day.addDays(1).startOfDay().toSecsSinceEpoch() - dayStart;
    std::uniform_int_distribution<int> percent(0, 99), caller(0, kAccounts - 1);
    std::uniform_int_distribution<std::size_t> denial(0, std::size(kDenials) - 1),
        forced(0, std::size(kForced) - 1);

    std::string text;
    text.reserve(std::size_t(events) * 56);
    CwDayLog::Event e;
    for (qsizetype p = 0; p < ports.size(); ++p) {
        // At most one event a second on a port, so that its keys stay its own.
        const qint64 quota =
            std::min(dayLength, qint64(events / ports.size() + (p < events % ports.size() ? 1 : 0)));
        if (quota == 0)
            continue;
        text += '[' + CwText::ToAnsi(CwDayLog::Section(server, ports[p])) + "]\r\n";
        const double slot = double(dayLength) / double(quota);
        std::uniform_int_distribution<qint64> jitter(0, std::max<qint64>(0, qint64(slot) - 1));
        bool connected = false;
        qint64 since = 0;
        const Caller* who = nullptr;
        quint32 ip = 0;
        for (qint64 j = 0; j < quota; ++j) {
            const qint64 time = dayStart + qint64(double(j) * slot) + jitter(rng);
            e = {};
            if (connected) {
                e.kind = CwDayLog::Event::Hangup;
                e.account = who->account;
                e.lasted = time - since;
                e.ip = ip;
                const bool isForced = percent(rng) < 12;
                e.reason = isForced ? kForced[forced(rng)] : CwDayLog::kNoReason;
                e.details = isForced || percent(rng) < 75;
                if (percent(rng) < 25)
                    e.ipx = CwTraffic::IpxAddress(rng);
                if (percent(rng) < 80)
                    e.netbios = who->computer;
                e.bytesOut = e.lasted * (300 + percent(rng) * 40);
                e.bytesIn = e.bytesOut / 4;
                connected = false;
            } else if (percent(rng) < 6) {
                e.kind = CwDayLog::Event::Denied;
                e.account = callers[std::size_t(caller(rng))].account;
                e.reason = kDenials[denial(rng)];
            } else {
                who = &callers[std::size_t(caller(rng))];
                e.kind = CwDayLog::Event::Connect;
                e.account = who->account;
                const int greeting = percent(rng);
                e.info = greeting < 20   ? "Greeting sent"
                         : greeting < 30 ? "Greeting sent: account with time limits"
                                         : "";
                connected = true;
                since = time;
                ip = 10u << 24 | 99u << 16 | quint32(p & 0xFF) << 8 | quint32(10 + percent(rng));
            }
            const std::size_t mark = text.size();
            char key[24];
            text.append(key, std::to_chars(key, key + sizeof key, time).ptr);
            text += '=';
            if (CwDayLog::AppendValue(text, e))
                text += "\r\n";
            else
                text.resize(mark);
        }
    }
    return text;
}

} // namespace CwBigDay
