#pragma once
// A manual-reset event: once set it stays set until reset, and wakes every waiter.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

namespace OCL {

class ManualResetEvent {
public:
    explicit ManualResetEvent(std::string name = {}, bool initiallySet = false)
        : m_name(std::move(name)), m_set(initiallySet) {}

    void Set() {
        {
            std::lock_guard lock(m_mutex);
            m_set = true;
        }
        m_changed.notify_all();
    }
    void Reset() {
        std::lock_guard lock(m_mutex);
        m_set = false;
    }
    bool IsSet() const {
        std::lock_guard lock(m_mutex);
        return m_set;
    }
    // True when set within the time.
    bool Wait(std::chrono::milliseconds timeout) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [this] { return m_set; });
    }
    const std::string& Name() const { return m_name; }

private:
    std::string m_name;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_set;
};

} // namespace OCL
