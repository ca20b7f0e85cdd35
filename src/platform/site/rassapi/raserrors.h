#pragma once
// Texts for the codes the site's RAS administration library returns.

#include "platform/types.h"

namespace OCL::Site {

// Null for a code this library never returns.
const char* RasErrorText(DWORD code);

} // namespace OCL::Site
