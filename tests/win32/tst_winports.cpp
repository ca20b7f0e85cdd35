// The network, shell, system and clock ports against what Wine offers: NetAPI
// calls Wine does not implement prove the failure paths (NetGroupGetUsers is
// left out: Wine's stub ends the process).
#include "platform/win32/winclock.h"
#include "platform/win32/winnetwork.h"
#include "platform/win32/winshell.h"
#include "platform/win32/winsystem.h"
#include "win32/wintest.h"

#include <windows.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace P = OCL;

namespace {

std::u16string CurrentUser() {
    wchar_t name[256] = {};
    DWORD size = 256;
    GetUserNameW(name, &size);
    return std::u16string(reinterpret_cast<const char16_t*>(name));
}

void Network() {
    OCL::Win32::CWinNetwork net;
    P::HNETENUM handle = nullptr;
    std::printf("WNetOpenEnum: %u\n", unsigned(net.OpenEnum(P::ResourceScope::GlobalNet, P::ResourceType::Any,
                                                            0, nullptr, &handle)));
    if (handle)
        net.CloseEnum(handle);
    std::u16string dc = u"unchanged";
    CHECK(net.GetDCName(u"", u"DOMAIN", &dc) != 0 && dc.empty());

    using Enum = std::function<P::DWORD(std::vector<std::u16string>*, P::DWORD*)>;
    const struct {
        const char* row;
        Enum call;
        bool succeeds;
    } cases[] = {
        {"dial-in servers",
         [&](auto* names, auto* total) {
             P::DWORD r = 0;
             return net.ServerEnum(u"DOMAIN", P::ServerType::DialinServer, 10000, names, total, &r);
         },
         false},
        {"global groups",
         [&](auto* names, auto* total) {
             P::DWORD_PTR r = 0;
             return net.GroupEnum(u"", 10000, names, total, &r);
         },
         false},
        {"users of an unknown computer",
         [&](auto* names, auto* total) {
             P::DWORD r = 0;
             return net.UserEnum(u"\\\\NO-SUCH-HOST", 3, 10000, names, total, &r);
         },
         false},
        {"local users",
         [&](auto* names, auto* total) {
             P::DWORD r = 0;
             return net.UserEnum(u"", 3, 10000, names, total, &r);
         },
         true},
        {"local groups",
         [&](auto* names, auto* total) {
             P::DWORD_PTR r = 0;
             return net.LocalGroupEnum(u"", 10000, names, total, &r);
         },
         true},
    };
    for (const auto& c : cases) {
        WinTest::Row row(c.row);
        std::vector<std::u16string> names;
        P::DWORD total = 0;
        const P::DWORD rc = c.call(&names, &total);
        std::printf("%s: %u, %u names\n", c.row, unsigned(rc), unsigned(names.size()));
        CHECK_EQ(rc == 0, c.succeeds);
        if (!c.succeeds)
            CHECK(names.empty());
    }
    std::vector<std::u16string> users;
    P::DWORD total = 0, resume = 0;
    net.UserEnum(u"", 3, 10000, &users, &total, &resume);
    CHECK(std::find(users.begin(), users.end(), CurrentUser()) != users.end());
}

void ShellAndSystem() {
    OCL::Win32::CWinShell shell;
    CHECK_EQ(shell.Exec("cmd /c exit 0", SW_HIDE), 0);
    CHECK_EQ(shell.Exec("no-such-program.exe", SW_HIDE), P::Err::FileNotFound);
    CHECK_EQ(shell.Open("open", "C:\\no\\such\\document.htm"), P::Err::FileNotFound);
    OCL::Win32::CWinSystem system;
    CHECK(!system.ComputerName().empty());
    CHECK(system.TempPath().back() == '\\');
    P::OsVersionInfo version;
    CHECK(system.VersionInfo(&version) == 0 && version.platformId == P::PlatformId::WindowsNt);
    OCL::Win32::CWinClock clock;
    CHECK(std::llabs(clock.Now() - std::time(nullptr)) < 5);
}

} // namespace

int main() {
    Network();
    ShellAndSystem();
    return WinTest::Result();
}
