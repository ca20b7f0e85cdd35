#pragma once
// Profiles and statistics as the service keeps them, and the rules by which it
// admits a dial-in, ends sessions at their limits and counts usage.
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

#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>
#include <string>

namespace OCL::Ini {
class Document;
class Edit;
} // namespace OCL::Ini

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
    QString section; // "DOMAIN\account" as the file spells it
    CUserProfile profile;
    CUserStats stats;
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
};
// Reasons of a forced disconnect, as logged after "H".
enum Forced { PortMaxTime = 1, UserMaxSession = 2, UserMaxTotal = 3, IdleTimeout = 9, Hangup = 255 };

QString DenialText(int reason);
QString ForcedText(int reason);

// Start of the period (1 day, 2 week from Monday, 3 month) that holds now, local time.
qint64 PeriodStart(qint64 now, int periodType);
// A connection in a new period starts the period's usage afresh.
void StartPeriod(CAccount& account, qint64 now);

// Checks an existing account in the service's order: expiry, total time, a
// second session, the port's groups, the period. Resets the period usage first.
int Check(CAccount& account, bool connectedElsewhere, bool allowedOnPort, qint64 now);

void CountConnect(CUserStats& stats, qint64 now);
void CountDisconnect(CAccount& account, qint64 lasted);

// The limit that ends a session at now (a Forced reason), or 0.
// idleSince: the time of the session's last traffic.
int LimitReached(const CAccount& account, const CPortProfile& port, qint64 idleMinutes, qint64 start,
                 qint64 now, qint64 idleSince);

// When a session that would last until plannedEnd really ends, and why
// (Hangup for its own end). idleFrom: when it stops sending (0: never).
struct SessionEnd {
    qint64 time = 0;
    int reason = Hangup;
};
SessionEnd PlanEnd(const CAccount& account, const CPortProfile& port, qint64 idleMinutes, qint64 start,
                   qint64 plannedEnd, qint64 idleFrom);

} // namespace CwRules
