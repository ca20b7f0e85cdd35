#include "core/ports/portdetail.h"

#include "core/app/ansitext.h"
#include "core/ports/portsviewfile.h"
#include "platform/ansi.h"

#include <QDateTime>
#include <QHash>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace PortDetail {
namespace {

const std::array<const char*, RowCount> kInitialTexts = {
    "User account:  ",
    "Computer name:  ",
    "Session started:  ",
    "IP address:  ",
    "IPX address:  ",
    "NetBIOS name:  ",
    "Using PPP:  No",
    "Device name:  ",
    "Device type:  ",
    "Media name:  ",
    "Media type:  ",
    "Line condition:  ",
    "Line speed:  ",
    "Hardware state:  ",
    "Bytes out:  ",
    "Bytes out before compression:  ",
    "Outgoing Compression ratio:  ",
    "Frames out:  ",
    "Bytes in:  ",
    "Bytes in after decompression:  ",
    "Incoming Compression ratio:  ",
    "Frames in:  ",
    "CRC errors:  ",
    "Time-out errors:  ",
    "Alignment errors:  ",
    "Framing errors:  ",
    "Hardware overruns:  ",
    "Buffer errors:  ",
};

const char* const kConditions[6] = {"DISCONNECTED",   "CALLING BACK",  "WAITING FOR CALL",
                                    "AUTHENTICATING", "AUTHENTICATED", "INITIALIZING"};

QString Wide(const WCHAR* text) {
    return CAnsi::ToQString(Ansi::FromUtf16(std::u16string_view(text)));
}

// Counters are shown as the service's "%d" shows a DWORD.
QString Number(qint64 value) {
    return QString::number(qint32(quint32(value)));
}

QString StartedText(qint64 start) {
    if (start == 0)
        return u"Session started:  "_s;
    return u"Session started:  "_s + QDateTime::fromSecsSinceEpoch(start).toString(u"HH:mm:ss"_s);
}

// The rows both forms fill alike from the traffic counters.
void SetTraffic(Reading* r, qint64 sent, qint64 sentCompressed, qint64 sentUncompressed, qint64 framesOut,
                qint64 received, qint64 receivedCompressed, qint64 receivedUncompressed) {
    const Compression out = Compute(sent, sentCompressed, sentUncompressed);
    const Compression in = Compute(received, receivedCompressed, receivedUncompressed);
    r->texts[BytesOut] = u"Outgoing bytes:  "_s + Number(sent);
    r->texts[BytesOutBeforeCompression] = u"Outgoing bytes before compress:  "_s + Number(out.before);
    r->texts[OutgoingRatio] = u"Outgoing compress ratio:  %1%"_s.arg(Number(out.ratio));
    r->texts[FramesOut] = u"Outgoing frames:  "_s + Number(framesOut);
    r->texts[BytesIn] = u"Incoming bytes:  "_s + Number(received);
    r->texts[BytesInAfterDecompression] = u"Incoming bytes before decompress:  "_s + Number(in.before);
    r->texts[IncomingRatio] = u"Incoming compress ratio:  %1%"_s.arg(Number(in.ratio));
    r->bytesOut = sent;
    r->bytesIn = received;
}

// What a reading without a connected user shows in the rows that need one.
void SetNoUser(Reading* r) {
    r->connected = false;
    r->account.clear();
    r->texts[UserAccount] = u"User name:  "_s;
    r->texts[UsingPpp] = u"Using PPP:  "_s;
    r->texts[LineSpeed] = u"Line speed:  "_s;
    r->texts[IpAddress] = u"IP address:  "_s;
}

} // namespace

const std::array<const char*, 26> kFileKeys = {
    "NetBIOS",     "DeviceName", "DeviceType",   "MediaName",  "UserName",   "LineSpeed",  "PortCond",
    "HWCond",      "AlignErr",   "BufOverErr",   "CrcErr",     "FramingErr", "HWOverErr",  "TOErr",
    "BytesXmit",   "BytesXcomp", "BytesXUncomp", "FramesXmit", "BytesRcved", "BytesRcomp", "BytesRUncomp",
    "FramesRcved", "NB",         "IP",           "IPX",        "Started"};

QString InitialText(Row row) {
    return QString::fromLatin1(kInitialTexts[std::size_t(row)]);
}

Compression Compute(qint64 bytes, qint64 compressed, qint64 uncompressed) {
    Compression c;
    c.before = bytes - compressed + uncompressed;
    c.ratio = c.before == 0 ? 0 : 100 - bytes * 100 / c.before;
    return c;
}

QString LineConditionText(qint64 code, Source source) {
    const qint64 first = source == Source::RasRecord ? 2 : 1;
    if (code < first || code > first + 5)
        return u"Line condition:  NOT OPERATIONAL"_s;
    return u"Line condition:  "_s + QString::fromLatin1(kConditions[code - first]);
}

QString HardwareStateText(qint64 code) {
    return code == 3 ? u"Hardware state:  HARDWARE FAILURE"_s : u"Hardware state:  OK"_s;
}

Reading FromRasRecords(const RAS_PORT_1& port, const RAS_PORT_STATISTICS& s) {
    Reading r;
    const RAS_PORT_0& p = port.rasport0;
    const QString user = Wide(p.wszUserName);
    const QString joined = Wide(p.wszLogonDomain) + u'\\' + user;
    r.texts[ComputerName] = u"Computer name:  "_s + Wide(p.wszComputer);
    r.texts[DeviceName] = u"Device name:  "_s + Wide(p.wszDeviceName);
    r.texts[DeviceType] = u"Device type:  "_s + Wide(p.wszDeviceType);
    r.texts[MediaName] = u"Media name:  "_s + Wide(p.wszMediaName);
    r.texts[UserAccount] = u"User name:  "_s + joined;
    r.texts[UsingPpp] = (p.Flags & RasPortFlags::PppClient) ? u"Using PPP:  YES"_s : u"Using PPP:  NO"_s;
    r.texts[LineSpeed] = u"Port speed:  %1 bps"_s.arg(Number(port.LineSpeed));
    r.texts[MediaType] = u"Media type:  UNKNOWN"_s;
    r.texts[LineCondition] = LineConditionText(port.LineCondition, Source::RasRecord);
    r.texts[HardwareState] = HardwareStateText(port.HardwareCondition);
    r.texts[AlignmentErrors] = u"Alignment errors:  "_s + Number(s.dwAlignmentErr);
    r.texts[BufferErrors] = u"Buffer overruns:  "_s + Number(s.dwBufferOverrunErr);
    r.texts[CrcErrors] = u"CRC errors:  "_s + Number(s.dwCrcErr);
    r.texts[FramingErrors] = u"Framing errors:  "_s + Number(s.dwFramingErr);
    r.texts[HardwareOverruns] = u"Hardware overruns:  "_s + Number(s.dwHardwareOverrunErr);
    r.texts[TimeoutErrors] = u"Timeouts:  "_s + Number(s.dwTimeoutErr);
    SetTraffic(&r, s.dwBytesXmited, s.dwBytesXmitedCompressed, s.dwBytesXmitedUncompressed, s.dwFramesXmited,
               s.dwBytesRcved, s.dwBytesRcvedCompressed, s.dwBytesRcvedUncompressed);
    r.texts[FramesIn] = u"Incoming frames:  "_s + Number(s.dwFramesRcved);
    // An address row is written only for a protocol the session negotiated.
    const RAS_PPP_PROJECTION_RESULT& proj = port.ProjResult;
    if (proj.nbf.dwError == 0)
        r.texts[NetBiosName] = u"NetBIOS name:  "_s + Wide(proj.nbf.wszWksta);
    if (proj.ip.dwError == 0)
        r.texts[IpAddress] = u"IP address:  "_s + Wide(proj.ip.wszAddress);
    if (proj.ipx.dwError == 0)
        r.texts[IpxAddress] = u"IPX address:  "_s + Wide(proj.ipx.wszAddress);
    r.texts[SessionStarted] = StartedText(p.dwStartSessionTime);
    r.lineSpeed = port.LineSpeed;
    r.connected = joined != u"\\"_s;
    r.account = user;
    if (!r.connected)
        SetNoUser(&r);
    return r;
}

Reading FromPortFile(const std::function<QString(const char* key)>& read, const RAS_PORT_STATISTICS& last) {
    QHash<QString, QString> v;
    for (const char* key : kFileKeys)
        v.insert(QString::fromLatin1(key), read(key));
    auto text = [&](const char* key) {
        return v.value(QString::fromLatin1(key));
    };
    auto number = [&](const char* key) {
        return ProfileNumber(text(key));
    };

    Reading r;
    r.texts[ComputerName] = u"Computer name:  "_s + text("NetBIOS");
    r.texts[DeviceName] = u"Device name:  "_s + text("DeviceName");
    r.texts[DeviceType] = u"Device type:  "_s + text("DeviceType");
    r.texts[MediaName] = u"Media name:  "_s + text("MediaName");
    const QString user = text("UserName");
    r.texts[UserAccount] = u"User name:  "_s + user;
    r.texts[UsingPpp] = u"Using PPP:  n/a"_s;
    r.texts[LineSpeed] = u"Port speed:  %1 bps"_s.arg(text("LineSpeed"));
    r.texts[MediaType] = u"Media type:  UNKNOWN"_s;
    r.texts[LineCondition] = LineConditionText(number("PortCond"), Source::PortFile);
    r.texts[HardwareState] = HardwareStateText(number("HWCond"));
    // Of the file's error counters only the alignment errors are shown; the
    // other rows, and the incoming frames, show the last RAS statistics read.
    r.texts[AlignmentErrors] = u"Alignment errors:  "_s + Number(number("AlignErr"));
    r.texts[BufferErrors] = u"Buffer overruns:  "_s + Number(last.dwBufferOverrunErr);
    r.texts[CrcErrors] = u"CRC errors:  "_s + Number(last.dwCrcErr);
    r.texts[FramingErrors] = u"Framing errors:  "_s + Number(last.dwFramingErr);
    r.texts[HardwareOverruns] = u"Hardware overruns:  "_s + Number(last.dwHardwareOverrunErr);
    r.texts[TimeoutErrors] = u"Timeouts:  "_s + Number(last.dwTimeoutErr);
    SetTraffic(&r, number("BytesXmit"), number("BytesXcomp"), number("BytesXUncomp"), number("FramesXmit"),
               number("BytesRcved"), number("BytesRcomp"), number("BytesRUncomp"));
    r.texts[FramesIn] = u"Incoming frames:  "_s + Number(last.dwFramesRcved);
    r.texts[NetBiosName] = u"NetBIOS name:  "_s + text("NB");
    r.texts[IpAddress] = u"IP address:  "_s + text("IP");
    r.texts[IpxAddress] = u"IPX address:  "_s + text("IPX");
    r.texts[SessionStarted] = StartedText(number("Started"));
    r.lineSpeed = number("LineSpeed");
    r.connected = user != u"*"_s;
    r.account = user.mid(user.lastIndexOf(u'\\') + 1);
    if (!r.connected)
        SetNoUser(&r);
    return r;
}

qint64 CLoad::Step(qint64 now, qint64* previous, qint64 lineSpeed) {
    if (now == *previous)
        return 0;
    const qint64 load = lineSpeed == 0 ? 0 : (now - *previous) * 400 / lineSpeed;
    *previous = now;
    return load;
}

void CLoad::Add(qint64 bytesOut, qint64 bytesIn, qint64 lineSpeed) {
    m_outgoing = Step(bytesOut, &m_previousOut, lineSpeed);
    m_incoming = Step(bytesIn, &m_previousIn, lineSpeed);
    m_outHistory.append(m_outgoing);
    m_inHistory.append(m_incoming);
    if (m_outHistory.size() > kHistory) {
        m_outHistory.removeFirst();
        m_inHistory.removeFirst();
    }
}

} // namespace PortDetail
