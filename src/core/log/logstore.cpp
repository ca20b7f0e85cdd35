#include "core/log/logstore.h"
#include "core/log/largememory.h"

#include "core/app/ansitext.h"

#include <algorithm>
#include <limits>
#include <numeric>

CLogStore::CLogStore() {
    m_info.push_back('\0');
    m_counters.push_back({-1, -1});
    m_addresses.push_back({0, 0});
    m_addressIndex.emplace(0, 0);
}

std::uint32_t CLogStore::AddChannel(std::string_view server, std::string_view port) {
    const std::uint32_t s = m_servers.Intern(server);
    const std::uint32_t p = m_ports.Intern(port);
    const auto [it, added] =
        m_channelIndex.try_emplace((std::uint64_t(s) << 32) | p, std::uint32_t(m_channels.size()));
    if (added)
        m_channels.push_back({s, p, 0});
    return it->second;
}

void CLogStore::Reserve(std::size_t events) {
    m_events.reserve(events);
    CwMemory::PreferLargePages(m_events.data(), m_events.capacity() * sizeof(Event));
}

void CLogStore::Add(std::uint32_t channel, std::int32_t time, const CwLog::LogValue& value) {
    Event e{};
    e.time = time;
    e.lasted = value.lasted;
    e.ipAddress = value.ipAddress;
    e.reason = value.reason;
    e.channel = channel;
    e.action = std::int8_t(value.action);
    if (value.action != CwLog::Unknown)
        e.user = m_users.Intern(value.user);
    if (!value.ipx.empty() || !value.netbios.empty())
        e.address = AddressId(m_ipx.Intern(value.ipx), m_netbios.Intern(value.netbios));
    if (value.bytesIn != -1 || value.bytesOut != -1) {
        e.counters = std::uint32_t(m_counters.size());
        m_counters.push_back({value.bytesIn, value.bytesOut});
    }
    if (!value.info.empty())
        e.info = AddInfo(value.info);
    m_events.push_back(e);
}

std::uint32_t CLogStore::AddressId(std::uint32_t ipx, std::uint32_t netbios) {
    const auto [it, added] =
        m_addressIndex.try_emplace((std::uint64_t(ipx) << 32) | netbios, std::uint32_t(m_addresses.size()));
    if (added)
        m_addresses.push_back({ipx, netbios});
    return it->second;
}

std::uint32_t CLogStore::AddInfo(std::string_view text) {
    // The parse cuts the text to its width, so its length fits the prefix byte.
    const std::size_t length = std::min<std::size_t>(text.size(), CwLog::kInfoChars);
    const auto offset = std::uint32_t(m_info.size());
    m_info.push_back(char(length));
    m_info.append(text.data(), length);
    return offset;
}

void CLogStore::ShiftTimes(const QString& server, std::int64_t seconds) {
    for (Channel& channel : m_channels)
        if (CAnsi::ToQString(m_servers.Text(channel.server)).compare(server, Qt::CaseInsensitive) == 0)
            channel.shift += seconds;
}

void CLogStore::Finish() {
    m_servers.Finish();
    m_ports.Finish();
    m_users.Finish();
    m_netbios.Finish();
    m_ipx.Finish();
    std::vector<QString> ports;
    ports.reserve(m_ports.Count());
    for (std::uint32_t id = 0; id < m_ports.Count(); ++id)
        ports.push_back(m_ports.Display(id));
    m_ports.SetRanks(PortRanks(ports));
}

QString CLogStore::Info(const Event& e) const {
    return CAnsi::ToQString(InfoBytes(e));
}

LogRecord CLogStore::Record(std::size_t i) const {
    const Event& e = m_events[i];
    LogRecord r;
    r.server = m_servers.Display(ServerId(e));
    r.port = m_ports.Display(PortId(e));
    r.user = m_users.Display(e.user);
    r.time = Time(e);
    r.lasted = e.lasted;
    r.action = e.action;
    r.ipAddress = e.ipAddress;
    r.reason = e.reason;
    r.ipx = m_ipx.Display(IpxId(e));
    r.netbios = m_netbios.Display(NetbiosId(e));
    r.bytesIn = BytesIn(e);
    r.bytesOut = BytesOut(e);
    r.info = Info(e);
    return r;
}

std::size_t CLogStore::MemoryBytes() const {
    // A hash map's node: the pair, the next pointer and the cached hash; plus its bucket.
    constexpr std::size_t kNode = sizeof(std::uint64_t) + sizeof(std::uint32_t) + 3 * sizeof(void*);
    return sizeof *this + m_events.capacity() * sizeof(Event) + m_channels.capacity() * sizeof(Channel) +
           m_addresses.capacity() * sizeof(Address) + m_counters.capacity() * sizeof(Counters) +
           (m_channelIndex.size() + m_addressIndex.size()) * kNode + m_info.capacity() +
           m_servers.MemoryBytes() + m_ports.MemoryBytes() + m_users.MemoryBytes() + m_netbios.MemoryBytes() +
           m_ipx.MemoryBytes();
}

bool CLogStore::TrailingNumber(const QString& name, std::uint64_t* number) {
    qsizetype first = name.size();
    while (first > 1 && name[first - 1].isDigit() && name[first - 1].unicode() < 128)
        --first;
    // A name of digits only has no number.
    if (first == name.size() || (first == 1 && name[0].isDigit() && name[0].unicode() < 128))
        return false;
    // Port names are at most 19 characters, so the digits fit; saturate anyway.
    std::uint64_t n = 0;
    for (qsizetype i = first; i < name.size(); ++i) {
        const std::uint64_t digit = name[i].unicode() - u'0';
        n = n > (std::numeric_limits<std::uint64_t>::max() - digit) / 10
                ? std::numeric_limits<std::uint64_t>::max()
                : n * 10 + digit;
    }
    *number = n;
    return true;
}

std::vector<std::uint32_t> CLogStore::PortRanks(const std::vector<QString>& names) {
    struct Numbered {
        std::uint64_t number;
        std::uint32_t id;
    };
    std::vector<Numbered> numbered;
    std::vector<std::uint32_t> plain;
    for (std::uint32_t id = 0; id < names.size(); ++id) {
        std::uint64_t n = 0;
        if (TrailingNumber(names[id], &n))
            numbered.push_back({n, id});
        else
            plain.push_back(id);
    }
    const auto textLess = [&](std::uint32_t a, std::uint32_t b) {
        return names[a].compare(names[b], Qt::CaseInsensitive) < 0;
    };
    std::sort(numbered.begin(), numbered.end(), [&](const Numbered& a, const Numbered& b) {
        return a.number != b.number ? a.number < b.number : textLess(a.id, b.id);
    });
    std::sort(plain.begin(), plain.end(), textLess);

    std::vector<std::uint32_t> order;
    order.reserve(names.size());
    std::size_t n = 0, p = 0;
    while (n < numbered.size() || p < plain.size()) {
        if (p == plain.size() || (n < numbered.size() && !textLess(plain[p], numbered[n].id)))
            order.push_back(numbered[n++].id);
        else
            order.push_back(plain[p++]);
    }
    std::vector<std::uint32_t> ranks(names.size(), 0);
    std::uint32_t rank = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && names[order[i - 1]].compare(names[order[i]], Qt::CaseInsensitive) != 0)
            ++rank;
        ranks[order[i]] = rank;
    }
    return ranks;
}
