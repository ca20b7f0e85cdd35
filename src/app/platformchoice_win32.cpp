// The console on Windows: the real ports, with nothing to choose.
#include "app/platformchoice.h"

#include "platform/win32/win32platform.h"

void AddPlatformOptions(QCommandLineParser&) {}

std::unique_ptr<OCL::Platform> OpenPlatform(const QCommandLineParser&) {
    return OCL::Win32::OpenWin32();
}
