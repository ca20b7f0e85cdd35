// ports-merge: the ports view taking in one poll of a server with 256 ports,
// every one connected, so that every row is rewritten (the "Connected" cell
// holds date and time while the poll holds seconds). Measured against
// formatting the same 256 session starts alone, which the merge has to do
// anyway. Printed per poll.

#include "benchcase.h"
#include "benchconsole.h"

#include "core/app/environment.h"
#include "core/doc/cwadmindoc.h"
#include "core/ports/portsviewfile.h"
#include "gui/views/portsmodel.h"
#include "ini/inifile.h"
#include "platform/site/site.h"

#include <QApplication>
#include <QTreeView>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPorts = 256;
constexpr int kPollsPerRun = 20;
constexpr double kTargetMs = 5.0;

CwBench::Timing Run() {
    CwBench::Application();
    CwBench::CTempFolder folder;
    auto platform = OCL::Site::OpenSite(folder.Path());
    OCL::Ini::Files files;
    CwBench::CSilentPrompter prompter;
    CEnvironment environment(*platform, files, prompter);
    CRasBinding binding;
    CCwadminDoc doc(environment, binding);
    auto format = [&doc](qint64 start) {
        return doc.TimeToLocalString(start, true);
    };

    // The rows as the fetch left them and the poll's file, every port connected.
    CPortsModel model;
    QTreeView list;
    list.setModel(&model);
    list.resize(600, 400);
    CPortsViewFile file;
    QList<qint64> starts;
    for (int i = 0; i < kPorts; ++i) {
        const QString port = u"COM%1"_s.arg(i + 1);
        const qint64 start = 1700000000 + i * 37;
        starts.append(start);
        const int row = model.AppendRow(port);
        model.SetPortIndex(row, i);
        model.SetCells(row, u"CORP\\user%1"_s.arg(i), format(start), {});
        file.WriteUser(port, u"CORP\\user%1"_s.arg(i));
        file.WriteStart(port, start);
        file.WriteIp(port, u"10.0.%1.%2"_s.arg(i / 200).arg(i % 200 + 1));
    }

    qsizetype formatted = 0;
    auto baseline = [&] {
        for (int poll = 0; poll < kPollsPerRun; ++poll)
            for (qint64 start : starts)
                formatted += format(start).size();
    };
    qsizetype rewritten = 0;
    auto merge = [&] {
        for (int poll = 0; poll < kPollsPerRun; ++poll)
            rewritten += model.Merge(file, format).size();
    };

    CwBench::Timing timing = CwBench::Measure(7, baseline, merge);
    timing.milliseconds /= kPollsPerRun;
    timing.baselineMilliseconds /= kPollsPerRun;

    const int last = kPorts - 1;
    if (rewritten != qsizetype(7) * kPollsPerRun * kPorts || formatted == 0)
        timing.error = "wrong result: " + std::to_string(rewritten) + " rows rewritten";
    else if (model.Text(last, CPortsModel::ColConnected) != format(starts[last]) ||
             model.Text(last, CPortsModel::ColIp) != u"10.0.1.56"_s)
        timing.error = "wrong result: the last row reads " +
                       model.Text(last, CPortsModel::ColConnected).toStdString() + ", " +
                       model.Text(last, CPortsModel::ColIp).toStdString();
    else if (timing.milliseconds > kTargetMs)
        timing.error =
            "a poll took " + std::to_string(timing.milliseconds) + " ms, more than the 5 ms allowed";
    char detail[96];
    std::snprintf(detail, sizeof detail, "per poll of %d connected ports, all rewritten; target < %.0f ms",
                  kPorts, kTargetMs);
    timing.detail = detail;
    return timing;
}

} // namespace

// The merge formats every start as the baseline does and adds the lookups and
// the cell writes; the absolute target of 5 ms per poll is checked in Run.
CW_BENCH_CASE("ports-merge", 2.0, Run)
