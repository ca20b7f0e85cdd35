#pragma once
// When each port was in use on the shown day, for the usage graph: the
// sessions of the day's records as intervals, one list per server and port,
// regrouped by server and ordered by port number, and the bars they make on
// the graph's time axis.
//
// Intervals come from the records in their order (the file's order: all
// events of a port together, in time order). A disconnect gives its session
// (time - lasted, lasted). A connect still open when the port name changes, or
// at the last record, gives (its time, 86,400) on the port before the change;
// at the last record a connect gives its own time. A disconnect closes any
// open connect, whichever port it is on, and an interval starting at 0 is
// dropped. Ports are told apart by name only, servers and ports without
// regard to case.

#include "core/log/logstore.h"

#include <QDate>
#include <QString>

#include <vector>

struct CUsageInterval {
    qint64 start = 0; // seconds since 1970
    qint64 length = 0;
};

struct CUsagePort {
    QString name;
    int number = 0; // read from the name's first digit on; 0 when it has none
    std::vector<CUsageInterval> intervals;
};

struct CUsageServer {
    QString name;
    std::vector<CUsagePort> ports; // in display order
};

struct CUsageGraph {
    std::vector<CUsageServer> servers;

    // Lanes of the graph: one per server and one per port.
    int LaneCount() const;
    // The day's intervals; no records, no servers.
    static CUsageGraph Build(const CLogStore& store);
};

// The day the bars are cut to, in seconds since 1970.
struct CUsageDay {
    qint64 dayStart = 0;     // local midnight of the day
    qint64 nextMidnight = 0; // local midnight of the day after
    bool today = false;      // bars then end at now
    qint64 now = 0;

    static CUsageDay For(QDate day, qint64 now);
};

// A bar in the graph's logical units: the time axis runs from x 100 (midnight)
// to x 820, one unit two minutes.
struct CUsageBar {
    int left = 0;
    int width = 0;
    bool operator==(const CUsageBar&) const = default;
};

// The bars of one port's intervals: cut at midnight (a length that becomes
// negative is zero), none from the next midnight on, the right edge at 820
// or, today, at now (and none starting after now); both edges one unit right,
// and at least one unit wide.
std::vector<CUsageBar> UsageBars(const std::vector<CUsageInterval>& intervals, const CUsageDay& day);
