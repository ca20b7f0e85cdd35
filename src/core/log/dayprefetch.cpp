#include "core/log/dayprefetch.h"

#include <chrono>
#include <new>

CDayPrefetch::CDayPrefetch(std::size_t count, Load load, std::size_t ahead, unsigned workers)
    : m_count(count), m_ahead(ahead), m_load(std::move(load)), m_days(count) {
    for (unsigned i = 0; i < std::max(1u, workers) && i < count; ++i)
        m_workers.emplace_back([this] { Work(); });
}

CDayPrefetch::~CDayPrefetch() {
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    for (std::thread& worker : m_workers)
        worker.join();
}

void CDayPrefetch::Work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(
            lock, [this] { return m_stop || m_nextRead >= m_count || m_nextRead <= m_nextTaken + m_ahead; });
        if (m_stop || m_nextRead >= m_count)
            return;
        const std::size_t index = m_nextRead++;
        lock.unlock();
        Day day;
        try {
            day = m_load(index);
        } catch (const std::bad_alloc&) {
            day = Day{};
            day.outOfMemory = true;
        }
        lock.lock();
        m_days[index] = std::move(day);
        m_changed.notify_all();
    }
}

CDayPrefetch::Day CDayPrefetch::Take(std::size_t index, const std::function<void()>& waiting) {
    std::unique_lock lock(m_mutex);
    m_nextTaken = index;
    m_changed.notify_all();
    while (!m_days[index]) {
        if (!waiting) {
            m_changed.wait(lock);
            continue;
        }
        if (m_changed.wait_for(lock, std::chrono::milliseconds(20)) == std::cv_status::timeout) {
            lock.unlock();
            waiting();
            lock.lock();
        }
    }
    Day day = std::move(*m_days[index]);
    m_days[index].reset();
    m_nextTaken = index + 1;
    m_changed.notify_all();
    return day;
}

CDayPrefetch::Day CDayPrefetch::ReadFile(const std::filesystem::path& path) {
    Day day;
    std::string bytes;
    if (CDayReader::ReadFile(path, &bytes, &day.stamp))
        day.store = CDayReader::Parse(std::move(bytes), {}, false);
    return day;
}
