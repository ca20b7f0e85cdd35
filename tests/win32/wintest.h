#pragma once
// The Windows tests' harness: plain C++, no Qt. A failed check is printed with
// the table row it belongs to and counted; main() returns Result().

#include <cstdio>
#include <string>
#include <type_traits>

namespace WinTest {

inline int g_failures = 0;
inline std::string g_row;

// Names the table row the following checks belong to.
struct Row {
    explicit Row(std::string name) { g_row = std::move(name); }
    ~Row() { g_row.clear(); }
};

inline bool Check(bool ok, const char* what, int line, const std::string& detail = {}) {
    if (!ok && ++g_failures)
        std::printf("FAIL line %d [%s]: %s %s\n", line, g_row.c_str(), what, detail.c_str());
    return ok;
}

// Codes compare by value whatever their signedness; texts are shown quoted.
template <typename A, typename B>
bool Equal(const A& actual, const B& expected, const char* what, int line) {
    if constexpr (std::is_integral_v<A> && std::is_integral_v<B>)
        return Check(static_cast<long long>(actual) == static_cast<long long>(expected), what, line,
                     std::to_string(actual) + ", expected " + std::to_string(expected));
    else
        return Check(actual == expected, what, line,
                     "\"" + std::string(actual) + "\", expected \"" + expected + "\"");
}

inline int Result() {
    std::printf("%d failed\n", g_failures);
    return g_failures ? 1 : 0;
}

} // namespace WinTest

#define CHECK(x) WinTest::Check((x), #x, __LINE__)
#define CHECK_EQ(actual, expected) WinTest::Equal((actual), (expected), #actual, __LINE__)
