#include "core/stats/sessionexport.h"

#include "core/app/ansitext.h"
#include "core/log/logtexts.h"
#include "core/stats/localtime.h"

#include <algorithm>
#include <charconv>

using namespace Qt::StringLiterals;

namespace {

std::string Bytes(const QString& text) {
    return CAnsi::FromQString(text);
}

void AppendNumber(std::int64_t value, std::string* out) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out->append(digits, std::size_t(end - digits));
}

void AppendTwoDigits(int value, std::string* out) {
    out->push_back(char('0' + value / 10));
    out->push_back(char('0' + value % 10));
}

// The texts of a name table's ids, in the file's code page (a store need not
// be finished).
std::vector<std::string> EncodedNames(const CNameTable& table) {
    std::vector<std::string> names(table.Count());
    for (std::uint32_t id = 0; id < table.Count(); ++id) {
        // ASCII reads and writes as itself; other bytes go through the display text.
        const std::string_view text = table.Text(id);
        const bool plain =
            std::all_of(text.begin(), text.end(), [](char c) { return c != 0 && (c & 0x80) == 0; });
        if (plain) {
            names[id] = std::string(text);
            continue;
        }
        const QString display = CAnsi::ToQString(text);
        names[id] = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; }) &&
                            qsizetype(text.size()) == display.size()
                        ? std::string(text)
                        : Bytes(display);
    }
    return names;
}

} // namespace

QString CSessionExportSettings::Problem() const {
    if (fileName.isEmpty())
        return u"You need to specify an output filename!"_s;
    if (mode == SessionExportMode::LastDays && days <= 0)
        return u"You need to specify at least 1 day to export."_s;
    if (mode == SessionExportMode::Range && (!from.isValid() || !to.isValid() || to < from))
        return u"Invalid date range selected."_s;
    return {};
}

CSessionExportWriter::CSessionExportWriter(std::function<QString(qint64, bool)> dateTime, bool plainSeconds)
    : m_shared(std::make_shared<Shared>()) {
    m_shared->dateTime = std::move(dateTime);
    m_shared->plainSeconds = plainSeconds;
    m_shared->times = std::vector<std::atomic<const std::string*>>(86400);
    for (int action = 0; action < 3; ++action)
        for (int reason = 0; reason < 10; ++reason) {
            const QString text = LogText::ReasonText(action, reason);
            m_shared->reasons[std::size_t(action)][std::size_t(reason)] =
                text.isEmpty() ? " ," : Bytes(text + u',');
        }
}

std::string CSessionExportWriter::Header() {
    return "Time/Date,Server,Port,Action,Information,User,IP,NetBIOS,IPX,Lasted\r\n";
}

void CSessionExportWriter::AppendTime(qint64 time, std::string* out) {
    Shared& shared = *m_shared;
    const CLocalTime::Split at = m_local.At(time);
    if (!m_lastText || m_lastDay != at.day) {
        std::lock_guard lock(shared.mutex);
        auto [it, added] = shared.days.try_emplace(at.day);
        if (added) {
            const QString full = shared.dateTime(time, true);
            const QString clock = shared.dateTime(time, false);
            it->second.cached = full.endsWith(u' ' + clock);
            if (it->second.cached)
                it->second.date = Bytes(full.chopped(clock.size()));
        }
        m_lastDay = at.day;
        m_lastText = &it->second;
    }
    if (!m_lastText->cached) {
        std::lock_guard lock(shared.mutex);
        out->append(Bytes(shared.dateTime(time, true)));
        return;
    }
    std::atomic<const std::string*>& slot = shared.times[std::size_t(at.second)];
    const std::string* clock = slot.load(std::memory_order_acquire);
    if (!clock) {
        std::lock_guard lock(shared.mutex);
        clock = slot.load(std::memory_order_relaxed);
        if (!clock) {
            clock = &shared.clocks.emplace_back(Bytes(shared.dateTime(time, false)));
            slot.store(clock, std::memory_order_release);
        }
    }
    out->append(m_lastText->date);
    out->append(*clock);
}

void CSessionExportWriter::AppendLasted(qint32 seconds, std::string* out) {
    if (m_shared->plainSeconds) {
        AppendNumber(seconds, out);
    } else if (seconds < 0) {
        out->append(Bytes(LogText::LastedText(seconds, false)));
    } else {
        // h"mm'ss, as the log view writes it.
        AppendNumber(seconds / 3600, out);
        out->push_back('"');
        AppendTwoDigits(seconds % 3600 / 60, out);
        out->push_back('\'');
        AppendTwoDigits(seconds % 60, out);
    }
}

void CSessionExportWriter::Append(const CLogStore& store, std::string* out) {
    const std::vector<std::string> servers = EncodedNames(store.Servers()),
                                   ports = EncodedNames(store.Ports()), users = EncodedNames(store.Users()),
                                   netbios = EncodedNames(store.Netbios()), ipx = EncodedNames(store.Ipx());
    for (std::size_t i = 0; i < store.Count(); ++i) {
        const CLogStore::Event& e = store.At(i);
        AppendTime(store.Time(e), out);
        out->push_back(',');
        out->append(servers[store.ServerId(e)]);
        out->push_back(',');
        out->append(ports[store.PortId(e)]);
        out->push_back(',');
        switch (e.action) {
        case CwLog::Disconnect:
            out->append("Disconnect");
            break;
        case CwLog::Connect:
            out->append("Connect");
            break;
        case CwLog::Denied:
            out->append("Denied");
            break;
        default:
            break;
        }
        out->push_back(',');
        const bool reasoned = e.action >= 0 && e.action <= 2 && e.reason >= 0 && e.reason <= 9;
        out->append(reasoned ? m_shared->reasons[std::size_t(e.action)][std::size_t(e.reason)] : " ,");
        out->append(users[e.user]);
        out->push_back(',');
        if (e.ipAddress != 0) {
            for (int shift = 24; shift >= 0; shift -= 8) {
                AppendNumber((e.ipAddress >> shift) & 0xFF, out);
                out->push_back(shift ? '.' : ',');
            }
        } else {
            out->push_back(',');
        }
        out->append(netbios[store.NetbiosId(e)]);
        out->push_back(',');
        out->append(ipx[store.IpxId(e)]);
        if (e.action == CwLog::Disconnect) {
            out->push_back(',');
            AppendLasted(e.lasted, out);
            out->append("\r\n");
        } else {
            out->append(", \r\n");
        }
    }
}
