#include "core/stats/usagegraph.h"

#include "core/app/ansitext.h"
#include "ini/inifile.h"

#include <QDateTime>

#include <algorithm>
#include <numeric>
#include <string>
#include <unordered_map>

namespace {

// The intervals of one "server\port", named as first written.
struct Section {
    std::string name;
    std::vector<CUsageInterval> intervals;
};

class CSections {
public:
    explicit CSections(const CLogStore& store) : m_store(store) {}

    std::vector<CUsageInterval>& Of(const CLogStore::Event& e) {
        if (e.channel >= m_ofChannel.size())
            m_ofChannel.resize(std::size_t(e.channel) + 1, -1);
        int& index = m_ofChannel[e.channel];
        if (index < 0) {
            std::string name(m_store.Servers().Text(m_store.ServerId(e)));
            name += '\\';
            name += m_store.Ports().Text(m_store.PortId(e));
            const auto [it, added] = m_byName.try_emplace(OCL::Ini::FoldedName(name), int(m_sections.size()));
            if (added)
                m_sections.push_back({std::move(name), {}});
            index = it->second;
        }
        return m_sections[std::size_t(index)].intervals;
    }
    std::vector<Section>& All() { return m_sections; }

private:
    const CLogStore& m_store;
    std::vector<int> m_ofChannel;
    std::unordered_map<std::string, int> m_byName;
    std::vector<Section> m_sections;
};

// The number from the name's first digit on, as atoi reads it there.
int PortNumber(std::string_view name) {
    const auto digit = std::find_if(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digit == name.end() ? 0 : CwLog::ReadInt32(name.substr(std::size_t(digit - name.begin())));
}

} // namespace

int CUsageGraph::LaneCount() const {
    int lanes = 0;
    for (const CUsageServer& server : servers)
        lanes += 1 + int(server.ports.size());
    return lanes;
}

CUsageGraph CUsageGraph::Build(const CLogStore& store) {
    const CNameTable& ports = store.Ports();
    // Port names as the port change sees them: folded, and whether empty.
    std::vector<std::uint32_t> portKey(ports.Count());
    {
        std::unordered_map<std::string, std::uint32_t> keys;
        for (std::uint32_t id = 0; id < ports.Count(); ++id)
            portKey[id] = keys.try_emplace(OCL::Ini::FoldedName(ports.Text(id)), std::uint32_t(keys.size()))
                              .first->second;
    }

    CSections sections(store);
    const CLogStore::Event* previous = nullptr;
    qint64 pending = 0;
    const std::size_t count = store.Count();
    for (std::size_t i = 0; i < count; ++i) {
        const CLogStore::Event& e = store.At(i);
        const bool last = i + 1 == count;
        const qint64 time = store.Time(e);
        if (e.action == CwLog::Disconnect) {
            sections.Of(e).push_back({time - e.lasted, e.lasted});
            pending = 0;
        }
        if (previous && !ports.Text(store.PortId(*previous)).empty() &&
            (last || portKey[store.PortId(e)] != portKey[store.PortId(*previous)]) &&
            (pending != 0 || last)) {
            const qint64 start = last && e.action == CwLog::Connect ? time : pending;
            if (start != 0)
                sections.Of(*previous).push_back({start, 86400});
            pending = 0;
        }
        if (e.action == CwLog::Connect)
            pending = time;
        previous = &e;
    }

    // Regrouped by server: the section name split at its first backslash.
    CUsageGraph graph;
    std::unordered_map<std::string, std::size_t> serverIndex;
    for (Section& section : sections.All()) {
        const std::string_view name = section.name;
        const std::size_t slash = name.find('\\');
        const std::string_view server = name.substr(0, slash), port = name.substr(slash + 1);
        const auto [it, added] = serverIndex.try_emplace(OCL::Ini::FoldedName(server), graph.servers.size());
        if (added)
            graph.servers.push_back({CAnsi::ToQString(server), {}});
        graph.servers[it->second].ports.push_back(
            {CAnsi::ToQString(port), PortNumber(port), std::move(section.intervals)});
    }
    // Smallest number first; of equal numbers the later in the list first.
    for (CUsageServer& server : graph.servers) {
        std::vector<std::size_t> order(server.ports.size());
        std::iota(order.begin(), order.end(), 0);
        std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            const int na = server.ports[a].number, nb = server.ports[b].number;
            return na != nb ? na < nb : a > b;
        });
        std::vector<CUsagePort> sorted;
        sorted.reserve(order.size());
        for (const std::size_t i : order)
            sorted.push_back(std::move(server.ports[i]));
        server.ports = std::move(sorted);
    }
    return graph;
}

CUsageDay CUsageDay::For(QDate day, qint64 now) {
    CUsageDay usage;
    usage.dayStart = QDateTime(day, QTime(0, 0)).toSecsSinceEpoch();
    usage.nextMidnight = QDateTime(day.addDays(1), QTime(0, 0)).toSecsSinceEpoch();
    usage.now = now;
    usage.today = QDateTime::fromSecsSinceEpoch(now).date() == day;
    return usage;
}

std::vector<CUsageBar> UsageBars(const std::vector<CUsageInterval>& intervals, const CUsageDay& day) {
    constexpr qint64 kAxis = 100, kEnd = 820, kUnit = 120;
    const qint64 nowAt = kAxis + (day.now - day.dayStart) / kUnit;
    std::vector<CUsageBar> bars;
    for (const CUsageInterval& interval : intervals) {
        qint64 start = interval.start, length = interval.length;
        if (start >= day.nextMidnight)
            continue;
        if (start < day.dayStart) {
            length -= day.dayStart - start;
            start = day.dayStart;
        }
        length = std::max<qint64>(length, 0);
        // The last hour of a 25-hour day has no room left: it stays at the edge.
        qint64 left = std::min(kAxis + (start - day.dayStart) / kUnit, kEnd);
        qint64 right = std::min(left + length / kUnit, kEnd);
        if (day.today) {
            if (left > nowAt)
                continue;
            right = std::min(right, nowAt);
        }
        right = std::max(right, left);
        bars.push_back({int(left + 1), int(std::max<qint64>(right - left, 1))});
    }
    return bars;
}
