#pragma once
// The log view's columns and the texts of its cells: one function per cell
// feeds the screen, the clipboard, the saved file and the printout.

#include "core/log/logstore.h"

#include <QString>

#include <array>
#include <functional>
#include <vector>

namespace LogColumn {
// Column ids; column id n is shown when bit n of the column mask is set.
enum Id { Time, Server, Port, Action, Info, User, Ip, NetBios, Ipx, Lasted, BytesIn, BytesOut, Count };

// Titles of the list, the printout, the saved file's header and the customise page.
QString ListTitle(int column);
QString PrintTitle(int column);
QString SaveHeader(int column);
QString CustomizeLabel(int column);

// The shown columns in bit order. The time is always shown: the customise page
// always sets it, and the saved file's header always begins with it.
std::vector<int> Visible(quint32 mask);
} // namespace LogColumn

namespace LogText {
// The images of the rows: 0 forced disconnect, 1 connect, 2 denied,
// 3 ordinary disconnect; -1 (no image) for an event of unknown kind.
int ImageIndex(qint32 action, qint32 reason);
QString ActionText(qint32 action);
// The reason's text for a denial or a forced disconnect; empty for others.
QString ReasonText(qint32 action, qint32 reason);
// h"mm'ss, or plain seconds.
QString LastedText(qint32 seconds, bool plainSeconds);
// Empty for -1, else the decimal number with a comma before every third digit from the right.
QString BytesText(qint64 bytes);
QString IpText(quint32 address);
} // namespace LogText

// How cells are written: the time of day through the document's formatter.
struct CLogCellFormat {
    std::function<QString(qint64 time)> timeOfDay;
    bool plainSeconds = false;
};

// The text of one cell of a store's event i.
QString LogCellText(const CLogStore& store, std::size_t i, int column, const CLogCellFormat& format);
