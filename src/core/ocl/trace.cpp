#include "core/ocl/trace.h"

#include <chrono>
#include <cstdarg>

namespace OCL {
namespace {

std::atomic<TraceMedia*> g_sink{nullptr};
thread_local int t_indent = 0;

unsigned TickCount() {
    using namespace std::chrono;
    return unsigned(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace

TraceFile::TraceFile(std::string path) : TraceMedia(std::move(path)) {
    if (!m_path.empty())
        Open(m_path);
}

TraceFile::~TraceFile() {
    Close(m_path);
}

bool TraceFile::Open(const std::string& path) {
    std::lock_guard lock(m_mutex);
    if (m_stream)
        std::fclose(m_stream);
    m_path = path;
    m_stream = std::fopen(path.c_str(), "w+");
    return m_stream != nullptr;
}

void TraceFile::Close(const std::string&) {
    std::lock_guard lock(m_mutex);
    if (m_stream)
        std::fclose(m_stream);
    m_stream = nullptr;
}

bool TraceFile::Write(const std::string& text) {
    std::lock_guard lock(m_mutex);
    if (!m_stream)
        return false;
    const bool ok = std::fwrite(text.data(), 1, text.size(), m_stream) == text.size();
    std::fflush(m_stream);
    return ok;
}

TraceIndent::TraceIndent() {
    ++t_indent;
}
TraceIndent::~TraceIndent() {
    --t_indent;
}
int TraceIndent::Level() {
    return t_indent;
}

void SetTraceSink(TraceMedia* sink) {
    g_sink.store(sink);
}
TraceMedia* TraceSink() {
    return g_sink.load();
}

std::string TraceLine(unsigned tick, int indent, const std::string& text) {
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "[Tick: %d] -", int(tick));
    std::string line = prefix;
    line.append(std::size_t(indent > 0 ? indent : 0), '.');
    return line + text;
}

void Trace(const char* format, ...) {
    TraceMedia* sink = g_sink.load();
    if (!sink)
        return;
    char buffer[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    sink->Write(TraceLine(TickCount(), t_indent, buffer));
}

} // namespace OCL
