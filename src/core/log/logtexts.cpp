#include "core/log/logtexts.h"

using namespace Qt::StringLiterals;

namespace {

struct ColumnTexts {
    const char16_t* list;
    const char16_t* print;
    const char16_t* save;
    const char16_t* customize;
};

constexpr std::array<ColumnTexts, LogColumn::Count> kColumns{{
    {u"Time", u"Time/Date", u"Time/Date", u"Time"},
    {u"Server", u"Server", u",Server", u"Server"},
    {u"Port", u"Port", u",Port", u"Port"},
    {u"Action", u"Action", u",Action", u"Action"},
    {u"Info", u"Information", u",Information", u"Information"},
    {u"User", u"User Account", u",User", u"Username"},
    {u"IP", u"IP Address", u",IP", u"IP Address"},
    {u"NetBIOS", u"NetBIOS", u",NetBIOS", u"NetBIOS"},
    {u"IPX", u"IPX", u",IPX", u"IPX Nodename"},
    {u"Lasted", u"Lasted", u",Lasted", u"Session Lasted"},
    {u"Bytes In", u"Bytes In", u",Bytes In", u"Data In"},
    {u"Bytes Out", u"Bytes Out", u",Bytes Out", u"Data Out"},
}};

QString Text(const char16_t* text) {
    return QString::fromUtf16(text);
}

} // namespace

QString LogColumn::ListTitle(int column) {
    return Text(kColumns[std::size_t(column)].list);
}
QString LogColumn::PrintTitle(int column) {
    return Text(kColumns[std::size_t(column)].print);
}
QString LogColumn::SaveHeader(int column) {
    return Text(kColumns[std::size_t(column)].save);
}
QString LogColumn::CustomizeLabel(int column) {
    return Text(kColumns[std::size_t(column)].customize);
}

std::vector<int> LogColumn::Visible(quint32 mask) {
    std::vector<int> columns;
    for (int c = 0; c < Count; ++c)
        if (c == Time || (mask & (1u << c)))
            columns.push_back(c);
    return columns;
}

int LogText::ImageIndex(qint32 action, qint32 reason) {
    switch (action) {
    case CwLog::Disconnect:
        return CwLog::IsForced(action, reason) ? 0 : 3;
    case CwLog::Connect:
        return 1;
    case CwLog::Denied:
        return 2;
    default:
        return -1;
    }
}

QString LogText::ActionText(qint32 action) {
    switch (action) {
    case CwLog::Disconnect:
        return u"Disconnect"_s;
    case CwLog::Connect:
        return u"Connect"_s;
    case CwLog::Denied:
        return u"Denied"_s;
    default:
        return {};
    }
}

QString LogText::ReasonText(qint32 action, qint32 reason) {
    if (action == CwLog::Denied) {
        switch (reason) {
        case 1:
            return u"User not defined"_s;
        case 2:
            return u"User Account expired"_s;
        case 3:
            return u"User Total Time Reached"_s;
        case 4:
            return u"User already connected"_s;
        case 5:
            return u"Access denied on Port"_s;
        case 6:
            return u"No more time this period"_s;
        case 9:
            return u"Idle Timeout"_s;
        default:
            return {};
        }
    }
    if (action == CwLog::Disconnect) {
        switch (reason) {
        case 1:
            return u"Port Max Time Reached"_s;
        case 2:
            return u"User Max Session Time Reached"_s;
        case 3:
            return u"User Max Total Time Reached"_s;
        case 9:
            return u"Idle Timeout"_s;
        default:
            return {};
        }
    }
    return {};
}

QString LogText::LastedText(qint32 seconds, bool plainSeconds) {
    if (plainSeconds)
        return QString::number(seconds);
    const qint32 hours = seconds / 3600;
    const qint32 minutes = (seconds - hours * 3600) / 60;
    const qint32 rest = seconds - hours * 3600 - minutes * 60;
    return QString::asprintf("%d\"%.02d'%.02d", hours, minutes, rest);
}

QString LogText::BytesText(qint64 bytes) {
    if (bytes == -1)
        return {};
    const QString digits = QString::number(bytes);
    const qsizetype first = digits.startsWith(u'-') ? 1 : 0;
    QString out = digits.left(first);
    for (qsizetype i = first; i < digits.size(); ++i) {
        const qsizetype remaining = digits.size() - i;
        if (i > first && remaining % 3 == 0)
            out += u',';
        out += digits[i];
    }
    return out;
}

QString LogText::IpText(quint32 address) {
    return QString::asprintf("%d.%d.%d.%d", int(address >> 24), int((address >> 16) & 0xFF),
                             int((address >> 8) & 0xFF), int(address & 0xFF));
}

QString LogCellText(const CLogStore& store, std::size_t i, int column, const CLogCellFormat& format) {
    const CLogStore::Event& e = store.At(i);
    // Addresses, duration and counters belong to disconnects only.
    const bool disconnect = e.action == CwLog::Disconnect;
    switch (column) {
    case LogColumn::Time:
        return format.timeOfDay ? format.timeOfDay(store.Time(e)) : QString::number(store.Time(e));
    case LogColumn::Server:
        return store.Servers().Display(store.ServerId(e));
    case LogColumn::Port:
        return store.Ports().Display(store.PortId(e));
    case LogColumn::Action:
        return LogText::ActionText(e.action);
    case LogColumn::Info:
        return e.action == CwLog::Connect ? store.Info(e) : LogText::ReasonText(e.action, e.reason);
    case LogColumn::User:
        return store.Users().Display(e.user);
    case LogColumn::Ip:
        return disconnect ? LogText::IpText(e.ipAddress) : QString();
    case LogColumn::NetBios:
        return disconnect ? store.Netbios().Display(store.NetbiosId(e)) : QString();
    case LogColumn::Ipx:
        return disconnect ? store.Ipx().Display(store.IpxId(e)) : QString();
    case LogColumn::Lasted:
        return disconnect ? LogText::LastedText(e.lasted, format.plainSeconds) : QString();
    case LogColumn::BytesIn:
        return disconnect ? LogText::BytesText(store.BytesIn(e)) : QString();
    case LogColumn::BytesOut:
        return disconnect ? LogText::BytesText(store.BytesOut(e)) : QString();
    default:
        return {};
    }
}
