#include "core/stats/statistics.h"

#include "core/app/ansitext.h"
#include "core/stats/localtime.h"
#include "ini/inifile.h"

#include <algorithm>
#include <string>
#include <unordered_map>

using namespace Qt::StringLiterals;

namespace {

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

// A user name as it reads back from a profile value: blanks and one pair of
// surrounding double quotes gone.
QString AsReadBack(std::string_view user) {
    user = TrimBlanks(user);
    if (user.size() >= 2 && user.front() == '"' && user.back() == '"')
        user = user.substr(1, user.size() - 2);
    return CAnsi::ToQString(user);
}

} // namespace

void CDayStatistics::CountSessions(const CLogStore& store) {
    connections = denied = forced = 0;
    for (std::size_t i = 0; i < store.Count(); ++i) {
        const CLogStore::Event& e = store.At(i);
        if (e.action == CwLog::Connect)
            ++connections;
        else if (e.action == CwLog::Denied)
            ++denied;
        else if (e.action == CwLog::Disconnect && e.reason != 0 && e.reason != 256)
            ++forced;
    }
}

void CDayStatistics::CountByHour(const CLogStore& store) {
    byHour.fill(0);
    maxHour = 0;
    graphScale = 100000;
    longest = 0;
    longestUser = u"n/a"_s;
    frequentCount = 0;
    frequentUser = u"n/a"_s;

    // The tally is keyed by user name as a profile file keys it.
    const CNameTable& users = store.Users();
    std::vector<std::uint32_t> tallyOf(users.Count());
    std::unordered_map<std::string, std::uint32_t> tallies;
    for (std::uint32_t id = 0; id < users.Count(); ++id)
        tallyOf[id] =
            tallies
                .try_emplace(OCL::Ini::FoldedName(TrimBlanks(users.Text(id))), std::uint32_t(tallies.size()))
                .first->second;
    std::vector<quint32> counts(tallies.size(), 0);

    CLocalTime local;
    quint32 most = 0;
    std::uint32_t mostUser = 0, longestId = 0;
    for (std::size_t i = 0; i < store.Count(); ++i) {
        const CLogStore::Event& e = store.At(i);
        if (e.action == CwLog::Disconnect) {
            // A negative duration is no session length.
            if (e.lasted > 0 && quint32(e.lasted) > longest) {
                longest = quint32(e.lasted);
                longestId = e.user;
            }
        } else if (e.action == CwLog::Connect) {
            ++byHour[std::size_t(local.Hour(store.Time(e)))];
            const quint32 count = ++counts[tallyOf[e.user]];
            // Whoever reaches the top count last holds it.
            if (count >= most) {
                most = count;
                mostUser = e.user;
            }
        }
    }
    maxHour = *std::max_element(byHour.begin(), byHour.end());
    graphScale = ScaleFor(maxHour);
    if (longest > 0)
        longestUser = users.Display(longestId);
    if (most > 0) {
        frequentCount = most;
        frequentUser = AsReadBack(users.Text(mostUser));
    }
}

quint32 CDayStatistics::ScaleFor(quint32 maxHour) {
    quint32 scale = 100000;
    for (const quint32 step : {10000u, 1000u, 800u, 400u, 200u, 100u, 80u, 40u, 20u, 10u, 5u})
        if (maxHour < step)
            scale = step;
    return scale;
}

QString CDayStatistics::LongestText(quint32 seconds) {
    if (seconds == 0)
        return u"n/a"_s;
    if (seconds <= 60)
        return u"%1 seconds"_s.arg(seconds);
    if (seconds <= 3600)
        return u"%1 mins, %2 secs"_s.arg(seconds / 60).arg(seconds % 60);
    return u"%1 hours, %2 mins, %3 secs"_s.arg(seconds / 3600).arg(seconds % 3600 / 60).arg(seconds % 60);
}

std::vector<CDayStatistics::PanelLine> CDayStatistics::Panel() const {
    std::vector<PanelLine> lines{
        {188, u"Statistics"_s, {}},
        {200, u"Nr of Connections:"_s, QString::number(connections)},
        {216, u"Nr of Denied Connections:"_s, QString::number(denied)},
        {232, u"Nr of Forced Disconnects:"_s, QString::number(forced)},
        {262, u"Longest Session:"_s, LongestText(longest)},
    };
    if (longest != 0)
        lines.push_back({278, u"  Made by User:"_s, longestUser});
    lines.push_back({308, u"Most Frequent User:"_s, frequentUser});
    lines.push_back({324, u"  Nr of Connections:"_s, QString::number(frequentCount)});
    return lines;
}

QByteArray CDayStatistics::SaveText(const QString& dayText) const {
    QString text = u"Statistics for date: %1\r\n\r\n\r\n"_s.arg(dayText) +
                   u"Hour  Number of Connections\r\n-----------------------\r\n"_s;
    for (int hour = 0; hour < 24; ++hour)
        text += QString::asprintf("  %.02d  %u\r\n", hour, byHour[std::size_t(hour)]);
    const std::string bytes = CAnsi::FromQString(text);
    return QByteArray(bytes.data(), qsizetype(bytes.size()));
}
