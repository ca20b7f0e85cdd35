// day-key-read: a busy day read as the profile functions read it, the list of
// sections, each section's list of keys and one value per key through the
// engine's Files, against the bulk load of the same day.

#include "benchcase.h"
#include "benchday.h"

#include "core/log/dayreader.h"
#include "ini/inifile.h"

#include <cstdio>

namespace {

std::size_t ReadKeyByKey(const std::filesystem::path& path) {
    OCL::Ini::Files files;
    CLogStore store;
    const std::vector<std::string> sections = files.SectionNames(path);
    if (sections.empty() || sections.front().empty() || sections.front().front() == '*')
        return 0;
    for (const std::string& section : sections) {
        const std::vector<std::string> keys = files.KeyNames(path, section);
        if (keys.empty() || keys.front().empty() || keys.front().front() == '*')
            continue;
        const CwLog::LogSection split = CwLog::SplitSection(section);
        const std::uint32_t channel = store.AddChannel(split.server, split.port);
        for (const std::string& key : keys) {
            const std::string value = files.GetString(path, section, key, "*");
            if (!value.empty() && value.front() != '*')
                store.Add(channel, CwLog::ReadInt32(key), CwLog::ParseLogValue(value));
        }
    }
    store.Finish();
    return store.Count();
}

CwBench::Timing Run() {
    CwBench::CTempFolder folder;
    const auto path = folder.Path() / "2026-Nov-23.log";
    const CwBench::DayShape shape = CwBench::WriteBusyDay(path);
    CwBench::Timing timing;
    if (shape.events == 0) {
        timing.error = "cannot write " + path.string();
        return timing;
    }
    std::size_t bulk = 0, keyed = 0;
    timing = CwBench::Measure(
        1,
        [&] {
            std::string bytes;
            CDayReader::ReadFile(path, &bytes);
            bulk = CDayReader::Parse(std::move(bytes))->Count();
        },
        [&] { keyed = ReadKeyByKey(path); });
    if (bulk != shape.events || keyed != shape.events)
        timing.error = "wrong result: bulk " + std::to_string(bulk) + ", key by key " +
                       std::to_string(keyed) + " events; expected " + std::to_string(shape.events);
    char detail[96];
    std::snprintf(detail, sizeof detail, "%zu sections, %zu events; baseline is the bulk load",
                  shape.sections, shape.events);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("day-key-read", 3.0, Run)
