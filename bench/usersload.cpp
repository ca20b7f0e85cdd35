// users-load: an account file of 100,000 accounts read into the document's
// list (one parse through the ini engine, the statistics taken out, the name
// order built) and the users view's model sorted by each of its columns,
// against reading the same bytes and splitting them into lines and fields.

#include "benchcase.h"

#include "core/accounts/userfile.h"
#include "core/accounts/usersmodel.h"
#include "ini/inifile.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>

namespace {

constexpr std::size_t kAccounts = 100000;

// Sections as the service writes them: the profile first, then the statistics.
std::size_t WriteAccounts(const std::filesystem::path& path) {
    std::mt19937 random(20261123);
    const char* const domains[] = {"HEADOFFICE", "SALES", "ENGINEERING", "SUPPORT"};
    std::string bytes;
    bytes.reserve(kAccounts * 300);
    for (std::size_t i = 0; i < kAccounts; ++i) {
        const auto number = [&](std::uint32_t limit) {
            return std::to_string(random() % limit);
        };
        const bool limited = random() % 4 == 0;
        bytes += "[" + std::string(domains[random() % 4]) + "\\user" +
                 std::to_string((i * 7919) % kAccounts) +
                 "]\r\nMaxSessionTime=" + (limited ? number(7200) : "0") +
                 "\r\nMaxTotalTime=" + (limited ? number(360000) : "0") +
                 "\r\nPeriodMax=" + (limited ? number(36000) : "0") +
                 "\r\nPeriodType=" + (limited ? number(4) : "0") +
                 "\r\nStaticIP=0\r\nExpiryTime=0\r\nNoDuplicate=1\r\nTotalConnects=" + number(5000) +
                 "\r\nTotalDenieds=" + number(100) + "\r\nFirstConnection=17" + number(100000000) +
                 "\r\nLastConnection=179" + number(10000000) + "\r\nLasted=" + number(20000) +
                 "\r\nTotalTime=" + number(2000000) + "\r\nPeriodUsage=" + number(40000) + "\r\n";
    }
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), std::streamsize(bytes.size()));
    return out ? bytes.size() : 0;
}

// Reads the file and splits it into lines and each line into key and value,
// the fields reserved from a count of the lines first (the account file's
// lines are short, so a guess from its size alone would leave the vector
// growing, which the baseline should not pay for); returns the key lines.
std::size_t ReadAndSplit(const std::filesystem::path& path) {
    const std::string bytes = CwBench::ReadWholeFile(path);
    struct Field {
        std::string_view key, value;
    };
    std::size_t lines = 0;
    for (const char* p = bytes.data();
         (p = static_cast<const char*>(std::memchr(p, '\n', std::size_t(bytes.data() + bytes.size() - p))));
         ++p)
        ++lines;
    std::vector<Field> fields;
    fields.reserve(lines + 1);
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

CwBench::Timing Run() {
    CwBench::CTempFolder folder;
    const auto path = folder.Path() / "callward.usr";
    const std::size_t bytes = WriteAccounts(path);
    CwBench::Timing timing;
    if (bytes == 0) {
        timing.error = "cannot write " + path.string();
        return timing;
    }
    std::size_t lines = 0, accounts = 0, memory = 0;
    bool sorted = true;
    double sortMs = 0;
    timing = CwBench::Measure(
        5, [&] { lines = ReadAndSplit(path); },
        [&] {
            // A new engine each time: nothing is served from an earlier parse.
            OCL::Ini::Files files;
            const CUserFile::Loaded loaded = CUserFile::Read(*files.Read(path));
            accounts = loaded.store->Count();
            memory = loaded.store->MemoryBytes();
            CUsersModel model;
            model.SetLimitColumns(true);
            model.Fill(loaded.store, CUserFilter());
            const auto start = std::chrono::steady_clock::now();
            for (int column = 0; column < model.columnCount(); ++column) {
                model.SortByColumn(column);
                const CUserStore& store = model.Store();
                const std::uint32_t first = model.RecordAt(0), last = model.RecordAt(model.rowCount() - 1);
                if (column == UserColumn::User && store.NameRank(first) > store.NameRank(last))
                    sorted = false;
                if (column == UserColumn::Sessions && store.At(first).connects > store.At(last).connects)
                    sorted = false;
            }
            const double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
            sortMs = sortMs == 0 ? ms : std::min(sortMs, ms);
        });
    if (accounts != kAccounts || lines != kAccounts * 14)
        timing.error = "wrong result: " + std::to_string(accounts) + " accounts, " + std::to_string(lines) +
                       " lines; expected " + std::to_string(kAccounts);
    else if (!sorted)
        timing.error =
            "the first sort is not A to Z by name, or the second (reversed) not smallest first by sessions";
    char detail[128];
    std::snprintf(detail, sizeof detail, "%.1f MB, %zu accounts, list %.1f MB; the 7 sorts %.1f ms",
                  double(bytes) / (1 << 20), accounts, double(memory) / (1 << 20), sortMs);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("users-load", 2.0, Run)
