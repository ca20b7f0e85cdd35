#pragma once
// What the port detail view shows of one port: the rows of its four groups, the
// texts written into them from a classic RAS server's port records or from the
// Routing and RAS port file, the compression figures and the load of the line.

#include "platform/rassapi.h"

#include <QList>
#include <QString>

#include <array>
#include <functional>
#include <optional>

namespace PortDetail {

// The rows, in the order they are created.
enum Row {
    // "Current Session"
    UserAccount,
    ComputerName,
    SessionStarted,
    IpAddress,
    IpxAddress,
    NetBiosName,
    UsingPpp,
    // "Device Data"
    DeviceName,
    DeviceType,
    MediaName,
    MediaType,
    LineCondition,
    LineSpeed,
    HardwareState,
    // "Session Statistics"
    BytesOut,
    BytesOutBeforeCompression,
    OutgoingRatio,
    FramesOut,
    BytesIn,
    BytesInAfterDecompression,
    IncomingRatio,
    FramesIn,
    // "Session Errors"
    CrcErrors,
    TimeoutErrors,
    AlignmentErrors,
    FramingErrors,
    HardwareOverruns,
    BufferErrors,
    RowCount
};

struct Group {
    const char* title;
    Row first;
    Row last;
};
inline constexpr std::array<Group, 4> kGroups = {{{"Current Session", UserAccount, UsingPpp},
                                                  {"Device Data", DeviceName, HardwareState},
                                                  {"Session Statistics", BytesOut, FramesIn},
                                                  {"Session Errors", CrcErrors, BufferErrors}}};

// A row's text before the first reading.
QString InitialText(Row row);

// Bytes before compression and the compression ratio in percent (integer
// arithmetic; a ratio of 0 when nothing was sent). Negative ratios are real:
// 1000 sent, 400 compressed, 0 uncompressed gives 600 and -66.
struct Compression {
    qint64 before = 0;
    qint64 ratio = 0;
};
Compression Compute(qint64 bytes, qint64 compressed, qint64 uncompressed);

// The line condition's text: the RAS record's codes 2 to 7 and the port file's
// 1 to 6 name the same six conditions; any other code is "NOT OPERATIONAL".
enum class Source { RasRecord, PortFile };
QString LineConditionText(qint64 code, Source source);
QString HardwareStateText(qint64 code);

// One reading: every row's new text (rows without one keep theirs), whether a
// user is connected, and what the buttons and the load graph need.
struct Reading {
    std::array<std::optional<QString>, RowCount> texts;
    bool connected = false;
    QString account; // the connected user's account name, without the domain
    qint64 bytesOut = 0;
    qint64 bytesIn = 0;
    qint64 lineSpeed = 0; // bits per second
};

// From the records a classic RAS server gave for the port.
Reading FromRasRecords(const OCL::RAS_PORT_1& port, const OCL::RAS_PORT_STATISTICS& statistics);

// From the Routing and RAS port file; read(key) gives a key's text (at most 199
// characters, "" when missing and "*" for a missing "UserName"). Some counters
// come from the last RAS statistics the document holds, not from the file.
Reading FromPortFile(const std::function<QString(const char* key)>& read,
                     const OCL::RAS_PORT_STATISTICS& last);

// The keys of the port file, in the order they are read.
extern const std::array<const char*, 26> kFileKeys;

// The load of the line in both directions, from one reading to the next: the
// bytes since the previous reading * 400 / line speed (0 at a speed of 0, and 0
// when the count did not change). Keeps a short history for the graph.
class CLoad {
public:
    static constexpr int kHistory = 60;

    void Add(qint64 bytesOut, qint64 bytesIn, qint64 lineSpeed);
    qint64 Outgoing() const { return m_outgoing; }
    qint64 Incoming() const { return m_incoming; }
    const QList<qint64>& OutgoingHistory() const { return m_outHistory; }
    const QList<qint64>& IncomingHistory() const { return m_inHistory; }

private:
    static qint64 Step(qint64 now, qint64* previous, qint64 lineSpeed);

    qint64 m_previousOut = 0;
    qint64 m_previousIn = 0;
    qint64 m_outgoing = 0;
    qint64 m_incoming = 0;
    QList<qint64> m_outHistory;
    QList<qint64> m_inHistory;
};

} // namespace PortDetail
