#pragma once
// The profile of one port of one server, kept in the section "SERVER\PORT" of
// the hardware file on the master's data share: the longest session, a static
// IP address, the groups and domains whose accounts alone may use the port, and
// an idle time-out.

#include "core/ui/prompter.h"

#include <QList>
#include <QString>

#include <optional>

class CCwadminDoc;

// An entry of the allowed list: a global group by its name, or a whole domain
// (every account of it), written with a trailing backslash.
struct CAllowedAccount {
    enum Kind { Group, Domain };
    QString name;
    Kind kind = Group;

    bool operator==(const CAllowedAccount&) const = default;
};

// Refused (nothing written), or written; a written profile may still carry a
// message for the administrator (entries of the allowed list that did not fit).
struct CPortApplyResult {
    bool applied = true;
    QString text;
    QString caption;
    OCL::IPrompter::Icon icon = OCL::IPrompter::Icon::None;
};

// The allowed list as it is written: the value (quotes included) and the
// entries that did not fit into it.
struct CAllowedValue {
    QString value;
    QList<CAllowedAccount> leftOut;
};

struct CPortProfileSettings {
    static constexpr int kGroupsWriteLimit = 2000;
    static constexpr int kGroupsReadLimit = 3000;

    bool sessionLimit = false;
    QString sessionMinutes = QStringLiteral("0"); // the edit's text
    bool staticAddress = false;
    QString address = QStringLiteral("0.0.0.0");
    bool restricted = false;
    QList<CAllowedAccount> allowed; // in the file's order
    bool idleLimit = false;
    QString idleMinutes = QStringLiteral("0");

    static QString Section(const QString& server, const QString& port);

    // Reads the port's section; whatever is missing or unreadable reads as off.
    static CPortProfileSettings Load(CCwadminDoc& document, const QString& server, const QString& port);
    // Validates, then writes "MaxSessionTime", "StaticIP", "AllowedGroups" and
    // "Idle" in that order in one replacement of the file. A refusal writes nothing;
    // an allowed list too long for its value is written as far as whole entries fit
    // and the result names the rest.
    CPortApplyResult Apply(CCwadminDoc& document, const QString& server, const QString& port) const;

    // A stored session limit in seconds as minutes: below a minute shows as 1.
    static qint64 SessionMinutesOf(qint64 seconds);
    // a.b.c.d packed into one signed number; nothing when the text is refused.
    // Each part counts by its leading digits, so "1a" passes as 1.
    static std::optional<qint32> ParseAddress(const QString& text);
    static QString AddressText(qint32 packed);
    // The value as read (quotes already dropped) into its entries.
    static QList<CAllowedAccount> SplitAllowed(const QString& value);
    // The value to write: the whole entries that fit into kGroupsWriteLimit
    // characters, in order; the first that does not fit and all after it are left out.
    static CAllowedValue JoinAllowed(const QList<CAllowedAccount>& entries);
    // Names the entries left out, for the administrator.
    static QString LeftOutText(const QList<CAllowedAccount>& leftOut);
    // Leading blanks, an optional sign and digits, as the service's readers take numbers.
    static qint64 LeadingNumber(QStringView text);

    static QString InvalidAddressText();
    static QString InvalidAddressCaption();
};
