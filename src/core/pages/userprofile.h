#pragma once
// The load and apply logic of the profile pages: an account's status and
// limits in the account file, the default profile in the hardware file, a
// group's limits, the account's RAS permission and the "AssignDefault" choice.
// Each page holds its controls' values as texts, as the edits show them.

#include "core/pages/applyresult.h"
#include "platform/types.h"

#include <QList>
#include <QPair>
#include <QString>

#include <filesystem>

class CCwadminDoc;

namespace OCL::Ini {
class Edit;
}

// Where one profile lives: the account's section of the account file, or for
// the default profile the section "Default" of the hardware file.
struct CProfilePlace {
    static constexpr const char* kDefaultAccount = "DEFAULT_PROFILE_CALLWARDEN";

    QString section;
    bool isDefault = false;
    std::filesystem::path file; // empty when the share cannot be reached
    QString where;              // the file as the console names it
    OCL::DWORD error = 0;

    static CProfilePlace For(CCwadminDoc& document, const QString& account);
    bool Reachable() const { return !file.empty(); }
    // The value of a key, "0" when the section or key is missing.
    QString Read(CCwadminDoc& document, const char* key) const;
    bool SectionExists(CCwadminDoc& document) const;
    // Writes the edit in one replacement of the file; a refusal names why.
    CApplyResult Write(CCwadminDoc& document, const OCL::Ini::Edit& edit) const;
    CApplyResult Unreachable() const;
};

namespace CProfileText {
// Leading blanks, a sign and digits, saturated to 32 bits; at most width characters count.
qint32 Number(const QString& text, int width = 20);
// a.b.c.d read leniently: missing parts count as 0, no range check, each part
// shifted into its byte as the original's arithmetic does.
qint32 PackAddress(const QString& text);
QString AddressText(qint32 packed);
} // namespace CProfileText

struct CUserStatusValues {
    qint32 totalConnects = 0, totalTime = 0, totalDenieds = 0;
    qint32 firstConnection = 0, lastConnection = 0, lasted = 0;
    qint32 periodUsage = 0, periodType = 0;

    // The rows that "&Reset" may clear.
    static bool Resettable(int row);
    void Reset(int row);
    // "Data"/"Value" pairs in the page's order.
    QList<QPair<QString, QString>> Rows(const CCwadminDoc& document) const;

    static CUserStatusValues Load(CCwadminDoc& document, const QString& account);
    CApplyResult Apply(CCwadminDoc& document, const QString& account) const;
};

struct CUserRestrictValues {
    bool sessionOn = false, totalOn = false, periodOn = false;
    QString session, total, periodMax;
    int periodIndex = 0; // "Per 24 Hours", "Per Week", "Per Month"

    static QStringList PeriodNames();
    static CUserRestrictValues Load(CCwadminDoc& document, const QString& account);
    CApplyResult Apply(CCwadminDoc& document, const QString& account) const;
};

struct CUserMiscValues {
    bool validOn = false, concurrent = false, addressOn = false;
    QString days, address;

    static CUserMiscValues Load(CCwadminDoc& document, const QString& account);
    CApplyResult Apply(CCwadminDoc& document, const QString& account) const;
};

struct CGroupProfileValues {
    bool sessionOn = false, totalOn = false, concurrent = false;
    QString session, total;

    static CGroupProfileValues Load(CCwadminDoc& document, const QString& domain, const QString& group);
    CApplyResult Apply(CCwadminDoc& document, const QString& domain, const QString& group) const;
};

// The account's dial-in permission and call-back, kept by the domain controller.
struct CRasPermission {
    enum Callback { NoCallback = 1, SetByCaller = 4, Preset = 2 };
    bool dialIn = false;
    Callback callback = NoCallback;
    QString number;

    static QString PresetWithoutNumberText();
    // The controller of the account's domain ("\\NAME"); empty with the message shown when none.
    static QString Controller(CCwadminDoc& document, const QString& account);
    // Reads through the controller; false when it answered nothing.
    static bool Load(CCwadminDoc& document, const QString& controller, const QString& account,
                     CRasPermission* values);
    int Bits() const { return (dialIn ? 8 : 0) + int(callback); }
    CApplyResult Apply(CCwadminDoc& document, const QString& controller, const QString& account) const;
};

// "AssignDefault" in section "Default" of the hardware file.
namespace CDefaultAssign {
bool Load(CCwadminDoc& document);
CApplyResult Apply(CCwadminDoc& document, bool allowed);
} // namespace CDefaultAssign
