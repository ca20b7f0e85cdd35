#pragma once
// The fetchers' notices to the user-interface thread: new server data (1045) or
// a new server state only (1046), with the server's index in the list. The
// record's identity rides along so a notice that outlived a change of the list
// still finds its server, or is dropped when the server is gone.

#include <QEvent>

#include <cstdint>

inline constexpr int WM_NEW_SERVER_DATA = 1045;
inline constexpr int WM_NEW_SERVER_STATE = 1046;

class CServerNotice : public QEvent {
public:
    static QEvent::Type EventType();

    CServerNotice(int message, std::size_t index, std::uint64_t serverId)
        : QEvent(EventType()), m_message(message), m_index(index), m_serverId(serverId) {}

    int Message() const { return m_message; }
    std::size_t Index() const { return m_index; }
    std::uint64_t ServerId() const { return m_serverId; }

private:
    int m_message;
    std::size_t m_index;
    std::uint64_t m_serverId;
};
