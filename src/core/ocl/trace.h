#pragma once
// The class-and-method trace of the in-house library. Off unless a sink is
// installed; then every line gets the prefix "[Tick: %d] -" and one '.' per
// indentation level of the calling thread.

#include <atomic>
#include <cstdio>
#include <mutex>
#include <string>

namespace OCL {

class TraceMedia {
public:
    explicit TraceMedia(std::string path = {}) : m_path(std::move(path)) {}
    virtual ~TraceMedia() = default;
    TraceMedia(const TraceMedia&) = delete;
    TraceMedia& operator=(const TraceMedia&) = delete;

    virtual bool Open(const std::string& path) = 0;
    virtual void Close(const std::string& path) = 0;
    virtual bool Write(const std::string& text) = 0;

    const std::string& Path() const { return m_path; }

protected:
    std::string m_path;
};

// A trace file, emptied when opened and flushed after every line so that the
// trace outlives a crash.
class TraceFile : public TraceMedia {
public:
    explicit TraceFile(std::string path = {});
    ~TraceFile() override;
    bool Open(const std::string& path) override;
    void Close(const std::string& path) override;
    bool Write(const std::string& text) override;
    bool IsOpen() const { return m_stream != nullptr; }

private:
    std::mutex m_mutex;
    std::FILE* m_stream = nullptr;
};

// A sink that swallows everything.
class TraceWindow : public TraceMedia {
public:
    TraceWindow() = default;
    bool Open(const std::string&) override { return true; }
    void Close(const std::string&) override {}
    bool Write(const std::string&) override { return true; }
};

// Raises the calling thread's indentation for its lifetime.
class TraceIndent {
public:
    TraceIndent();
    ~TraceIndent();
    TraceIndent(const TraceIndent&) = delete;
    TraceIndent& operator=(const TraceIndent&) = delete;
    static int Level();
};

// The process-wide sink; null switches tracing off. Set once at start.
void SetTraceSink(TraceMedia* sink);
TraceMedia* TraceSink();

// printf-style; formats into at most 512 characters.
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void Trace(const char* format, ...);

// The full line Trace would write, without writing it (the prefix uses tick).
std::string TraceLine(unsigned tick, int indent, const std::string& text);

} // namespace OCL
