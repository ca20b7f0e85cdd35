// stats-usage: the statistics and the usage graph of a busy day (the figures,
// connections by hour, the intervals regrouped and ordered, every lane's
// bars), against loading the same day.

#include "benchcase.h"
#include "benchday.h"

#include "core/log/dayreader.h"
#include "core/stats/statistics.h"
#include "core/stats/usagegraph.h"

#include <QDateTime>

#include <cstdio>

namespace {

CwBench::Timing Run() {
    CwBench::CTempFolder folder;
    const auto path = folder.Path() / "2026-Nov-23.log";
    const CwBench::DayShape shape = CwBench::WriteBusyDay(path);
    CwBench::Timing timing;
    if (shape.events == 0) {
        timing.error = "cannot write " + path.string();
        return timing;
    }
    std::shared_ptr<const CLogStore> store;
    const auto load = [&] {
        std::string bytes;
        CDayReader::ReadFile(path, &bytes);
        store = CDayReader::Parse(std::move(bytes));
    };
    load();
    const CUsageDay day =
        CUsageDay::For(QDate(2026, 11, 23), QDateTime(QDate(2026, 11, 25), QTime()).toSecsSinceEpoch());
    CDayStatistics stats;
    std::size_t lanes = 0, bars = 0;
    timing = CwBench::Measure(5, load, [&] {
        stats.CountSessions(*store);
        stats.CountByHour(*store);
        const CUsageGraph graph = CUsageGraph::Build(*store);
        lanes = std::size_t(graph.LaneCount());
        bars = 0;
        for (const CUsageServer& server : graph.servers)
            for (const CUsagePort& port : server.ports)
                bars += UsageBars(port.intervals, day).size();
    });
    if (store->Count() != shape.events || stats.connections == 0 || bars == 0)
        timing.error = "wrong result: " + std::to_string(store->Count()) + " events, " +
                       std::to_string(stats.connections) + " connections, " + std::to_string(bars) + " bars";
    char detail[160];
    std::snprintf(detail, sizeof detail,
                  "%zu events, %u connections, %zu lanes, %zu bars; baseline = loading the day", shape.events,
                  stats.connections, lanes, bars);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("stats-usage", 0.2, Run)
