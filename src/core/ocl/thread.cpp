#include "core/ocl/thread.h"

namespace OCL {

Thread::~Thread() {
    Shutdown();
}

bool Thread::Start() {
    if (m_started.load())
        return false;
    m_started = true;
    m_alive = true;
    m_thread = std::thread(&Thread::Main, this);
    return true;
}

void Thread::Main() {
    m_exitCode = Run();
    {
        // Idle until the owner lets go; it wakes us instead of our polling.
        std::unique_lock lock(m_mutex);
        m_wake.wait(lock, [this] { return !m_alive.load(); });
    }
    m_finished = true;
}

void Thread::Shutdown() {
    if (!m_started.load())
        return;
    {
        std::lock_guard lock(m_mutex);
        m_alive = false;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

} // namespace OCL
