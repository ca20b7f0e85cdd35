#pragma once
// The benchmark tool's case registry and the helpers every case uses. A case
// lives in a .cpp file of its own and registers itself with CW_BENCH_CASE; it
// builds its own data, measures it against a baseline in the same run and
// reports both times. The tool compares their ratio with the case's target.

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace CwBench {

// What one case measured. A non-empty error means the case could not run or its
// result was wrong; it then fails whatever the times.
struct Timing {
    double milliseconds = 0;
    double baselineMilliseconds = 0;
    std::string detail; // a few words on the data, shown after the verdict
    std::string error;
};

struct Case {
    std::string name;
    double maxRatio = 0; // the target: milliseconds / baselineMilliseconds at most this
    std::function<Timing()> run;
};

bool Register(std::string name, double maxRatio, std::function<Timing()> run);
const std::vector<Case>& Cases();

// Runs baseline and measured alternately, `runs` times each, so that a load on
// the machine weighs on both alike; returns the best time of each.
Timing Measure(int runs, const std::function<void()>& baseline, const std::function<void()>& measured);

// A fresh folder under the system's temporary folder, removed with everything
// in it when the object goes.
class CTempFolder {
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// Reads a whole file the plain way, as baselines do.
std::string ReadWholeFile(const std::filesystem::path& path);

} // namespace CwBench

#define CW_BENCH_CONCAT2(a, b) a##b
#define CW_BENCH_CONCAT(a, b) CW_BENCH_CONCAT2(a, b)
// CW_BENCH_CASE("name", maxRatio, function returning CwBench::Timing)
#define CW_BENCH_CASE(name, maxRatio, function)                                                              \
    namespace {                                                                                              \
    const bool CW_BENCH_CONCAT(cwBenchRegistered, __LINE__) = ::CwBench::Register(name, maxRatio, function); \
    }
