// log-view: the log view's model filled with a whole busy day and sorted by
// Time, User and Port, each step against loading the same day.

#include "benchcase.h"
#include "benchday.h"

#include "core/log/dayreader.h"
#include "core/log/logmodel.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

double Milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::shared_ptr<const CLogStore> Load(const std::filesystem::path& path) {
    std::string bytes;
    CDayReader::ReadFile(path, &bytes);
    return CDayReader::Parse(std::move(bytes));
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
    // Columns by position with every column shown: Time 0, Port 2, User 5.
    const struct {
        const char* name;
        int column;
    } sorts[] = {{"time", 0}, {"user", 5}, {"port", 2}};
    double best[4] = {}, load = 0;
    std::shared_ptr<const CLogStore> store;
    for (int run = 0; run < 3; ++run) {
        const double loaded = Milliseconds([&] { store = Load(path); });
        load = run == 0 ? loaded : std::min(load, loaded);
        CLogModel model;
        double times[4];
        times[0] = Milliseconds([&] { model.Fill(store, CLogFilter()); });
        for (int i = 0; i < 3; ++i)
            times[i + 1] = Milliseconds([&] { model.SortByColumn(sorts[i].column); });
        for (int i = 0; i < 4; ++i)
            best[i] = run == 0 ? times[i] : std::min(best[i], times[i]);
        if (std::size_t(model.rowCount()) != shape.events)
            timing.error = "model shows " + std::to_string(model.rowCount()) + " rows";
    }
    timing.baselineMilliseconds = load;
    timing.milliseconds = *std::max_element(best, best + 4);
    char detail[160];
    std::snprintf(detail, sizeof detail,
                  "%zu events; fill %.1f, sort time %.1f, user %.1f, port %.1f ms; slowest shown",
                  shape.events, best[0], best[1], best[2], best[3]);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("log-view", 1.0, Run)
