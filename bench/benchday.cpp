#include "benchday.h"

#include "benchcase.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <string_view>
#include <vector>

namespace CwBench {

DayShape WriteBusyDay(const std::filesystem::path& path, std::size_t events) {
    constexpr int kServers = 20;
    constexpr int kPorts = 24;
    constexpr unsigned kUsers = 3000;
    DayShape shape;
    std::FILE* file = std::fopen(path.string().c_str(), "wb");
    if (!file)
        return shape;
    std::mt19937 random(20261123);
    const std::size_t perSection = events / (kServers * kPorts);
    std::string out;
    char line[256];
    for (int server = 0; server < kServers; ++server) {
        for (int port = 1; port <= kPorts; ++port) {
            const bool modem = port <= 16;
            const int n = modem ? std::snprintf(line, sizeof line, "[RAS%02d\\COM%d]\r\n", server, port)
                                : std::snprintf(line, sizeof line, "[RAS%02d\\VPN1-%d]\r\n", server, port);
            out.append(line, std::size_t(n));
            ++shape.sections;
            const bool last = server == kServers - 1 && port == kPorts;
            const std::size_t count = last ? events - shape.events : perSection;
            long long time = 1795392000 + random() % 60;
            for (std::size_t i = 0; i < count; ++i) {
                const unsigned user = random() % kUsers;
                const unsigned kind = random() % 20;
                int length;
                if (kind < 2) {
                    length = std::snprintf(line, sizeof line, "%lld=N_CORP\\user%04u?%u\r\n", time, user,
                                           1 + unsigned(random() % 6));
                } else if (kind < 10) {
                    length = std::snprintf(line, sizeof line, "%lld=C_CORP\\user%04u%s\r\n", time, user,
                                           kind == 2 ? "*Callback to 0049301234567 accepted" : "");
                } else if (kind < 12) {
                    length = std::snprintf(line, sizeof line, "%lld=H%u_CORP\\user%04u?%u\r\n", time,
                                           30 + unsigned(random() % 7200), user, 3232235777u + user);
                } else {
                    const unsigned reason = kind == 19 ? 1 + random() % 3 : 255;
                    length = std::snprintf(line, sizeof line,
                                           "%lld=H%u_CORP\\user%04u?%u?%u:00000000:WS%04u:%u:%u\r\n", time,
                                           30 + unsigned(random() % 7200), user, 3232235777u + user, reason,
                                           user, unsigned(random() % 50000000), unsigned(random() % 9000000));
                }
                out.append(line, std::size_t(length));
                ++shape.events;
                time += 1 + random() % 80;
            }
            if (out.size() > (1u << 20)) {
                shape.bytes += std::fwrite(out.data(), 1, out.size(), file);
                out.clear();
            }
        }
    }
    shape.bytes += std::fwrite(out.data(), 1, out.size(), file);
    if (std::fclose(file) != 0)
        shape = {};
    return shape;
}

std::size_t ReadAndSplit(const std::filesystem::path& path) {
    const std::string bytes = ReadWholeFile(path);
    struct Field {
        std::string_view key, value;
    };
    std::vector<Field> fields;
    fields.reserve(bytes.size() / 40);
    const char* data = bytes.data();
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        const void* nl = std::memchr(data + pos, '\n', bytes.size() - pos);
        const std::size_t end = nl ? std::size_t(static_cast<const char*>(nl) - data) : bytes.size();
        const std::string_view line(data + pos, end - pos);
        if (const auto eq = line.find('='); eq != std::string_view::npos)
            fields.push_back({line.substr(0, eq), line.substr(eq + 1)});
        pos = end + 1;
    }
    return fields.size();
}

} // namespace CwBench
