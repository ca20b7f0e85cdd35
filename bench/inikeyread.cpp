// ini-key-read: the profile functions' way through one big section, as the day's
// log loader reads a port: the key list, then one GetString per key, against the
// bulk read of the same file.

#include "benchcase.h"

#include "ini/inifile.h"

#include <cstdio>
#include <random>
#include <string_view>

namespace {

constexpr int kKeys = 100000;
const char* const kSection = "SERVER01\\COM1";

// One port's events of a busy day, keyed by their times.
bool WritePortLog(const std::filesystem::path& path) {
    std::mt19937 random(20240301);
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) on a chain of +.
    std::string out = "[";
    out += kSection;
    out += "]\r\n";
    long long time = 1700000000;
    char line[160];
    for (int i = 0; i < kKeys; ++i) {
        time += 1 + random() % 3;
        const unsigned user = random() % 800;
        const int n = std::snprintf(line, sizeof line, "%lld=H%u_DOMAIN\\user%u?%u?255:0000:WS%02u:%u:%u\r\n",
                                    time, 30 + unsigned(random() % 7200), user, 3232235777u + user,
                                    user % 100, unsigned(random() % 5000000), unsigned(random() % 900000));
        out.append(line, std::size_t(n));
    }
    std::FILE* file = std::fopen(path.string().c_str(), "wb");
    if (!file)
        return false;
    const bool ok = std::fwrite(out.data(), 1, out.size(), file) == out.size();
    return std::fclose(file) == 0 && ok;
}

CwBench::Timing Run() {
    CwBench::CTempFolder folder;
    const auto path = folder.Path() / "2024-Mar-01.log";
    CwBench::Timing failed;
    if (!WritePortLog(path)) {
        failed.error = "cannot write " + path.string();
        return failed;
    }
    const std::size_t size = CwBench::ReadWholeFile(path).size();

    std::size_t bulkKeys = 0, bulkBytes = 0, keys = 0, bytes = 0;
    auto bulk = [&] {
        OCL::Ini::Files files;
        auto document = files.Read(path);
        bulkKeys = bulkBytes = 0;
        for (std::size_t s = 0; s < document->SectionCount(); ++s) {
            const std::size_t count = document->KeyCount(s);
            for (std::size_t k = 0; k < count; ++k)
                bulkBytes += document->KeyName(s, k).size() + document->Value(s, k).size();
            bulkKeys += count;
        }
    };
    auto perKey = [&] {
        OCL::Ini::Files files;
        const std::vector<std::string> names = files.KeyNames(path, kSection);
        keys = names.size();
        bytes = 0;
        for (const std::string& name : names)
            bytes += name.size() + files.GetString(path, kSection, name, "").size();
    };

    CwBench::Timing timing = CwBench::Measure(5, bulk, perKey);
    if (keys != std::size_t(kKeys) || keys != bulkKeys || bytes != bulkBytes)
        timing.error = "wrong result: " + std::to_string(keys) + " keys of " + std::to_string(bytes) +
                       " bytes read key by key, " + std::to_string(bulkKeys) + " of " +
                       std::to_string(bulkBytes) + " in bulk";
    char detail[96];
    std::snprintf(detail, sizeof detail, "%.1f MB, one section of %d keys", double(size) / (1 << 20), kKeys);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("ini-key-read", 2.0, Run)
