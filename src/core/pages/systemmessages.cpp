#include "core/pages/systemmessages.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "core/pages/portprofile.h"
#include "ini/inifile.h"

#include <QFile>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;
namespace fs = std::filesystem;

namespace {

constexpr const char* kGeneral = "General";

QString Read(const OCL::Ini::Document& parsed, const char* section, const char* key, const QString& fallback,
             int width) {
    const auto value = parsed.Find(section, key);
    return value ? CAnsi::ToQString(*value).left(width - 1) : fallback;
}

CApplyResult Unreachable(const QString& why) {
    return CApplyResult::Refused(u"The settings could not be saved.\n%1"_s.arg(why), Icon::Error);
}

CApplyResult Write(CCwadminDoc& document, const OCL::Ini::Edit& edit) {
    QString why;
    const fs::path share = LocalDataShare(document, &why);
    if (share.empty())
        return Unreachable(why);
    std::string reason;
    if (!document.Environment().Files().Apply(share / "callward.hw", edit, &reason))
        return Unreachable(QString::fromStdString(reason));
    return CApplyResult::Applied();
}

std::shared_ptr<const OCL::Ini::Document> ReadHardware(CCwadminDoc& document) {
    QString why;
    const fs::path share = LocalDataShare(document, &why);
    return document.Environment().Files().Read(share.empty() ? fs::path() : share / "callward.hw");
}

} // namespace

fs::path LocalDataShare(CCwadminDoc& document, QString* why) {
    const QString share = document.Servers().MasterShare();
    if (!document.MasterKnown() || share.isEmpty()) {
        *why = u"Please wait for connection to master server"_s;
        return {};
    }
    fs::path local;
    const OCL::DWORD error = document.Environment().Shares().Resolve(CAnsi::FromQString(share), &local);
    if (error != OCL::Err::Success) {
        *why = u"%1 cannot be reached (error %2)."_s.arg(share).arg(error);
        return {};
    }
    return local;
}

QString CGreetingSettings::RuleText(int rule) {
    static const std::array<QString, kRules> texts{
        u"General Message sent to everyone."_s, u"Message sent to users with time-limits."_s,
        u"Message sent to users connecting on port with time-limit."_s};
    return texts[std::size_t(rule)];
}

CGreetingSettings CGreetingSettings::Load(CCwadminDoc& document) {
    CGreetingSettings values;
    QString why;
    const fs::path share = LocalDataShare(document, &why);
    if (share.empty())
        return values;
    const auto parsed = document.Environment().Files().Read(share / "callward.hw");
    const auto mask =
        CPortProfileSettings::LeadingNumber(Read(*parsed, "Greetings", "RuleMask", u"0"_s, 100));
    for (int rule = 0; rule < kRules; ++rule) {
        values.enabled[std::size_t(rule)] = (mask >> rule) & 1;
        QFile file(QString::fromStdString((share / ("greet_" + std::to_string(rule) + ".txt")).string()));
        if (file.open(QIODevice::ReadOnly))
            values.texts[std::size_t(rule)] =
                CAnsi::ToQString(file.readAll().toStdString()).replace(u"\r\n"_s, u"\n"_s);
    }
    return values;
}

CApplyResult CGreetingSettings::Apply(CCwadminDoc& document) const {
    QString why;
    const fs::path share = LocalDataShare(document, &why);
    if (share.empty())
        return Unreachable(why);
    int mask = 0;
    for (int rule = 0; rule < kRules; ++rule) {
        if (enabled[std::size_t(rule)])
            mask |= 1 << rule;
        std::string reason;
        // Windows text, whatever line ends the edit gave.
        QString text = texts[std::size_t(rule)];
        text.replace(u"\r\n"_s, u"\n"_s).replace(u'\n', u"\r\n"_s);
        if (!document.Environment().Files().WriteAll(share / ("greet_" + std::to_string(rule) + ".txt"),
                                                     CAnsi::FromQString(text), &reason))
            return Unreachable(QString::fromStdString(reason));
    }
    OCL::Ini::Edit edit;
    edit.Set("Greetings", "RuleMask", std::to_string(mask));
    return Write(document, edit);
}

CNotificationSettings CNotificationSettings::Load(CCwadminDoc& document) {
    CNotificationSettings values;
    const auto parsed = ReadHardware(document);
    for (int level = 0; level < 2; ++level) {
        const std::string key = "Notify" + std::to_string(level + 1);
        Level& into = values.levels[std::size_t(level)];
        into.seconds = Read(*parsed, kGeneral, key.c_str(), u"0"_s, 100);
        into.text = Read(*parsed, kGeneral, (key + "Text").c_str(), {}, 600);
        into.on = CPortProfileSettings::LeadingNumber(into.seconds) != 0;
    }
    return values;
}

CApplyResult CNotificationSettings::Apply(CCwadminDoc& document) const {
    OCL::Ini::Edit edit;
    for (int level = 0; level < 2; ++level) {
        const std::string key = "Notify" + std::to_string(level + 1);
        const Level& from = levels[std::size_t(level)];
        edit.Set(kGeneral, key, from.on ? CAnsi::FromQString(from.seconds) : "0");
        if (from.on)
            edit.Set(kGeneral, key + "Text", CAnsi::FromQString(from.text));
    }
    return Write(document, edit);
}

QString CDailyReportSettings::PlaceholderSender() {
    return u"callwarden@your-domain.com"_s;
}

CDailyReportSettings CDailyReportSettings::Load(CCwadminDoc& document) {
    CDailyReportSettings values;
    const auto parsed = ReadHardware(document);
    values.hour = Read(*parsed, kGeneral, "DailyStatusEmailHour", u"8"_s, 100);
    const qint64 type =
        CPortProfileSettings::LeadingNumber(Read(*parsed, kGeneral, "DailyStatusEmailType", u"0"_s, 100));
    values.on = type != 0;
    if (values.on) {
        values.kind = type == 1 ? 0 : 1;
        values.to = Read(*parsed, kGeneral, "DailyStatusEmailTo", {}, 600);
        values.server = Read(*parsed, kGeneral, "DailyStatusEmailPOPServer", {}, 600);
        values.from = Read(*parsed, kGeneral, "DailyStatusEmailFrom", {}, 600);
    } else {
        values.from = PlaceholderSender();
    }
    return values;
}

CApplyResult CDailyReportSettings::Apply(CCwadminDoc& document) const {
    OCL::Ini::Edit edit;
    edit.Set(kGeneral, "DailyStatusEmailTo", CAnsi::FromQString(to));
    edit.Set(kGeneral, "DailyStatusEmailPOPServer", CAnsi::FromQString(server));
    edit.Set(kGeneral, "DailyStatusEmailHour", CAnsi::FromQString(hour));
    edit.Set(kGeneral, "DailyStatusEmailType", on ? std::to_string(kind + 1) : "0");
    edit.Set(kGeneral, "DailyStatusEmailFrom", CAnsi::FromQString(from));
    return Write(document, edit);
}

std::optional<QString> CDailyReportSettings::TakeSmtpNote(CCwadminDoc& document) {
    DWORD shown = 0;
    document.ReadRegDWORD({}, u"Client"_s, u"NewbieMessageSMTP"_s, &shown);
    if (shown == 1)
        return std::nullopt;
    document.SetRegDWORD({}, u"Client"_s, u"NewbieMessageSMTP"_s, 1);
    return u"Note: The SMTP server that you are intending to send\n"
           u"the emails from, must be configured to accept outgoing\n"
           u"emails from the user account that the Callwarden Service\n"
           u"is logged on with on computer "_s +
           document.Servers().MasterName() +
           u".\n\nIf you are not sure whether the SMTP server is already\n"
           u"configured right, please see your SMTP server administrator."_s;
}
