// ini-bulk-read: the loaders' way through a day's log, the whole parse walked
// section by section and key by key, against reading the same bytes and
// splitting them into lines.

#include "benchcase.h"

#include "ini/inifile.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string_view>

namespace {

constexpr std::size_t kFileBytes = std::size_t(50) << 20;
constexpr int kServers = 8;
constexpr int kPorts = 16;

struct LogShape {
    std::size_t sections = 0;
    std::size_t events = 0;
    std::size_t lines = 0;
};

// A day's log as the service writes it: one section per port, the port's events
// in time order, connects and hang-ups of sessions with a denial now and then.
LogShape WriteDayLog(const std::filesystem::path& path) {
    LogShape shape;
    std::FILE* file = std::fopen(path.string().c_str(), "wb");
    if (!file)
        return shape;
    std::mt19937 random(20240229);
    const std::size_t perSection = kFileBytes / (kServers * kPorts);
    std::string out;
    char line[256];
    std::size_t written = 0;
    for (int server = 0; server < kServers; ++server) {
        for (int port = 1; port <= kPorts; ++port) {
            out += "[SERVER" + std::string(server < 10 ? "0" : "") + std::to_string(server) + "\\COM" +
                   std::to_string(port) + "]\r\n";
            ++shape.sections;
            ++shape.lines;
            const std::size_t sectionEnd = written + out.size() + perSection;
            long long time = 1700000000 + random() % 600;
            while (written + out.size() < sectionEnd) {
                const unsigned user = random() % 800;
                const unsigned kind = random() % 10;
                int n;
                if (kind == 0) {
                    n = std::snprintf(line, sizeof line, "%lld=N_DOMAIN\\user%u?%u\r\n", time, user,
                                      1 + unsigned(random() % 6));
                } else if (kind < 5) {
                    n = std::snprintf(line, sizeof line, "%lld=C_DOMAIN\\user%u%s\r\n", time, user,
                                      kind == 1 ? "*callback 0049301234567" : "");
                } else {
                    const unsigned lasted = 30 + random() % 7200;
                    const unsigned reason = kind == 9 ? 1 + random() % 3 : 255;
                    n = std::snprintf(line, sizeof line,
                                      "%lld=H%u_DOMAIN\\user%u?%u?%u:0000:WS%02u:%u:%u\r\n", time, lasted,
                                      user, 3232235777u + user, reason, user % 100,
                                      unsigned(random() % 5000000), unsigned(random() % 900000));
                }
                out.append(line, std::size_t(n));
                ++shape.events;
                ++shape.lines;
                time += 1 + random() % 40;
            }
            if (out.size() > (1u << 20)) {
                written += std::fwrite(out.data(), 1, out.size(), file);
                out.clear();
            }
        }
    }
    written += std::fwrite(out.data(), 1, out.size(), file);
    if (std::fclose(file) != 0)
        shape = {};
    return shape;
}

CwBench::Timing Run() {
    CwBench::CTempFolder folder;
    const auto path = folder.Path() / "2024-Feb-29.log";
    const LogShape shape = WriteDayLog(path);
    CwBench::Timing failed;
    if (shape.events == 0) {
        failed.error = "cannot write " + path.string();
        return failed;
    }
    // Both sides read from the system's file cache, not from the disk.
    const std::size_t size = CwBench::ReadWholeFile(path).size();

    std::size_t lines = 0, sections = 0, keys = 0, touched = 0;
    auto baseline = [&] {
        const std::string bytes = CwBench::ReadWholeFile(path);
        std::vector<std::string_view> split;
        const char* data = bytes.data();
        std::size_t pos = 0;
        while (pos < bytes.size()) {
            const void* nl = std::memchr(data + pos, '\n', bytes.size() - pos);
            const std::size_t end = nl ? std::size_t(static_cast<const char*>(nl) - data) : bytes.size();
            split.emplace_back(data + pos, end - pos);
            pos = end + 1;
        }
        lines = split.size();
    };
    auto engine = [&] {
        OCL::Ini::Files files;
        auto document = files.Read(path);
        sections = document->SectionCount();
        keys = 0;
        touched = 0;
        for (std::size_t s = 0; s < sections; ++s) {
            touched += document->SectionName(s).size();
            const std::size_t count = document->KeyCount(s);
            for (std::size_t k = 0; k < count; ++k) {
                const std::string_view value = document->Value(s, k);
                touched += document->KeyName(s, k).size() + value.size();
                if (!value.empty())
                    touched += static_cast<unsigned char>(value.front());
            }
            keys += count;
        }
    };

    CwBench::Timing timing = CwBench::Measure(5, baseline, engine);
    if (lines != shape.lines || sections != shape.sections || keys != shape.events || touched == 0)
        timing.error = "wrong result: " + std::to_string(sections) + " sections, " + std::to_string(keys) +
                       " keys, " + std::to_string(lines) + " lines; expected " +
                       std::to_string(shape.sections) + ", " + std::to_string(shape.events) + ", " +
                       std::to_string(shape.lines);
    char detail[96];
    std::snprintf(detail, sizeof detail, "%.1f MB, %zu sections, %zu events", double(size) / (1 << 20),
                  shape.sections, shape.events);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("ini-bulk-read", 3.0, Run)
