#pragma once
// What the service tells dial-in users and the administrator: the greetings
// sent on connect by rule, the two warnings before a forced disconnect and the
// daily status e-mail. Kept in the hardware file on the master's data share and,
// for the greeting texts, in "greet_0.txt" to "greet_2.txt" beside it.

#include "core/pages/applyresult.h"

#include <QString>

#include <array>
#include <filesystem>
#include <optional>

class CCwadminDoc;

// The master's data share as this process reaches it; empty, with the message
// for the administrator in *why, when it cannot be reached.
std::filesystem::path LocalDataShare(CCwadminDoc& document, QString* why);

struct CGreetingSettings {
    static constexpr int kRules = 3;
    std::array<bool, kRules> enabled{};
    std::array<QString, kRules> texts;

    static QString RuleText(int rule);
    static CGreetingSettings Load(CCwadminDoc& document);
    // Rewrites all three texts, then "RuleMask".
    CApplyResult Apply(CCwadminDoc& document) const;
};

struct CNotificationSettings {
    struct Level {
        bool on = false;
        QString seconds = QStringLiteral("0"); // as typed
        QString text;
    };
    std::array<Level, 2> levels;

    static CNotificationSettings Load(CCwadminDoc& document);
    // A level that is off writes only its "0"; its text stays in the file.
    CApplyResult Apply(CCwadminDoc& document) const;
};

struct CDailyReportSettings {
    static QString PlaceholderSender();
    bool on = false;
    int kind = 0;                       // the option: 0 or 1
    QString hour = QStringLiteral("8"); // as stored; any number survives a load and apply
    QString to;
    QString server;
    QString from;

    static CDailyReportSettings Load(CCwadminDoc& document);
    CApplyResult Apply(CCwadminDoc& document) const;
    // The mail server note, the first time only; marks it as shown.
    static std::optional<QString> TakeSmtpNote(CCwadminDoc& document);
};
