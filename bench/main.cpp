// cwbench: runs the registered cases (all, or those named on the command line)
// and prints one line per case; exits with 1 when a case misses its target.

#include "benchcase.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <random>
#include <string_view>
#include <system_error>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace CwBench {
namespace {

std::vector<Case>& Registry() {
    // Built on first use: cases register themselves during static initialisation.
    static std::vector<Case> cases;
    return cases;
}

double MillisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::milli>(end - start).count();
}

} // namespace

bool Register(std::string name, double maxRatio, std::function<Timing()> run) {
    Registry().push_back({std::move(name), maxRatio, std::move(run)});
    return true;
}

const std::vector<Case>& Cases() {
    return Registry();
}

Timing Measure(int runs, const std::function<void()>& baseline, const std::function<void()>& measured) {
    Timing timing;
    for (int i = 0; i < runs; ++i) {
        const double base = MillisecondsOf(baseline);
        const double own = MillisecondsOf(measured);
        if (i == 0 || base < timing.baselineMilliseconds)
            timing.baselineMilliseconds = base;
        if (i == 0 || own < timing.milliseconds)
            timing.milliseconds = own;
    }
    return timing;
}

CTempFolder::CTempFolder() {
    std::random_device random;
    const auto base = std::filesystem::temp_directory_path();
    for (;;) {
        char name[48];
#ifdef _WIN32
        const unsigned long process = 0;
#else
        const unsigned long process = static_cast<unsigned long>(::getpid());
#endif
        std::snprintf(name, sizeof name, "cwbench-%lu-%08x", process, static_cast<unsigned>(random()));
        m_path = base / name;
        if (std::filesystem::create_directory(m_path))
            return;
    }
}

CTempFolder::~CTempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
}

std::string ReadWholeFile(const std::filesystem::path& path) {
    std::string bytes;
    std::FILE* file = std::fopen(path.string().c_str(), "rb");
    if (!file)
        return bytes;
    std::error_code ec;
    bytes.resize(std::size_t(std::filesystem::file_size(path, ec)));
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

} // namespace CwBench

namespace {

void PrintUsage() {
    std::printf("usage: cwbench [--list] [case...]\n"
                "Runs the named cases, or all; each prints its time, the baseline's time measured\n"
                "in the same run, their ratio and the target. Exit code 1 when a case fails.\n");
}

bool RunCase(const CwBench::Case& c) {
    CwBench::Timing timing;
    try {
        timing = c.run();
    } catch (const std::exception& e) {
        timing.error = e.what();
    }
    if (!timing.error.empty()) {
        std::printf("%-18s FAIL  %s\n", c.name.c_str(), timing.error.c_str());
        return false;
    }
    const double ratio =
        timing.baselineMilliseconds > 0 ? timing.milliseconds / timing.baselineMilliseconds : 0.0;
    const bool pass = timing.baselineMilliseconds > 0 && ratio <= c.maxRatio;
    std::printf("%-18s %9.1f ms  baseline %9.1f ms  ratio %5.2f  target <= %.2f  %s", c.name.c_str(),
                timing.milliseconds, timing.baselineMilliseconds, ratio, c.maxRatio, pass ? "PASS" : "FAIL");
    if (!timing.detail.empty())
        std::printf("  (%s)", timing.detail.c_str());
    std::printf("\n");
    std::fflush(stdout);
    return pass;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string_view> names;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            PrintUsage();
            return 0;
        }
        if (arg == "--list") {
            for (const auto& c : CwBench::Cases())
                std::printf("%-18s target <= %.2f\n", c.name.c_str(), c.maxRatio);
            return 0;
        }
        if (arg.starts_with("-")) {
            std::fprintf(stderr, "cwbench: unknown option %s\n", argv[i]);
            PrintUsage();
            return 2;
        }
        names.push_back(arg);
    }

    std::vector<const CwBench::Case*> selected;
    for (const auto& c : CwBench::Cases())
        if (names.empty() || std::find(names.begin(), names.end(), c.name) != names.end())
            selected.push_back(&c);
    for (std::string_view name : names) {
        const auto& cases = CwBench::Cases();
        if (std::none_of(cases.begin(), cases.end(),
                         [&](const CwBench::Case& c) { return c.name == name; })) {
            std::fprintf(stderr, "cwbench: no case named %.*s (see --list)\n", int(name.size()), name.data());
            return 2;
        }
    }

#if defined(__GNUC__) && !defined(__OPTIMIZE__)
    std::fprintf(stderr, "cwbench: built without optimisation; build in Release for meaningful times\n");
#endif

    bool allPass = true;
    for (const CwBench::Case* c : selected)
        allPass = RunCase(*c) && allPass;
    return allPass ? 0 : 1;
}
