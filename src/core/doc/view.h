#pragma once
// Views registered with the document are told of changes through one entry
// point, with a hint code and an optional hint object.

#include <cstddef>

namespace Hint {
inline constexpr int None = 0;
inline constexpr int ServerListChanged = 20;
inline constexpr int UPDATE_NEW_PORTS = 21;
inline constexpr int UPDATE_NEW_USERS = 22;
inline constexpr int SelectNode = 23;
inline constexpr int DayChanged = 24;
inline constexpr int SaveData = 25;
inline constexpr int LogDisplayChanged = 26;
inline constexpr int NewServerData = 201;
inline constexpr int NewServerState = 202;
inline constexpr int NoHint = 666;
} // namespace Hint

class CHintObject {
public:
    virtual ~CHintObject() = default;
};

// Names the server a hint is about by its index in the server list.
class CUpdateServerHint : public CHintObject {
public:
    explicit CUpdateServerHint(std::size_t index) : m_index(index) {}
    std::size_t Index() const { return m_index; }

private:
    std::size_t m_index;
};

class IView {
public:
    virtual ~IView() = default;
    virtual void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) = 0;
};
