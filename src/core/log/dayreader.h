#pragma once
// Reads a day log into a store, giving exactly the events that the console's
// way through the ini engine gives: the list of sections (a first name that
// is empty or begins with '*' means none), for each its list of keys (a
// section whose first key is empty or begins with '*' is skipped), and for
// each key its value (empty or beginning with '*': skipped). The engine's
// parse decides what is a section, a key and a value; duplicate sections and
// keys count once, the first one winning, as lookups by name do.
//
// Runs on any thread; a callback reports each section as it is read.

#include "core/log/logstore.h"

#include <QtGlobal>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

class CDayReader {
public:
    using SectionSeen = std::function<void(std::string_view section)>;

    // The size and modification time (seconds since 1970) of the file as it
    // was opened, before its bytes were read.
    struct Stamp {
        qint64 size = 0;
        qint64 modified = 0;
    };

    // The whole file in one read, without keeping it open or mapped, so the
    // service can rewrite it meanwhile. False when it cannot be read.
    static bool ReadFile(const std::filesystem::path& path, std::string* bytes, Stamp* stamp = nullptr);

    // The events of a day log's bytes, finished; unfinished (without display
    // texts and sort ranks) for a reader that uses the bytes alone.
    static std::unique_ptr<CLogStore> Parse(std::string bytes, const SectionSeen& seen = {},
                                            bool finish = true);
};
