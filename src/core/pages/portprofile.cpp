#include "core/pages/portprofile.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "ini/inifile.h"

#include <algorithm>
#include <filesystem>
#include <limits>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;

namespace {

constexpr const char* kMaxSessionTime = "MaxSessionTime";
constexpr const char* kStaticIP = "StaticIP";
constexpr const char* kAllowedGroups = "AllowedGroups";
constexpr const char* kIdle = "Idle";

qint32 ClampToInt32(qint64 value) {
    return qint32(
        std::clamp<qint64>(value, std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()));
}

// The hardware file as this process can open it; empty when there is none to reach.
std::filesystem::path LocalHardwareFile(CCwadminDoc& document, OCL::DWORD* error) {
    *error = OCL::Err::Success;
    const QString file = document.Servers().HardwareFile();
    if (file.isEmpty()) {
        *error = OCL::Err::FileNotFound;
        return {};
    }
    std::filesystem::path local;
    *error = document.Environment().Shares().Resolve(CAnsi::FromQString(file), &local);
    return *error == OCL::Err::Success ? local : std::filesystem::path();
}

} // namespace

QString CPortProfileSettings::Section(const QString& server, const QString& port) {
    return server + u'\\' + port;
}

QString CPortProfileSettings::InvalidAddressText() {
    return u"The specified IP address is invalid."_s;
}
QString CPortProfileSettings::InvalidAddressCaption() {
    return u"Bad IP Address"_s;
}

qint64 CPortProfileSettings::LeadingNumber(QStringView text) {
    qsizetype i = 0;
    while (i < text.size() && (text[i] == u' ' || text[i] == u'\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) {
        negative = text[i] == u'-';
        ++i;
    }
    // Saturates well before 64 bits run out; nothing stored here needs more.
    constexpr qint64 kLimit = qint64(1) << 52;
    qint64 value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i)
        value = std::min(kLimit, value * 10 + (text[i].unicode() - u'0'));
    return negative ? -value : value;
}

qint64 CPortProfileSettings::SessionMinutesOf(qint64 seconds) {
    return seconds >= 60 ? seconds / 60 : 1;
}

std::optional<qint32> CPortProfileSettings::ParseAddress(const QString& text) {
    if (text.count(u'.') != 3)
        return std::nullopt;
    const QStringList parts = text.split(u'.');
    quint32 packed = 0;
    for (int i = 0; i < 4; ++i) {
        const QString& part = parts[i];
        if (part.isEmpty() || part.size() >= 4)
            return std::nullopt;
        // Only the leading digits count; whatever follows them is let through.
        quint32 value = 0;
        for (QChar c : part) {
            if (c < u'0' || c > u'9')
                break;
            value = value * 10 + quint32(c.unicode() - u'0');
        }
        if (value >= 256)
            return std::nullopt;
        packed |= value << (8 * (3 - i));
    }
    return qint32(packed);
}

QString CPortProfileSettings::AddressText(qint32 packed) {
    const quint32 value = quint32(packed);
    return u"%1.%2.%3.%4"_s.arg(value >> 24)
        .arg((value >> 16) & 0xFF)
        .arg((value >> 8) & 0xFF)
        .arg(value & 0xFF);
}

QList<CAllowedAccount> CPortProfileSettings::SplitAllowed(const QString& value) {
    QList<CAllowedAccount> entries;
    for (const QString& piece : value.left(kGroupsReadLimit - 1).split(u';')) {
        CAllowedAccount entry{piece, CAllowedAccount::Group};
        if (entry.name.endsWith(u'\\')) {
            entry.name.chop(1);
            entry.kind = CAllowedAccount::Domain;
        }
        // The closing ";" leaves an empty piece behind it.
        if (!entry.name.isEmpty())
            entries.append(entry);
    }
    return entries;
}

CAllowedValue CPortProfileSettings::JoinAllowed(const QList<CAllowedAccount>& entries) {
    CAllowedValue joined;
    QString value = u"\""_s;
    for (const CAllowedAccount& entry : entries) {
        const QString piece = entry.name + (entry.kind == CAllowedAccount::Domain ? u"\\;"_s : u";"_s);
        // Room is kept for the closing quote.
        if (!joined.leftOut.isEmpty() || value.size() + piece.size() + 1 > kGroupsWriteLimit) {
            joined.leftOut.append(entry);
            continue;
        }
        value += piece;
    }
    joined.value = value + u'"';
    return joined;
}

QString CPortProfileSettings::LeftOutText(const QList<CAllowedAccount>& leftOut) {
    QStringList names;
    for (const CAllowedAccount& entry : leftOut)
        names.append(entry.kind == CAllowedAccount::Domain ? u"%1 (domain)"_s.arg(entry.name) : entry.name);
    return u"The list of groups and domains allowed on this port holds more than the %1 characters the "
           u"service reads. The profile was saved without these entries:\n\n%2"_s.arg(kGroupsWriteLimit)
               .arg(names.join(u'\n'));
}

CPortProfileSettings CPortProfileSettings::Load(CCwadminDoc& document, const QString& server,
                                                const QString& port) {
    CPortProfileSettings values;
    OCL::DWORD error = 0;
    const std::filesystem::path file = LocalHardwareFile(document, &error);
    if (error != OCL::Err::Success)
        return values;
    const auto parsed = document.Environment().Files().Read(file);
    const std::string section = CAnsi::FromQString(Section(server, port));
    const auto read = [&](const char* key) {
        const auto value = parsed->Find(section, key);
        return value ? CAnsi::ToQString(*value) : QString();
    };

    if (const qint64 seconds = LeadingNumber(read(kMaxSessionTime))) {
        values.sessionLimit = true;
        values.sessionMinutes = QString::number(SessionMinutesOf(seconds));
    }
    if (const qint64 packed = LeadingNumber(read(kStaticIP))) {
        values.staticAddress = true;
        // Written as a signed number; an unsigned spelling means the same bits.
        values.address = AddressText(qint32(quint32(quint64(packed))));
    }
    const QString groups = read(kAllowedGroups);
    if (!groups.isEmpty()) {
        values.restricted = true;
        values.allowed = SplitAllowed(groups);
    }
    if (const qint64 idle = LeadingNumber(read(kIdle))) {
        values.idleLimit = true;
        values.idleMinutes = QString::number(idle);
    }
    return values;
}

CPortApplyResult CPortProfileSettings::Apply(CCwadminDoc& document, const QString& server,
                                             const QString& port) const {
    qint32 packed = 0;
    if (staticAddress) {
        const std::optional<qint32> parsed = ParseAddress(address);
        if (!parsed)
            return {false, InvalidAddressText(), InvalidAddressCaption(), Icon::Warning};
        packed = *parsed;
    }
    const qint64 minutes = sessionLimit ? LeadingNumber(sessionMinutes) : 0;
    CAllowedValue groups;
    if (restricted)
        groups = JoinAllowed(allowed);
    const QString idle = idleLimit ? QString::number(ClampToInt32(LeadingNumber(idleMinutes))) : u"0"_s;

    OCL::DWORD error = 0;
    const std::filesystem::path file = LocalHardwareFile(document, &error);
    const QString where = document.Servers().HardwareFile();
    if (where.isEmpty())
        return {false,
                u"Can't save port properties\nPlease wait for connection to master server"_s,
                {},
                Icon::Error};
    if (error != OCL::Err::Success)
        return {false,
                u"The port profile could not be saved in %1 (error %2)."_s.arg(where).arg(error),
                {},
                Icon::Error};

    const std::string section = CAnsi::FromQString(Section(server, port));
    OCL::Ini::Edit edit;
    edit.Set(section, kMaxSessionTime, std::to_string(ClampToInt32(minutes * 60)));
    edit.Set(section, kStaticIP, std::to_string(packed));
    edit.Set(section, kAllowedGroups, CAnsi::FromQString(groups.value));
    edit.Set(section, kIdle, CAnsi::FromQString(idle));
    std::string reason;
    if (!document.Environment().Files().Apply(file, edit, &reason))
        return {
            false,
            u"The port profile could not be saved in %1.\n%2"_s.arg(where, QString::fromStdString(reason)),
            {},
            Icon::Error};
    if (!groups.leftOut.isEmpty())
        return {true, LeftOutText(groups.leftOut), {}, Icon::Warning};
    return {};
}
