#pragma once
// The service's account file "callward.usr": one section per account
// ("DOMAIN\account") with its profile and statistics, and one per group
// profile ("+DOMAIN\group"). Values are decimal text; every read has the
// default "0" and takes the leading digits.

#include "core/accounts/tempuser.h"
#include "core/accounts/userstore.h"

#include <QString>

#include <memory>
#include <string_view>

namespace OCL::Ini {
class Document;
class Edit;
} // namespace OCL::Ini

namespace CUserFile {

inline constexpr const char* kMaxSessionTime = "MaxSessionTime";
inline constexpr const char* kMaxTotalTime = "MaxTotalTime";
inline constexpr const char* kPeriodMax = "PeriodMax";
inline constexpr const char* kPeriodType = "PeriodType";
inline constexpr const char* kStaticIP = "StaticIP";
inline constexpr const char* kExpiryTime = "ExpiryTime";
inline constexpr const char* kNoDuplicate = "NoDuplicate";

QString AccountSection(const QString& domain, const QString& account);
QString GroupSection(const QString& domain, const QString& group);

struct Loaded {
    std::shared_ptr<CUserStore> store; // never null, finished
    // False when the file lists no sections, or its first begins with '*': the
    // list is to be read again next time.
    bool sectionsFound = false;
};

// The accounts of a parsed account file, in file order: group sections and
// sections with an empty name are left out; of sections with the same name
// (in any letter case) the first counts, as for every lookup by name.
Loaded Read(const OCL::Ini::Document& document);

// Writes the profile into the section: "MaxSessionTime", "MaxTotalTime",
// "PeriodMax", "PeriodType", "StaticIP", "ExpiryTime" and "NoDuplicate", in
// that order.
void AddProfile(OCL::Ini::Edit& edit, std::string_view section, const CTempUser& profile);

// A value as the list reads it: at most 19 characters, then the leading
// digits (with blanks and a sign before them), saturated to 32 bits.
std::int32_t ReadValue(std::string_view text);

} // namespace CUserFile
