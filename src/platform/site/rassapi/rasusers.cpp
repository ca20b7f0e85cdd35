#include "platform/site/rassapi/rasusers.h"

#include "ini/inifile.h"
#include "platform/ansi.h"
#include "platform/site/rassapi/rasrecords.h"
#include "platform/site/rassapi/siteattachment.h"
#include "platform/site/sitenetwork.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace OCL::Site {
namespace {

// The controller's account file, once the controller answers.
DWORD OpenAccounts(const std::shared_ptr<const SiteDirectory>& site, const char16_t* server,
                   std::filesystem::path* file) {
    if (!site)
        return Err::BadNetPath;
    HostInfo host;
    if (const DWORD reach = site->Reach(HostArgument(server), &host))
        return reach;
    *file = host.dir / "rasusers.ini";
    return Err::Success;
}

bool HasNetwork(const SiteDirectory& site) {
    std::error_code ec;
    return std::filesystem::exists(site.Root() / "network.ini", ec);
}

// Whether the account is one of the domain the server controls (network.ini).
bool DomainAccount(const std::shared_ptr<const SiteDirectory>& site, const char16_t* server,
                   const std::string& account) {
    CSiteNetwork network(site);
    std::vector<std::u16string> names;
    DWORD total = 0;
    DWORD resume = 0;
    if (network.UserEnum(server ? server : u"", UserFilter::NormalAccount, 0xFFFFFFFF, &names, &total,
                         &resume) != Err::Success)
        return false;
    return std::any_of(names.begin(), names.end(),
                       [&](const std::u16string& name) { return SameName(Ansi::FromUtf16(name), account); });
}

std::string WideField(const WCHAR* text, std::size_t capacity) {
    std::size_t n = 0;
    while (n < capacity && text[n])
        ++n;
    return Ansi::FromUtf16(std::u16string_view(text, n));
}

} // namespace

DWORD GetRasUser(const std::shared_ptr<const SiteDirectory>& site, const char16_t* server,
                 const char16_t* user, RAS_USER_0* info) {
    if (!user || !info)
        return Err::InvalidParameter;
    std::filesystem::path file;
    if (const DWORD open = OpenAccounts(site, server, &file))
        return open;
    const std::string account = Ansi::FromUtf16(user);
    if (account.empty())
        return Err::NerrUserNotFound;
    auto doc = site->Files().Read(file);
    if (!doc->FindSection(account)) {
        // An account of the domain that was never given dial-in rights has none.
        if (!HasNetwork(*site) || !DomainAccount(site, server, account))
            return Err::NerrUserNotFound;
        *info = RAS_USER_0{};
        info->bfPrivilege = RasPriv::NoCallback;
        return Err::Success;
    }
    *info = RAS_USER_0{};
    const auto privilege = doc->Find(account, "Privilege");
    const auto phone = doc->Find(account, "Phone");
    info->bfPrivilege = privilege ? BYTE(std::strtoul(std::string(*privilege).c_str(), nullptr, 10)) : 0;
    CopyWideField(info->szPhoneNumber, RasLen::PhoneNumber + 1, phone ? std::string(*phone) : std::string());
    return Err::Success;
}

DWORD SetRasUser(const std::shared_ptr<const SiteDirectory>& site, const char16_t* server,
                 const char16_t* user, const RAS_USER_0* info) {
    if (!user || !info)
        return Err::InvalidParameter;
    std::filesystem::path file;
    if (const DWORD open = OpenAccounts(site, server, &file))
        return open;
    const std::string account = Ansi::FromUtf16(user);
    if (account.empty())
        return Err::NerrUserNotFound;
    // Without account lists in the site no name can be said to be unknown.
    if (!site->Files().Read(file)->FindSection(account) && HasNetwork(*site) &&
        !DomainAccount(site, server, account))
        return Err::NerrUserNotFound;
    Ini::Edit edit;
    edit.Set(account, "Privilege", std::to_string(unsigned(info->bfPrivilege)));
    edit.Set(account, "Phone", WideField(info->szPhoneNumber, RasLen::PhoneNumber + 1));
    return site->Files().Apply(file, edit) ? Err::Success : Err::CantWrite;
}

} // namespace OCL::Site
