#include "core/pages/userprofile.h"

#include "core/accounts/userfile.h"
#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "ini/inifile.h"

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;

namespace {

constexpr const char* kTotalConnects = "TotalConnects";
constexpr const char* kTotalTime = "TotalTime";
constexpr const char* kTotalDenieds = "TotalDenieds";
constexpr const char* kFirstConnection = "FirstConnection";
constexpr const char* kLastConnection = "LastConnection";
constexpr const char* kLasted = "Lasted";
constexpr const char* kPeriodUsage = "PeriodUsage";
constexpr const char* kAssignDefault = "AssignDefault";
constexpr const char* kDefaultSection = "Default";

enum StatusRow { FirstSession, LastSession, Lasted, TotalTime, Sessions, Denied, Usage, Period };

std::string Num(qint64 value) {
    return std::to_string(value);
}

std::filesystem::path Resolve(CCwadminDoc& document, const QString& file, OCL::DWORD* error) {
    if (file.isEmpty()) {
        *error = OCL::Err::FileNotFound;
        return {};
    }
    std::filesystem::path local;
    *error = document.Environment().Shares().Resolve(CAnsi::FromQString(file), &local);
    return *error == OCL::Err::Success ? local : std::filesystem::path();
}

CProfilePlace HardwarePlace(CCwadminDoc& document) {
    CProfilePlace place;
    place.section = QString::fromLatin1(kDefaultSection);
    place.isDefault = true;
    place.where = document.Servers().HardwareFile();
    place.file = Resolve(document, place.where, &place.error);
    return place;
}

QString Seconds(qint32 value) {
    return u"%1 sec"_s.arg(value);
}

} // namespace

CProfilePlace CProfilePlace::For(CCwadminDoc& document, const QString& account) {
    if (account == QLatin1StringView(kDefaultAccount))
        return HardwarePlace(document);
    CProfilePlace place;
    place.section = account;
    place.where = document.Servers().UsersFile();
    place.file = Resolve(document, place.where, &place.error);
    return place;
}

QString CProfilePlace::Read(CCwadminDoc& document, const char* key) const {
    if (!Reachable())
        return u"0"_s;
    return CAnsi::ToQString(
        document.Environment().Files().GetString(file, CAnsi::FromQString(section), key, "0"));
}

bool CProfilePlace::SectionExists(CCwadminDoc& document) const {
    return Reachable() &&
           document.Environment().Files().Read(file)->FindSection(CAnsi::FromQString(section)).has_value();
}

CApplyResult CProfilePlace::Unreachable() const {
    if (where.isEmpty())
        return CApplyResult::Refused(
            u"Can't save the profile for %1\nPlease wait for connection to master server"_s.arg(section),
            Icon::Error);
    return CApplyResult::Refused(
        u"The profile for %1 could not be saved: %2 cannot be reached (error %3)."_s.arg(section, where)
            .arg(error),
        Icon::Error);
}

CApplyResult CProfilePlace::Write(CCwadminDoc& document, const OCL::Ini::Edit& edit) const {
    if (!Reachable())
        return Unreachable();
    std::string reason;
    if (!document.Environment().Files().Apply(file, edit, &reason))
        return CApplyResult::Refused(
            u"The profile for %1 could not be saved in %2; the file is as it was.\n%3"_s.arg(
                section, where, QString::fromStdString(reason)),
            Icon::Error);
    return CApplyResult::Applied();
}

qint32 CProfileText::Number(const QString& text, int width) {
    const QString cut = text.left(width);
    qsizetype i = 0;
    while (i < cut.size() && (cut[i] == u' ' || cut[i] == u'\t'))
        ++i;
    bool negative = false;
    if (i < cut.size() && (cut[i] == u'-' || cut[i] == u'+'))
        negative = cut[i++] == u'-';
    qint64 value = 0;
    for (; i < cut.size() && cut[i].isDigit() && cut[i].unicode() < 128; ++i)
        value = std::min<qint64>(value * 10 + (cut[i].unicode() - u'0'), qint64(1) << 40);
    value = negative ? -value : value;
    return qint32(
        std::clamp<qint64>(value, std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()));
}

qint32 CProfileText::PackAddress(const QString& text) {
    // As "%d.%d.%d.%d" scans: parts are read until one is missing or malformed.
    quint32 parts[4] = {};
    qsizetype i = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0) {
            if (i >= text.size() || text[i] != u'.')
                break;
            ++i;
        }
        const qsizetype start = i;
        quint64 value = 0;
        while (i < text.size() && text[i] >= u'0' && text[i] <= u'9')
            value = (value * 10 + (text[i++].unicode() - u'0')) & 0xFFFFFFFF;
        if (i == start)
            break;
        parts[part] = quint32(value);
    }
    return qint32(parts[0] * (1u << 24) + parts[1] * (1u << 16) + parts[2] * (1u << 8) + parts[3]);
}

QString CProfileText::AddressText(qint32 packed) {
    const quint32 v = quint32(packed);
    return u"%1.%2.%3.%4"_s.arg(v >> 24).arg((v >> 16) & 0xFF).arg((v >> 8) & 0xFF).arg(v & 0xFF);
}

// Status.

bool CUserStatusValues::Resettable(int row) {
    return row == TotalTime || row == Sessions || row == Denied || row == Usage;
}

void CUserStatusValues::Reset(int row) {
    switch (row) {
    case TotalTime:
        totalTime = 0;
        break;
    case Sessions:
        totalConnects = 0;
        break;
    case Denied:
        totalDenieds = 0;
        break;
    case Usage:
        periodUsage = 0;
        break;
    default:
        break;
    }
}

QList<QPair<QString, QString>> CUserStatusValues::Rows(const CCwadminDoc& document) const {
    const auto when = [&](qint32 time) {
        return time ? document.TimeToLocalString(time, true) : u"Not Available"_s;
    };
    const QStringList periods = {u"(Not Active)"_s, u"Per 24 Hours"_s, u"Per Week"_s, u"Per Month"_s};
    return {{u"First Session"_s, when(firstConnection)},
            {u"Last Session"_s, when(lastConnection)},
            {u"Last Session Lasted"_s, Seconds(lasted)},
            {u"Total Session Time"_s, Seconds(totalTime)},
            {u"Number of Sessions"_s, QString::number(totalConnects)},
            {u"Number of Denied Sessions"_s, QString::number(totalDenieds)},
            {u"Usage This Period"_s, periodType ? Seconds(periodUsage) : u"(Not Active)"_s},
            {u"Period Type"_s, periodType >= 0 && periodType <= 3 ? periods[periodType] : QString()}};
}

CUserStatusValues CUserStatusValues::Load(CCwadminDoc& document, const QString& account) {
    const CProfilePlace place = CProfilePlace::For(document, account);
    const auto read = [&](const char* key) {
        return CProfileText::Number(place.Read(document, key), 100);
    };
    CUserStatusValues v;
    v.totalConnects = read(kTotalConnects);
    v.totalTime = read(kTotalTime);
    v.totalDenieds = read(kTotalDenieds);
    v.firstConnection = read(kFirstConnection);
    v.lastConnection = read(kLastConnection);
    v.lasted = read(kLasted);
    v.periodUsage = read(kPeriodUsage);
    v.periodType = read(CUserFile::kPeriodType);
    return v;
}

CApplyResult CUserStatusValues::Apply(CCwadminDoc& document, const QString& account) const {
    const CProfilePlace place = CProfilePlace::For(document, account);
    const std::string s = CAnsi::FromQString(place.section);
    OCL::Ini::Edit edit;
    edit.Set(s, kTotalConnects, Num(totalConnects));
    edit.Set(s, kTotalTime, Num(totalTime));
    edit.Set(s, kTotalDenieds, Num(totalDenieds));
    edit.Set(s, kPeriodUsage, Num(periodUsage));
    return place.Write(document, edit);
}

// Restrictions.

QStringList CUserRestrictValues::PeriodNames() {
    return {u"Per 24 Hours"_s, u"Per Week"_s, u"Per Month"_s};
}

CUserRestrictValues CUserRestrictValues::Load(CCwadminDoc& document, const QString& account) {
    const CProfilePlace place = CProfilePlace::For(document, account);
    const auto read = [&](const char* key) {
        return CProfileText::Number(place.Read(document, key), 100);
    };
    CUserRestrictValues v;
    if (const qint32 session = read(CUserFile::kMaxSessionTime)) {
        v.sessionOn = true;
        v.session = QString::number(session);
    }
    if (const qint32 total = read(CUserFile::kMaxTotalTime)) {
        v.totalOn = true;
        v.total = QString::number(total);
    }
    if (const qint32 type = read(CUserFile::kPeriodType)) {
        v.periodOn = true;
        v.periodIndex = std::clamp(type - 1, 0, 2);
        v.periodMax = QString::number(read(CUserFile::kPeriodMax));
    }
    return v;
}

CApplyResult CUserRestrictValues::Apply(CCwadminDoc& document, const QString& account) const {
    const CProfilePlace place = CProfilePlace::For(document, account);
    const std::string s = CAnsi::FromQString(place.section);
    OCL::Ini::Edit edit;
    edit.Set(s, CUserFile::kMaxSessionTime, Num(sessionOn ? CProfileText::Number(session) : 0));
    edit.Set(s, CUserFile::kMaxTotalTime, Num(totalOn ? CProfileText::Number(total) : 0));
    edit.Set(s, CUserFile::kPeriodType, Num(periodOn ? periodIndex + 1 : 0));
    // Kept even with the period off, so turning it on again finds the old figure.
    edit.Set(s, CUserFile::kPeriodMax, Num(CProfileText::Number(periodMax)));
    return place.Write(document, edit);
}

// Miscellaneous.

CUserMiscValues CUserMiscValues::Load(CCwadminDoc& document, const QString& account) {
    const CProfilePlace place = CProfilePlace::For(document, account);
    const auto read = [&](const char* key) {
        return CProfileText::Number(place.Read(document, key), 100);
    };
    CUserMiscValues v;
    v.concurrent = read(CUserFile::kNoDuplicate) == 0;
    if (const qint32 days = read(CUserFile::kExpiryTime)) {
        v.validOn = true;
        v.days = QString::number(days);
    }
    if (const qint32 packed = read(CUserFile::kStaticIP); packed && !place.isDefault) {
        v.addressOn = true;
        v.address = CProfileText::AddressText(packed);
    }
    return v;
}

CApplyResult CUserMiscValues::Apply(CCwadminDoc& document, const QString& account) const {
    const CProfilePlace place = CProfilePlace::For(document, account);
    const std::string s = CAnsi::FromQString(place.section);
    OCL::Ini::Edit edit;
    edit.Set(s, CUserFile::kStaticIP,
             Num(addressOn && !place.isDefault ? CProfileText::PackAddress(address) : 0));
    edit.Set(s, CUserFile::kNoDuplicate, concurrent ? "0" : "1");
    edit.Set(s, CUserFile::kExpiryTime, Num(validOn ? CProfileText::Number(days, 30) : 0));
    return place.Write(document, edit);
}

// Group profiles.

CGroupProfileValues CGroupProfileValues::Load(CCwadminDoc& document, const QString& domain,
                                              const QString& group) {
    CProfilePlace place = CProfilePlace::For(document, CUserFile::GroupSection(domain, group));
    const auto read = [&](const char* key) {
        return CProfileText::Number(place.Read(document, key), 100);
    };
    CGroupProfileValues v;
    if (const qint32 session = read(CUserFile::kMaxSessionTime)) {
        v.sessionOn = true;
        v.session = QString::number(session);
    }
    if (const qint32 total = read(CUserFile::kMaxTotalTime)) {
        v.totalOn = true;
        v.total = QString::number(total);
    }
    v.concurrent = read(CUserFile::kNoDuplicate) == 0;
    return v;
}

CApplyResult CGroupProfileValues::Apply(CCwadminDoc& document, const QString& domain,
                                        const QString& group) const {
    const CProfilePlace place = CProfilePlace::For(document, CUserFile::GroupSection(domain, group));
    const std::string s = CAnsi::FromQString(place.section);
    OCL::Ini::Edit edit;
    // All three keys, always: "MaxTotalTime" is what marks the group as having a profile.
    edit.Set(s, CUserFile::kMaxSessionTime, Num(sessionOn ? CProfileText::Number(session) : 0));
    edit.Set(s, CUserFile::kMaxTotalTime, Num(totalOn ? CProfileText::Number(total) : 0));
    edit.Set(s, CUserFile::kNoDuplicate, concurrent ? "0" : "1");
    return place.Write(document, edit);
}

// RAS permission.

QString CRasPermission::PresetWithoutNumberText() {
    return u"You have set the Call Back option to 'Preset To' without\nsupplying a preset phone number."_s;
}

QString CRasPermission::Controller(CCwadminDoc& document, const QString& account) {
    const QString domain = account.section(u'\\', 0, 0);
    std::u16string controller;
    const OCL::DWORD rc =
        document.Environment().Network().GetDCName(u"", CRASFunc::Wide(domain, 35), &controller);
    if (rc != OCL::Err::Success) {
        document.Environment().Prompter().Message(u"Error getting PDC (%1)"_s.arg(rc), {}, Icon::Error,
                                                  OCL::IPrompter::Buttons::Ok);
        return {};
    }
    return QString::fromStdU16String(controller);
}

bool CRasPermission::Load(CCwadminDoc& document, const QString& controller, const QString& account,
                          CRasPermission* values) {
    const QString user = account.section(u'\\', -1);
    document.RasFunc().Init();
    if (document.RasFunc().UserGetInfo(controller, user) != OCL::Err::Success)
        return false;
    const int bits = document.RasFunc().Account().bfPrivilege;
    *values = {};
    values->dialIn = bits & 8;
    // The last of the three present decides, as they are tested 1, 4, 2.
    if (bits & 1)
        values->callback = NoCallback;
    if (bits & 4)
        values->callback = SetByCaller;
    if (bits & 2) {
        values->callback = Preset;
        values->number = QString::fromUtf16(document.RasFunc().Account().szPhoneNumber);
    }
    return true;
}

CApplyResult CRasPermission::Apply(CCwadminDoc& document, const QString& controller,
                                   const QString& account) const {
    if (callback == Preset && number.trimmed().isEmpty())
        return CApplyResult::Refused(PresetWithoutNumberText(), Icon::Error);
    document.m_callbackNumber = callback == Preset ? number : QString();
    if (!document.SetUserRASPrivs(controller, account.section(u'\\', -1), OCL::BYTE(Bits())))
        return CApplyResult::Refused(
            u"The RAS permissions of %1 could not be saved on %2."_s.arg(account, controller), Icon::Error);
    return CApplyResult::Applied();
}

// The default profile's switch.

bool CDefaultAssign::Load(CCwadminDoc& document) {
    return CProfileText::Number(HardwarePlace(document).Read(document, kAssignDefault)) == 1;
}

CApplyResult CDefaultAssign::Apply(CCwadminDoc& document, bool allowed) {
    const CProfilePlace place = HardwarePlace(document);
    OCL::Ini::Edit edit;
    edit.Set(kDefaultSection, kAssignDefault, allowed ? "1" : "0");
    return place.Write(document, edit);
}
