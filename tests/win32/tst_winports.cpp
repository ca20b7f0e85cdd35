// The network, shell and clock ports under Wine. The NetAPI calls Wine does not
// implement prove the failure paths: an error code and no names. Left out:
// NetGroupGetUsers, whose stub in Wine ends the process.
#include "platform/win32/winclock.h"
#include "platform/win32/winnetwork.h"
#include "platform/win32/winshell.h"
#include "win32/wintest.h"

#include <windows.h>

#include <algorithm>
#include <ctime>

int main() {
    OCL::Win32::CWinNetwork net;
    std::vector<std::u16string> names;
    OCL::DWORD total = 0, resume = 0;
    OCL::DWORD_PTR resumePtr = 0;
    std::u16string dc = u"unchanged";
    CHECK(net.GetDCName(u"", u"DOMAIN", &dc) != 0 && dc.empty());
    CHECK(net.ServerEnum(u"DOMAIN", OCL::ServerType::DialinServer, 10000, &names, &total, &resume) != 0);
    CHECK(net.GroupEnum(u"", 10000, &names, &total, &resumePtr) != 0);
    CHECK(net.UserEnum(u"\\\\NO-SUCH-HOST", 3, 10000, &names, &total, &resume) != 0);
    CHECK(names.empty());
    // What Wine has: this computer's own accounts.
    wchar_t user[256] = {};
    DWORD size = 256;
    GetUserNameW(user, &size);
    CHECK_EQ(net.UserEnum(u"", 3, 10000, &names, &total, &resume), 0);
    CHECK(std::find(names.begin(), names.end(), reinterpret_cast<const char16_t*>(user)) != names.end());

    OCL::Win32::CWinShell shell;
    CHECK_EQ(shell.Exec("cmd /c exit 0", SW_HIDE), 0);
    CHECK_EQ(shell.Exec("no-such-program.exe", SW_HIDE), OCL::Err::FileNotFound);
    CHECK(std::llabs(OCL::Win32::CWinClock().Now() - std::time(nullptr)) < 5);
    return WinTest::Result();
}
