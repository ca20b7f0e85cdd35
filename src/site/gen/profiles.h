#pragma once
// Profiles and statistics as the service keeps them, and the rules by which it
// admits a dial-in, ends sessions at their limits and counts usage.
//
// The limits that govern an account are the strictest of its own profile and
// the profiles of every group it belongs to: the shortest session and total
// time limits that are set, one session at a time when any of them asks for
// it. Period, expiry and static address come from the own profile only. An
// account without an own profile is governed by its groups' profiles alone.
//
// callward.usr, one section "DOMAIN\account" per account (profile and
// statistics) and "+DOMAIN\group" per group profile:
//   MaxSessionTime, MaxTotalTime, PeriodMax   seconds (0: no limit)
//   PeriodType      1 day, 2 week, 3 month (0: no period limit)
//   StaticIP        a.b.c.d packed, written as a signed 32-bit decimal
//   ExpiryTime      days of validity from the first connection (0: none)
//   NoDuplicate     1: one session at a time
//   TotalConnects, TotalDenieds, FirstConnection, LastConnection, Lasted,
//   TotalTime, PeriodUsage
// callward.hw: "SERVER\PORT" port profiles (MaxSessionTime seconds, StaticIP,
// AllowedGroups "G1;G2;DOMAIN\;", Idle minutes), "Default" with the profile keys
// and AssignDefault, "General" and "Greetings".

#include <QList>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <string>

namespace OCL::Ini {
class Document;
class Edit;
} // namespace OCL::Ini
class CNetworkDirectory;

struct CUserProfile {
    qint64 maxSessionTime = 0;
    qint64 maxTotalTime = 0;
    qint64 periodMax = 0;
    int periodType = 0;
    qint32 staticIp = 0;
    qint64 expiryTime = 0;
    bool noDuplicate = true;

    bool HasTimeLimit() const {
        return maxSessionTime > 0 || maxTotalTime > 0 || (periodType && periodMax > 0);
    }
};

struct CUserStats {
    qint64 totalConnects = 0;
    qint64 totalDenieds = 0;
    qint64 firstConnection = 0;
    qint64 lastConnection = 0;
    qint64 lasted = 0;
    qint64 totalTime = 0;
    qint64 periodUsage = 0;
};

struct CAccount {
    QString section;         // "DOMAIN\account" as the file spells it
    bool hasProfile = false; // the section holds profile keys, not only statistics
    CUserProfile profile;
    CUserStats stats;
};

// A group profile, "+DOMAIN\group": its limits apply to every member.
struct CGroupProfile {
    QString domain, group;
    qint64 maxSessionTime = 0;
    qint64 maxTotalTime = 0;
    bool noDuplicate = true;
};

struct CPortProfile {
    qint64 maxSessionTime = 0; // seconds
    qint32 staticIp = 0;
    QStringList allowedGroups; // empty: everyone
    qint64 idleMinutes = 0;
};

namespace CwProfiles {

inline constexpr const char* kProfileKeys[] = {"MaxSessionTime", "MaxTotalTime", "PeriodMax",  "PeriodType",
                                               "StaticIP",       "ExpiryTime",   "NoDuplicate"};

// The profile keys of a section ("Default" of callward.hw, or an account's).
CUserProfile ReadProfile(const OCL::Ini::Document& doc, std::string_view section);
// The account's section of callward.usr, found without regard to case.
std::optional<CAccount> ReadAccount(const OCL::Ini::Document& doc, const QString& section);
CPortProfile ReadPortProfile(const OCL::Ini::Document& hw, const QString& server, const QString& port);
// Every "+DOMAIN\group" section of callward.usr.
QList<CGroupProfile> ReadGroupProfiles(const OCL::Ini::Document& usr);

void WriteProfile(OCL::Ini::Edit& edit, const QString& section, const CUserProfile& profile);
void WriteStats(OCL::Ini::Edit& edit, const QString& section, const CUserStats& stats);

// "Sales;Remote\;" -> "Sales", "Remote\".
QStringList SplitAllowedGroups(const QString& value);
QString JoinAllowedGroups(const QStringList& entries);

} // namespace CwProfiles

namespace CwRules {

// Reasons of a refused log-on, as logged after "N".
enum Denial {
    Admitted = 0,
    NotDefined = 1,
    Expired = 2,
    TotalTimeUsed = 3,
    AlreadyConnected = 4,
    PortDenied = 5,
    PeriodUsed = 6,
    IdleLockedOut = 9, // "Idle Timeout": redialled right after an idle time-out
};
// Reasons of a forced disconnect, as logged after "H".
enum Forced { PortMaxTime = 1, UserMaxSession = 2, UserMaxTotal = 3, IdleTimeout = 9, Hangup = 255 };

QString DenialText(int reason);
QString ForcedText(int reason);

// An account whose session was ended for idleness is refused (IdleLockedOut)
// when it dials in to that server again this soon.
inline constexpr qint64 kIdleLockoutSeconds = 300;

// The group profiles among groups that DOMAIN\user belongs to.
QList<CGroupProfile> MemberOf(const QList<CGroupProfile>& groups, const CNetworkDirectory& directory,
                              const QString& domain, const QString& user);
// The limits that govern an account (see above); nothing when it has neither
// an own profile nor a group profile.
std::optional<CUserProfile> Governing(const CUserProfile* own, const QList<CGroupProfile>& groups);

// Start of the period (1 day, 2 week from Monday, 3 month) that holds now, local time.
qint64 PeriodStart(qint64 now, int periodType);

// Checks a dial-in under the governing limits in the service's order: expiry,
// total time, a second session, the port's groups, the period, a recent idle
// time-out. Starts a new period's usage afresh first.
int Check(const CUserProfile& limits, CUserStats& stats, bool connectedElsewhere, bool allowedOnPort,
          bool idleLockedOut, qint64 now);

void CountConnect(CUserStats& stats, qint64 now);
void CountDisconnect(const CUserProfile& limits, CUserStats& stats, qint64 lasted);

// The limit that ends a session at now (a Forced reason), or 0.
// idleSince: the time of the session's last traffic.
int LimitReached(const CUserProfile& limits, const CUserStats& stats, const CPortProfile& port,
                 qint64 idleMinutes, qint64 start, qint64 now, qint64 idleSince);

// When a session that would last until plannedEnd really ends, and why
// (Hangup for its own end). idleFrom: when it stops sending (0: never).
struct SessionEnd {
    qint64 time = 0;
    int reason = Hangup;
};
SessionEnd PlanEnd(const CUserProfile& limits, const CUserStats& stats, const CPortProfile& port,
                   qint64 idleMinutes, qint64 start, qint64 plannedEnd, qint64 idleFrom);

} // namespace CwRules
