// A site library in miniature: remembers the site it was attached to.

#include <string>

namespace {
std::string g_root;
int g_attachCount = 0;
} // namespace

extern "C" {

__attribute__((visibility("default"))) void CwSiteAttach(const char* siteRoot) {
    g_root = siteRoot ? siteRoot : "";
    ++g_attachCount;
}

__attribute__((visibility("default"))) const char* TestAttachedRoot() {
    return g_root.c_str();
}

__attribute__((visibility("default"))) int TestAttachCount() {
    return g_attachCount;
}
}
