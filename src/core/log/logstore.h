#pragma once
// The events of one day as the document holds them: numbers as numbers, the
// repeated names as ids into small tables, the connect information in one
// arena. About 50 bytes an event, so a day of a million events fits easily.
//
// A store is filled by one thread (the loader) and finished; a finished store
// is read-only and shared between the document, its views and whoever else
// reads the day.

#include "core/log/logvalue.h"
#include "core/log/nametable.h"

#include <QString>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

// One event with its texts, for readers that want the whole record.
struct LogRecord {
    QString server;
    QString port;
    QString user;
    qint64 time = 0; // seconds since 1970, corrected for the server's time zone
    qint32 lasted = 0;
    qint32 action = CwLog::Unknown;
    quint32 ipAddress = 0;
    qint32 reason = CwLog::kNoReason;
    QString ipx;
    QString netbios;
    qint64 bytesIn = -1;
    qint64 bytesOut = -1;
    QString info;
};

class CLogStore {
public:
    // 40 bytes: what most events have is kept inline, the rest by id.
    struct Event {
        std::int32_t time; // the key as written; the channel adds the time-zone shift
        std::int32_t lasted;
        std::uint32_t ipAddress;
        std::int32_t reason;
        std::uint32_t channel;  // the section's server and port
        std::uint32_t user;     // in Users()
        std::uint32_t address;  // the IPX address and NetBIOS name, as a pair
        std::uint32_t info;     // offset of the length-prefixed text in the arena; 0 none
        std::uint32_t counters; // index of the byte counters; 0 both unknown
        std::int8_t action;
    };
    struct Channel {
        std::uint32_t server;
        std::uint32_t port;
        std::int64_t shift; // seconds added to the times of its events
    };

    CLogStore();

    void Reserve(std::size_t events);
    // The id of a section's server and port (cut to their widths already).
    std::uint32_t AddChannel(std::string_view server, std::string_view port);
    void Add(std::uint32_t channel, std::int32_t time, const CwLog::LogValue& value);
    // Moves the times of every event whose server is server (compared without
    // regard to case) by seconds.
    void ShiftTimes(const QString& server, std::int64_t seconds);
    // Display texts and sort ranks; call once filling is done.
    void Finish();

    std::size_t Count() const { return m_events.size(); }
    const Event& At(std::size_t i) const { return m_events[i]; }
    const Channel& ChannelOf(const Event& e) const { return m_channels[e.channel]; }
    std::uint32_t ServerId(const Event& e) const { return m_channels[e.channel].server; }
    std::uint32_t PortId(const Event& e) const { return m_channels[e.channel].port; }
    std::int64_t Time(const Event& e) const { return std::int64_t(e.time) + m_channels[e.channel].shift; }
    std::uint32_t IpxId(const Event& e) const { return m_addresses[e.address].ipx; }
    std::uint32_t NetbiosId(const Event& e) const { return m_addresses[e.address].netbios; }
    std::int64_t BytesIn(const Event& e) const { return m_counters[e.counters].in; }
    std::int64_t BytesOut(const Event& e) const { return m_counters[e.counters].out; }
    const CNameTable& Servers() const { return m_servers; }
    const CNameTable& Ports() const { return m_ports; }
    const CNameTable& Users() const { return m_users; }
    const CNameTable& Netbios() const { return m_netbios; }
    const CNameTable& Ipx() const { return m_ipx; }
    std::string_view InfoBytes(const Event& e) const {
        return {m_info.data() + e.info + 1, static_cast<unsigned char>(m_info[e.info])};
    }
    QString Info(const Event& e) const;

    LogRecord Record(std::size_t i) const;

    // What the store holds in memory, tables and arena included.
    std::size_t MemoryBytes() const;

    // The order of port names for sorting: by the number a name ends in where
    // both names end in one, else by text without regard to case. The rule is
    // not transitive over every set of names, so the ranks merge the numbered
    // names (by number, then text) with the others (by text), taking at each
    // step the one that the rule puts first.
    static std::vector<std::uint32_t> PortRanks(const std::vector<QString>& names);
    // The number a port name ends in: the trailing run of digits, never taking
    // in the first character; false when there is none.
    static bool TrailingNumber(const QString& name, std::uint64_t* number);

private:
    struct Address {
        std::uint32_t ipx, netbios;
    };
    struct Counters {
        std::int64_t in, out;
    };
    std::uint32_t AddressId(std::uint32_t ipx, std::uint32_t netbios);
    std::uint32_t AddInfo(std::string_view text);

    std::vector<Event> m_events;
    std::vector<Channel> m_channels;
    std::vector<Address> m_addresses;
    std::vector<Counters> m_counters;
    // Length-prefixed texts; offset 0 holds the empty one.
    std::string m_info;
    CNameTable m_servers, m_ports, m_users, m_netbios, m_ipx;
    // Lookups while filling, by the two ids packed into one number.
    std::unordered_map<std::uint64_t, std::uint32_t> m_channelIndex, m_addressIndex;
};
