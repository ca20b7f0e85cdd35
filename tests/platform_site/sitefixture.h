#pragma once
// A small site in a temporary folder, and a clock the tests move by hand.

#include "platform/site/site.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace SiteTest {

class TestClock final : public OCL::IClock {
public:
    OCL::DWORD TickCount() override { return OCL::DWORD(m_ms.load()); }
    std::int64_t Now() override { return m_ms.load() / 1000; }
    std::int64_t NowMs() override { return m_ms.load(); }
    void Advance(std::int64_t ms) { m_ms += ms; }

private:
    std::atomic<std::int64_t> m_ms{1'700'000'000'000};
};

class Site {
public:
    Site() : m_root(std::filesystem::path(m_dir.path().toStdString()) / "site") {}

    const std::filesystem::path& Root() const { return m_root; }
    std::filesystem::path Path(const std::string& relative) const { return m_root / relative; }

    void Write(const std::string& relative, std::string_view bytes) const {
        const auto path = Path(relative);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), std::streamsize(bytes.size()));
    }

    std::string Read(const std::string& relative) const {
        std::ifstream in(Path(relative), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    // This computer "Console" (its folder spelled CONSOLE) and the servers RAS1,
    // DOWN (unreachable), LOCKED (access denied) and SLOW (150 ms latency).
    void WriteHosts() const {
        Write("site.ini", "[Site]\r\nLocalComputer=Console\r\n");
        Write("hosts/CONSOLE/host.ini", "[Host]\r\n");
        Write("hosts/RAS1/host.ini", "[Host]\r\nRasKind=RAS\r\n");
        Write("hosts/DOWN/host.ini", "[Host]\r\nReachable=0\r\n");
        Write("hosts/LOCKED/host.ini", "[Host]\r\nAccessDenied=1\r\n");
        Write("hosts/SLOW/host.ini", "[Host]\r\nLatencyMs=150\r\n");
    }

    std::unique_ptr<OCL::Platform> Open(OCL::Site::SiteOptions options = {}) const {
        return OCL::Site::OpenSite(m_root, options);
    }

private:
    QTemporaryDir m_dir;
    std::filesystem::path m_root;
};

} // namespace SiteTest
