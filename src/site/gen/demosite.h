#pragma once
// cwsite init: writes the demo network with weeks of history into a folder.

#include <QString>
#include <QStringList>

struct CDemoOptions {
    quint32 seed = 1999;
    qint64 now = 0;   // 0: the current time; the history ends here
    int logDays = 30; // days of current logs, today included
    int oldDays = 5;  // migrated days before them
    // Adds the load-test server LOADRAS with a million events yesterday.
    bool bigDay = false;
    // Adds LOADRAS's events on every day of the years before today, this many a
    // day, for trying searches over a long history.
    int years = 0;
    int yearEventsPerDay = 5000;
};

struct CDemoSummary {
    QStringList servers; // one line per monitored server
    QString masterShare;
    int accounts = 0;
    int profiles = 0;
    int events = 0;
    int liveSessions = 0;
    QString bigDayFile; // the day file holding the big day, when written
};

bool WriteDemoSite(const QString& root, const CDemoOptions& options, CDemoSummary* summary, QString* error);
