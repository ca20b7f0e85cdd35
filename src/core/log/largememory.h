#pragma once
// Large buffers that are filled once from start to end (a day's bytes, its
// events) take a page fault for every 4 KiB page on first touch, which costs
// more than filling them. Where the system offers it, such a buffer is backed
// by large pages instead; elsewhere this does nothing.

#include <cstddef>

namespace CwMemory {

// Call after reserving and before filling: the advice covers only pages not
// yet touched.
void PreferLargePages(void* data, std::size_t bytes);

} // namespace CwMemory
