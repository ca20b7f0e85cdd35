#pragma once
// The shown day's figures: connections, denials, forced disconnects, the
// longest session and who made it, the most frequent user, connections by
// local hour; the texts of the statistics panel and of the saved hourly table.

#include "core/log/logstore.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <vector>

struct CDayStatistics {
    quint32 connections = 0;
    quint32 denied = 0;
    // Every disconnect whose reason is neither 0 nor 256, so ordinary hang-ups
    // (255) count as well: these figures have always counted them.
    quint32 forced = 0;
    std::array<quint32, 24> byHour{};
    quint32 maxHour = 0;
    quint32 graphScale = 100000;
    quint32 longest = 0;
    QString longestUser = QStringLiteral("n/a");
    quint32 frequentCount = 0;
    QString frequentUser = QStringLiteral("n/a");

    // Fills connections, denied and forced from every record.
    void CountSessions(const CLogStore& store);
    // Fills the rest, walking the records in their order: the first record of
    // the longest duration wins a tie, and the most frequent user is whoever
    // reached the highest count last. Users are told apart as the profile
    // functions tell keys apart (case and surrounding blanks do not count).
    void CountByHour(const CLogStore& store);

    // The top of the graph's axis: the smallest step of 5, 10, 20, 40, 80,
    // 100, 200, 400, 800, 1,000, 10,000, 100,000 above maxHour.
    static quint32 ScaleFor(quint32 maxHour);
    // "n/a", "%d seconds" up to a minute, "%d mins, %d secs" up to an hour,
    // then "%d hours, %d mins, %d secs".
    static QString LongestText(quint32 seconds);

    // The graph: horizontal grid lines, and the top of an hour's bar (the base
    // line is at 144) in the view's logical units.
    int GridLines() const { return Scale() == 5 ? 5 : 4; }
    int BarTop(int hour) const { return 144 - int(10000 / Scale() * byHour[std::size_t(hour)] / 100); }

    // The statistics panel, line by line, with each line's y in logical units.
    struct PanelLine {
        int y;
        QString label;
        QString value;
    };
    std::vector<PanelLine> Panel() const;

    // The saved hourly table (Windows text, CRLF) for the day given as text.
    QByteArray SaveText(const QString& dayText) const;

private:
    quint32 Scale() const { return graphScale == 0 ? 5 : graphScale; }
};
