#pragma once
// The demo site's past: weeks of dial-in traffic on every server, run through
// the same rules the service applies, giving the day logs, the accounts'
// statistics and the sessions still connected now.

#include "site/gen/demomodel.h"
#include "site/gen/logformat.h"

#include <QDate>
#include <QMap>

#include <random>

class CNetworkDirectory;

struct CDemoLiveSession {
    int server = 0;
    int port = 0; // index into the server's ports
    int user = 0; // index into the model's users
    qint64 start = 0;
    quint32 ip = 0;
    std::string ipx;
    qint64 bytesOut = 0, bytesIn = 0;
};

struct CDemoHistory {
    QMap<QDate, CwDayLog::CDayLog> days; // by local date of the events
    QMap<QString, CAccount> accounts;    // accounts with a section in callward.usr, by upper-cased name
    QList<CDemoLiveSession> live;
    int events = 0;
};

// Simulates from start to now. The servers' working hours are their own local
// hours: consoleBias is the console computer's bias (minutes), each server's
// bias is consoleBias + its offset.
CDemoHistory SimulateHistory(const CDemoModel& model, const CNetworkDirectory& directory, qint64 start,
                             qint64 now, int consoleBias, std::mt19937& rng);
