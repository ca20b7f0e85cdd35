#include "site/gen/profiles.h"

#include "ini/inifile.h"
#include "site/gen/directory.h"
#include "site/gen/text.h"

#include <QDateTime>

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace CwProfiles {
namespace {

qint64 Number(const OCL::Ini::Document& doc, std::string_view section, std::string_view key) {
    const auto value = doc.Find(section, key);
    return value ? CwText::ToNumber(*value) : 0;
}

} // namespace

CUserProfile ReadProfile(const OCL::Ini::Document& doc, std::string_view section) {
    CUserProfile p;
    p.maxSessionTime = Number(doc, section, "MaxSessionTime");
    p.maxTotalTime = Number(doc, section, "MaxTotalTime");
    p.periodMax = Number(doc, section, "PeriodMax");
    p.periodType = int(Number(doc, section, "PeriodType"));
    p.staticIp = qint32(Number(doc, section, "StaticIP"));
    p.expiryTime = Number(doc, section, "ExpiryTime");
    p.noDuplicate = Number(doc, section, "NoDuplicate") != 0;
    return p;
}

std::optional<CAccount> ReadAccount(const OCL::Ini::Document& doc, const QString& section) {
    const std::string name = CwText::ToAnsi(section);
    const auto index = doc.FindSection(name);
    if (!index)
        return std::nullopt;
    CAccount account;
    account.section = CwText::FromAnsi(doc.SectionName(*index));
    for (const char* key : kProfileKeys)
        account.hasProfile = account.hasProfile || doc.Find(name, key);
    account.profile = ReadProfile(doc, name);
    CUserStats& s = account.stats;
    s.totalConnects = Number(doc, name, "TotalConnects");
    s.totalDenieds = Number(doc, name, "TotalDenieds");
    s.firstConnection = Number(doc, name, "FirstConnection");
    s.lastConnection = Number(doc, name, "LastConnection");
    s.lasted = Number(doc, name, "Lasted");
    s.totalTime = Number(doc, name, "TotalTime");
    s.periodUsage = Number(doc, name, "PeriodUsage");
    return account;
}

CPortProfile ReadPortProfile(const OCL::Ini::Document& hw, const QString& server, const QString& port) {
    const std::string section = CwText::ToAnsi(server + u'\\' + port);
    CPortProfile p;
    p.maxSessionTime = Number(hw, section, "MaxSessionTime");
    p.staticIp = qint32(Number(hw, section, "StaticIP"));
    p.idleMinutes = Number(hw, section, "Idle");
    if (const auto groups = hw.Find(section, "AllowedGroups"))
        p.allowedGroups = SplitAllowedGroups(CwText::FromAnsi(*groups));
    return p;
}

QList<CGroupProfile> ReadGroupProfiles(const OCL::Ini::Document& usr) {
    QList<CGroupProfile> groups;
    for (const std::string_view name : usr.SectionNames()) {
        const QString section = CwText::FromAnsi(name);
        const qsizetype slash = section.indexOf(u'\\');
        if (!section.startsWith(u'+') || slash < 2)
            continue;
        CGroupProfile g;
        g.domain = section.mid(1, slash - 1);
        g.group = section.mid(slash + 1);
        g.maxSessionTime = Number(usr, name, "MaxSessionTime");
        g.maxTotalTime = Number(usr, name, "MaxTotalTime");
        g.noDuplicate = Number(usr, name, "NoDuplicate") != 0;
        groups.append(g);
    }
    return groups;
}

void WriteProfile(OCL::Ini::Edit& edit, const QString& section, const CUserProfile& p) {
    const std::string s = CwText::ToAnsi(section);
    edit.Set(s, "MaxSessionTime", std::to_string(p.maxSessionTime));
    edit.Set(s, "MaxTotalTime", std::to_string(p.maxTotalTime));
    edit.Set(s, "PeriodMax", std::to_string(p.periodMax));
    edit.Set(s, "PeriodType", std::to_string(p.periodType));
    edit.Set(s, "StaticIP", std::to_string(p.staticIp));
    edit.Set(s, "ExpiryTime", std::to_string(p.expiryTime));
    edit.Set(s, "NoDuplicate", p.noDuplicate ? "1" : "0");
}

void WriteStats(OCL::Ini::Edit& edit, const QString& section, const CUserStats& st) {
    const std::string s = CwText::ToAnsi(section);
    edit.Set(s, "TotalConnects", std::to_string(st.totalConnects));
    edit.Set(s, "TotalDenieds", std::to_string(st.totalDenieds));
    edit.Set(s, "FirstConnection", std::to_string(st.firstConnection));
    edit.Set(s, "LastConnection", std::to_string(st.lastConnection));
    edit.Set(s, "Lasted", std::to_string(st.lasted));
    edit.Set(s, "TotalTime", std::to_string(st.totalTime));
    edit.Set(s, "PeriodUsage", std::to_string(st.periodUsage));
}

QStringList SplitAllowedGroups(const QString& value) {
    QString text = value.trimmed();
    if (text.size() >= 2 && text.startsWith(u'"') && text.endsWith(u'"'))
        text = text.mid(1, text.size() - 2);
    QStringList entries;
    for (const QString& piece : text.split(u';'))
        if (!piece.trimmed().isEmpty())
            entries.append(piece.trimmed());
    return entries;
}

QString JoinAllowedGroups(const QStringList& entries) {
    QString value = u"\""_s;
    for (const QString& entry : entries)
        value += entry + u';';
    return value + u'"';
}

} // namespace CwProfiles

namespace CwRules {

QString DenialText(int reason) {
    switch (reason) {
    case NotDefined:
        return u"User not defined"_s;
    case Expired:
        return u"User Account expired"_s;
    case TotalTimeUsed:
        return u"User Total Time Reached"_s;
    case AlreadyConnected:
        return u"User already connected"_s;
    case PortDenied:
        return u"Access denied on Port"_s;
    case PeriodUsed:
        return u"No more time this period"_s;
    case IdleLockedOut:
        return u"Idle Timeout"_s;
    default:
        return u"Denied"_s;
    }
}

QString ForcedText(int reason) {
    switch (reason) {
    case PortMaxTime:
        return u"Port Max Time Reached"_s;
    case UserMaxSession:
        return u"User Max Session Time Reached"_s;
    case UserMaxTotal:
        return u"User Max Total Time Reached"_s;
    case IdleTimeout:
        return u"Idle Timeout"_s;
    default:
        return u"Hang-up"_s;
    }
}

qint64 PeriodStart(qint64 now, int periodType) {
    QDate date = QDateTime::fromSecsSinceEpoch(now).date();
    switch (periodType) {
    case 1:
        break;
    case 2:
        date = date.addDays(1 - date.dayOfWeek());
        break;
    case 3:
        date = QDate(date.year(), date.month(), 1);
        break;
    default:
        return 0;
    }
    return date.startOfDay().toSecsSinceEpoch();
}

QList<CGroupProfile> MemberOf(const QList<CGroupProfile>& groups, const CNetworkDirectory& directory,
                              const QString& domain, const QString& user) {
    QList<CGroupProfile> member;
    for (const CGroupProfile& g : groups)
        if (directory.IsMember(g.domain, g.group, domain, user))
            member.append(g);
    return member;
}

std::optional<CUserProfile> Governing(const CUserProfile* own, const QList<CGroupProfile>& groups) {
    if (!own && groups.isEmpty())
        return std::nullopt;
    CUserProfile limits;
    if (own)
        limits = *own;
    else
        limits.noDuplicate = false;
    // 0 is no limit: the smallest limit that is set wins.
    auto strictest = [](qint64 a, qint64 b) {
        return a > 0 && b > 0 ? std::min(a, b) : std::max(a, b);
    };
    for (const CGroupProfile& g : groups) {
        limits.maxSessionTime = strictest(limits.maxSessionTime, g.maxSessionTime);
        limits.maxTotalTime = strictest(limits.maxTotalTime, g.maxTotalTime);
        limits.noDuplicate = limits.noDuplicate || g.noDuplicate;
    }
    return limits;
}

int Check(const CUserProfile& p, CUserStats& s, bool connectedElsewhere, bool allowedOnPort,
          bool idleLockedOut, qint64 now) {
    const bool periodic = p.periodType >= 1 && p.periodType <= 3;
    if (periodic && s.lastConnection < PeriodStart(now, p.periodType))
        s.periodUsage = 0;
    if (p.expiryTime > 0 && s.firstConnection > 0 && now >= s.firstConnection + p.expiryTime * 86400)
        return Expired;
    if (p.maxTotalTime > 0 && s.totalTime >= p.maxTotalTime)
        return TotalTimeUsed;
    if (p.noDuplicate && connectedElsewhere)
        return AlreadyConnected;
    if (!allowedOnPort)
        return PortDenied;
    if (periodic && p.periodMax > 0 && s.periodUsage >= p.periodMax)
        return PeriodUsed;
    if (idleLockedOut)
        return IdleLockedOut;
    return Admitted;
}

void CountConnect(CUserStats& stats, qint64 now) {
    ++stats.totalConnects;
    if (stats.firstConnection == 0)
        stats.firstConnection = now;
    // A connect logged a second late (its second was taken) must not set it back.
    stats.lastConnection = std::max(stats.lastConnection, now);
}

void CountDisconnect(const CUserProfile& limits, CUserStats& stats, qint64 lasted) {
    stats.totalTime += lasted;
    stats.lasted = lasted;
    if (limits.periodType != 0)
        stats.periodUsage += lasted;
}

int LimitReached(const CUserProfile& p, const CUserStats& stats, const CPortProfile& port, qint64 idleMinutes,
                 qint64 start, qint64 now, qint64 idleSince) {
    const qint64 elapsed = now - start;
    if (port.maxSessionTime > 0 && elapsed >= port.maxSessionTime)
        return PortMaxTime;
    if (p.maxSessionTime > 0 && elapsed >= p.maxSessionTime)
        return UserMaxSession;
    if (p.maxTotalTime > 0 && stats.totalTime + elapsed >= p.maxTotalTime)
        return UserMaxTotal;
    if (idleMinutes > 0 && now - idleSince >= idleMinutes * 60)
        return IdleTimeout;
    return 0;
}

SessionEnd PlanEnd(const CUserProfile& p, const CUserStats& stats, const CPortProfile& port,
                   qint64 idleMinutes, qint64 start, qint64 plannedEnd, qint64 idleFrom) {
    constexpr qint64 kNever = std::numeric_limits<qint64>::max();
    const std::array<SessionEnd, 5> candidates = {{
        {port.maxSessionTime > 0 ? start + port.maxSessionTime : kNever, PortMaxTime},
        {p.maxSessionTime > 0 ? start + p.maxSessionTime : kNever, UserMaxSession},
        {p.maxTotalTime > 0 ? start + std::max<qint64>(1, p.maxTotalTime - stats.totalTime) : kNever,
         UserMaxTotal},
        {idleFrom > 0 && idleMinutes > 0 ? idleFrom + idleMinutes * 60 : kNever, IdleTimeout},
        {plannedEnd, Hangup},
    }};
    SessionEnd best = candidates.back();
    for (const SessionEnd& c : candidates)
        if (c.time < best.time || (c.time == best.time && c.reason != Hangup && best.reason == Hangup))
            best = c;
    return best;
}

} // namespace CwRules
