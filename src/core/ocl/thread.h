#pragma once
// Worker-thread base of the in-house library. Start sets started and alive and
// runs Run() on a new thread; after Run() the thread idles until its owner lets
// it go, then sets finished as its last act. Destroying the object asks the
// thread to end and blocks until it has: at most as long as Run() still needs.
//
// Threading contract: Start, the destructor and Shutdown belong to the owner's
// thread; Run belongs to the worker. A subclass must call Shutdown() first thing
// in its own destructor, so that Run() never outlives the subclass's members.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace OCL {

class Thread {
public:
    Thread() = default;
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    bool Start();
    bool Started() const { return m_started.load(); }
    bool Alive() const { return m_alive.load(); }
    bool Finished() const { return m_finished.load(); }
    // Run()'s result once finished.
    int ExitCode() const { return m_exitCode.load(); }

protected:
    virtual int Run() = 0;
    // Asks the thread to end and waits until it has.
    void Shutdown();

private:
    void Main();

    std::atomic<bool> m_started{false};
    std::atomic<bool> m_alive{false};
    std::atomic<bool> m_finished{false};
    std::atomic<int> m_exitCode{0};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread;
};

} // namespace OCL
