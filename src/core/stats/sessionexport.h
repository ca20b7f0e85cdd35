#pragma once
// The session export: what the user asks for, and the comma-separated lines
// the events become. The document runs it day by day through its loader.
//
// A line: date and time, server, port, action, the reason's text for a forced
// disconnect or a denial (else " "), user, IP address (empty for none),
// NetBIOS name, IPX address, and for a disconnect the duration; no field is
// quoted. The connect's information and the byte counters are not exported.

#include "core/log/logstore.h"
#include "core/stats/localtime.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace SessionExportMode {
inline constexpr int All = 0;      // every day log there is
inline constexpr int LastDays = 1; // today and the days before it
inline constexpr int Range = 2;    // From up to the day before To; From alone when they are equal
} // namespace SessionExportMode

struct CSessionExportSettings {
    int mode = SessionExportMode::All;
    int days = 0;
    QDate from, to;
    QString fileName;

    // The information message that stops these settings, or empty.
    QString Problem() const;
};

struct CSessionExportResult {
    bool written = false; // the file holds the whole export
    bool cancelled = false;
    qint64 events = 0;
    int logs = 0;      // day logs read
    QString error;     // why nothing was written
    QStringList notes; // logs left out, and why
};

// Told the percentage done after every day; false cancels the export.
using CSessionExportProgress = std::function<bool(int percent)>;

class CSessionExportWriter {
public:
    // dateTime gives the console's text of a time, with or without the date
    // (the document's TimeToLocalString); plainSeconds: durations in seconds.
    CSessionExportWriter(std::function<QString(qint64 time, bool withDate)> dateTime, bool plainSeconds);

    static std::string Header();
    // Appends a line for every event of the store, in the store's order.
    void Append(const CLogStore& store, std::string* out);

private:
    void AppendTime(qint64 time, std::string* out);
    void AppendLasted(qint32 seconds, std::string* out);

    std::function<QString(qint64, bool)> m_dateTime;
    bool m_plainSeconds;
    // The texts of times repeat: the date per local day, the time per second
    // of the day (a day whose text is not date, blank, time is not cached).
    struct DayText {
        bool cached = false;
        std::string date; // with the blank after it
    };
    CLocalTime m_local;
    std::unordered_map<qint64, DayText> m_days;
    qint64 m_lastDay = 0;
    const DayText* m_lastText = nullptr;
    std::vector<std::string> m_times;
    std::array<std::array<std::string, 10>, 3> m_reasons;
};
