#include "core/accounts/userfile.h"

#include "core/log/logvalue.h"
#include "ini/inifile.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

// The statistics loader reads each value into 20 characters.
constexpr std::size_t kValueChars = 19;

// The keys the list carries, in the order of the record's fields.
constexpr std::array<std::string_view, 8> kKeys{"TotalConnects", "TotalDenieds", "LastConnection",
                                                "TotalTime",     "MaxTotalTime", "PeriodMax",
                                                "PeriodType",    "PeriodUsage"};

int KeyIndex(std::string_view name) {
    for (std::size_t i = 0; i < kKeys.size(); ++i)
        if (kKeys[i].size() == name.size() && OCL::Ini::NamesEqual(kKeys[i], name))
            return int(i);
    return -1;
}

std::int32_t& Field(CUserStore::Stats& stats, int index) {
    switch (index) {
    case 0:
        return stats.connects;
    case 1:
        return stats.denials;
    case 2:
        return stats.last;
    case 3:
        return stats.totalTime;
    case 4:
        return stats.maxTotal;
    case 5:
        return stats.periodMax;
    case 6:
        return stats.periodType;
    default:
        return stats.periodUsage;
    }
}

} // namespace

QString CUserFile::AccountSection(const QString& domain, const QString& account) {
    return domain + u'\\' + account;
}

QString CUserFile::GroupSection(const QString& domain, const QString& group) {
    return u'+' + domain + u'\\' + group;
}

void CUserFile::AddProfile(OCL::Ini::Edit& edit, std::string_view section, const CTempUser& profile) {
    edit.Set(section, kMaxSessionTime, std::to_string(profile.maxSessionTime))
        .Set(section, kMaxTotalTime, std::to_string(profile.maxTotalTime))
        .Set(section, kPeriodMax, std::to_string(profile.periodMax))
        .Set(section, kPeriodType, std::to_string(profile.periodType))
        .Set(section, kStaticIP, std::to_string(profile.staticIP))
        .Set(section, kExpiryTime, std::to_string(profile.expiryTime))
        .Set(section, kNoDuplicate, profile.noDuplicate ? "1" : "0");
}

std::int32_t CUserFile::ReadValue(std::string_view text) {
    return CwLog::ReadInt32(text.substr(0, kValueChars));
}

CUserFile::Loaded CUserFile::Read(const OCL::Ini::Document& document) {
    Loaded loaded;
    loaded.store = std::make_shared<CUserStore>();
    CUserStore& store = *loaded.store;
    const std::size_t sections = document.SectionCount();
    // No section, or the first name stands for the list's default.
    if (sections == 0 || document.SectionName(0).starts_with('*')) {
        store.Finish();
        return loaded;
    }
    loaded.sectionsFound = true;
    store.Reserve(sections, sections * 24);
    for (std::size_t s = 0; s < sections; ++s) {
        const std::string_view name = document.SectionName(s);
        // Group profiles are not accounts; an empty name names nobody.
        if (name.empty() || name.front() == '+' || document.FindSection(name) != s)
            continue;
        CUserStore::Stats stats;
        unsigned seen = 0;
        const std::size_t keys = document.KeyCount(s);
        for (std::size_t k = 0; k < keys && seen != (1u << kKeys.size()) - 1; ++k) {
            const int index = KeyIndex(document.KeyName(s, k));
            // The first line of a name answers, with or without a value.
            if (index < 0 || (seen & (1u << index)))
                continue;
            seen |= 1u << index;
            Field(stats, index) = ReadValue(document.Value(s, k));
        }
        store.Add(name, stats);
    }
    store.Finish();
    return loaded;
}
