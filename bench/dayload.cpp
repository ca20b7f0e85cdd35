// day-load: a busy day's log loaded into the document's records (read, parse,
// intern, finish), against reading the same bytes and splitting them into
// lines and fields. Also checks the records' memory per event.

#include "benchcase.h"
#include "benchday.h"

#include "core/log/dayreader.h"

#include <cstdio>

namespace {

constexpr double kMaxBytesPerEvent = 300;

CwBench::Timing Run() {
    CwBench::CTempFolder folder;
    const auto path = folder.Path() / "2026-Nov-23.log";
    const CwBench::DayShape shape = CwBench::WriteBusyDay(path);
    CwBench::Timing failed;
    if (shape.events == 0) {
        failed.error = "cannot write " + path.string();
        return failed;
    }
    std::size_t lines = 0, events = 0, memory = 0;
    CwBench::Timing timing = CwBench::Measure(
        5, [&] { lines = CwBench::ReadAndSplit(path); },
        [&] {
            std::string bytes;
            CDayReader::ReadFile(path, &bytes);
            const auto store = CDayReader::Parse(std::move(bytes));
            events = store->Count();
            memory = store->MemoryBytes();
        });
    const double perEvent = events ? double(memory) / double(events) : 0;
    if (events != shape.events || lines != shape.events)
        timing.error = "wrong result: " + std::to_string(events) + " events, " + std::to_string(lines) +
                       " lines; expected " + std::to_string(shape.events);
    else if (perEvent > kMaxBytesPerEvent)
        timing.error = "records take " + std::to_string(perEvent) + " bytes per event";
    char detail[128];
    std::snprintf(detail, sizeof detail, "%.1f MB, %zu events, records %.1f MB = %.0f bytes/event (<= %.0f)",
                  double(shape.bytes) / (1 << 20), shape.events, double(memory) / (1 << 20), perEvent,
                  kMaxBytesPerEvent);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("day-load", 2.0, Run)
