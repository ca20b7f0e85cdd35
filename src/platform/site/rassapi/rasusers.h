#pragma once
// Dial-in permissions of the accounts of a domain, kept on its controller in
// hosts/NAME/rasusers.ini: one section per account, keys Privilege and Phone.

#include "platform/rassapi.h"
#include "platform/site/sitedirectory.h"

#include <memory>

namespace OCL::Site {

// NerrUserNotFound when the controller has no entry for the account and the
// account is not one of its domain's (network.ini); such an account without an
// entry has no dial-in right and no call-back number.
DWORD GetRasUser(const std::shared_ptr<const SiteDirectory>& site, const char16_t* server,
                 const char16_t* user, RAS_USER_0* info);
// Replaces the entry in one atomic write. An account without an entry gets one
// when it is an account of the controller's domain, or when the site describes
// no network (no network.ini): then no account list can say the name is unknown.
DWORD SetRasUser(const std::shared_ptr<const SiteDirectory>& site, const char16_t* server,
                 const char16_t* user, const RAS_USER_0* info);

} // namespace OCL::Site
