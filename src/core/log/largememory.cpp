#include "core/log/largememory.h"

#include <cstdint>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace CwMemory {

void PreferLargePages(void* data, std::size_t bytes) {
#ifdef __linux__
    constexpr std::uintptr_t kLarge = std::uintptr_t(2) << 20;
    // A smaller buffer rarely holds a whole large page.
    if (bytes < 2 * kLarge)
        return;
    const auto begin = (reinterpret_cast<std::uintptr_t>(data) + kLarge - 1) & ~(kLarge - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(data) + bytes) & ~(kLarge - 1);
    // Only advice: a refusal leaves the ordinary pages.
    if (end > begin)
        ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
    (void)data;
    (void)bytes;
#endif
}

} // namespace CwMemory
