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
#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
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
    // A writer for another thread that shares this one's texts; dateTime is
    // then called by one of them at a time.
    CSessionExportWriter Another() const { return CSessionExportWriter(m_shared); }

    static std::string Header();
    // Appends a line for every event of the store, in the store's order.
    void Append(const CLogStore& store, std::string* out);

private:
    // The texts of times repeat: the date per local day, the time per second
    // of the day (a day whose text is not date, blank, time is not cached).
    struct DayText {
        bool cached = false;
        std::string date; // with the blank after it
    };
    struct Shared {
        std::function<QString(qint64, bool)> dateTime;
        bool plainSeconds = false;
        std::array<std::array<std::string, 10>, 3> reasons;
        std::mutex mutex; // over days, times' filling, clocks and dateTime
        std::unordered_map<qint64, DayText> days;
        std::vector<std::atomic<const std::string*>> times;
        std::deque<std::string> clocks;
    };
    explicit CSessionExportWriter(std::shared_ptr<Shared> shared) : m_shared(std::move(shared)) {}
    void AppendTime(qint64 time, std::string* out);
    void AppendLasted(qint32 seconds, std::string* out);

    std::shared_ptr<Shared> m_shared;
    CLocalTime m_local;
    qint64 m_lastDay = 0;
    const DayText* m_lastText = nullptr;
};
