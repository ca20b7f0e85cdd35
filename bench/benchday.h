#pragma once
// A busy day's log for the history cases: a million events on many servers
// and ports, written as the service writes them (about 55 MB), and the
// baseline every history case is held against: reading the same bytes and
// splitting them into lines and key/value fields.

#include <cstddef>
#include <filesystem>
#include <string>

namespace CwBench {

struct DayShape {
    std::size_t sections = 0;
    std::size_t events = 0;
    std::size_t bytes = 0;
};

// Writes the day into path; events 0 when it could not be written.
DayShape WriteBusyDay(const std::filesystem::path& path, std::size_t events = 1000000);

// Reads path and splits it into lines and each line into key and value;
// returns the number of key lines.
std::size_t ReadAndSplit(const std::filesystem::path& path);

} // namespace CwBench
