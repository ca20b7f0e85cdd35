#pragma once
// Reads a run of day logs on worker threads a few days ahead of the one the
// caller takes, so that parsing the next days overlaps with using this one.
// Days are taken in order; at most `ahead` days past the next one to be taken
// are read before it is, which bounds the memory held and means a day further
// on is read only once the caller has got that far.

#include "core/log/dayreader.h"
#include "core/log/logstore.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class CDayPrefetch {
public:
    struct Day {
        std::shared_ptr<CLogStore> store; // null when the file could not be read
        CDayReader::Stamp stamp;
        bool outOfMemory = false;
        std::string output; // what the caller's load made of the day, if anything
    };
    // Reads day `index`; runs on a worker thread.
    using Load = std::function<Day(std::size_t index)>;

    CDayPrefetch(std::size_t count, Load load, std::size_t ahead = 2, unsigned workers = 2);
    // Waits for the days being read, not for the rest.
    ~CDayPrefetch();
    CDayPrefetch(const CDayPrefetch&) = delete;
    CDayPrefetch& operator=(const CDayPrefetch&) = delete;

    // Day `index`, the one after the last taken; `waiting` runs every few
    // milliseconds while it is still being read (to keep a window painted).
    Day Take(std::size_t index, const std::function<void()>& waiting = {});

    // Reads one file as the history loader does, whole, then parsed; the
    // store is left unfinished (its texts as bytes only).
    static Day ReadFile(const std::filesystem::path& path);

private:
    void Work();

    const std::size_t m_count, m_ahead;
    const Load m_load;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::optional<Day>> m_days;
    std::size_t m_nextRead = 0, m_nextTaken = 0;
    bool m_stop = false;
    std::vector<std::thread> m_workers;
};
