// The by-name bindings on Windows: RASSAPI.DLL as the console binds it, and
// _CWADMIN over the router administration library, both against stand-ins of
// our own (fakerassapi, fakemprapi). With --without-mprapi Wine loads no
// MPRAPI.DLL at all.
#include "platform/rassapi.h"
#include "platform/routingras.h"
#include "platform/win32/winmodules.h"
#include "win32/wintest.h"

#include <windows.h>

#include <cstring>
#include <ctime>
#include <string>

namespace P = OCL;

namespace {

P::Win32::CWinModules g_modules;

template <typename Function>
Function Bind(P::HMODULE module, const char* name) {
    return reinterpret_cast<Function>(g_modules.Symbol(module, name));
}

void Rassapi() {
    P::HMODULE module = nullptr, missing = nullptr;
    CHECK_EQ(g_modules.Load("RASSAPI.DLL", P::LoadFlags::None, &module), 0);
    for (const char* name : {"RasAdminPortEnum", "RasAdminFreeBuffer", "RasAdminGetErrorString",
                             "RasAdminPortGetInfo", "RasAdminPortDisconnect", "RasAdminPortClearStatistics",
                             "RasAdminUserGetInfo", "RasAdminUserSetInfo", "RasAdminServerGetInfo"})
        CHECK(g_modules.Symbol(module, name) != nullptr);
    CHECK(g_modules.Symbol(module, "RasAdminNoSuchEntry") == nullptr);
    CHECK(g_modules.Load("NOSUCHLIBRARY.DLL", P::LoadFlags::None, &missing) == P::Err::ModNotFound &&
          !missing);

    auto portEnum = Bind<P::PFN_RasAdminPortEnum>(module, "RasAdminPortEnum");
    P::RAS_PORT_0* ports = nullptr;
    P::WORD count = 0;
    CHECK(portEnum(u"\\\\SRV", &ports, &count) == 0 && count == 1);
    CHECK_EQ(portEnum(u"\\\\DOWN", &ports, &count), P::Err::BadNetPath);
}

std::string Read(const std::string& path, const char* key) {
    char value[200] = {};
    GetPrivateProfileStringA("PS", key, "", value, sizeof value, path.c_str());
    return value;
}

} // namespace

int main(int argc, char** argv) {
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    const std::string path = std::string(temp) + "~rrasprt" + std::to_string(GetCurrentProcessId()) + ".tmp";
    P::HMODULE cwadmin = nullptr;
    CHECK_EQ(g_modules.Load("_CWADMIN", P::LoadFlags::None, &cwadmin), 0);
    const auto init = Bind<P::PFN_RRAS_Init>(cwadmin, "RRAS_Init");
    const auto numberOfPorts = Bind<P::PFN_RRAS_GetNumberOfPorts>(cwadmin, "RRAS_GetNumberOfPorts");
    const auto update = Bind<P::PFN_RRAS_UpdatePortData>(cwadmin, "RRAS_UpdatePortData");
    const auto portData = Bind<P::PFN_RRAS_GetPortData>(cwadmin, "RRAS_GetPortData");
    const auto portView = Bind<P::PFN_RRAS_CreatePortViewData>(cwadmin, "RRAS_CreatePortViewData");
    const auto disconnect = Bind<P::PFN_RRAS_DisconnectPort>(cwadmin, "RRAS_DisconnectPort");
    P::DWORD ports = 0, busy = 0, entries = 7, address = 0, start = 0;

    if (argc > 1 && std::strcmp(argv[1], "--without-mprapi") == 0) {
        // _CWADMIN still loads, and every call fails cleanly.
        CHECK_EQ(init(), 0);
        CHECK_EQ(numberOfPorts("\\\\SRV", &ports, &busy), 0);
        CHECK(!update("\\\\SRV", &entries) && entries == 0);
        CHECK_EQ(portView("\\\\SRV", "COM2", path.c_str()), P::Err::ModNotFound);
        CHECK_EQ(disconnect("SRV", "COM2"), P::Err::ModNotFound);
        return WinTest::Result();
    }
    Rassapi();
    CHECK_EQ(init(), 1);
    CHECK(numberOfPorts("\\\\SRV", &ports, &busy) && ports == 3 && busy == 1);
    CHECK(update("\\\\SRV", &entries) && entries == 3);
    char name[P::RrasLen::PortName], user[P::RrasLen::User];
    CHECK(portData(1, name, user, &address, &start) && std::string(name) == "COM2" &&
          std::string(user) == "DOM\\alice" && address == 0xC0A80101);
    CHECK(std::time(nullptr) - 3600 - P::DWORD(start) < 60);
    CHECK(portData(0, name, user, &address, &start) && !*user && start == 0);

    // The port detail file, read back by the profile functions' rules.
    CHECK_EQ(portView("\\\\SRV", "COM2", path.c_str()), 0);
    const char* const details[][2] = {
        {"UserName", "DOM\\alice"}, {"NetBIOS", "WS01"}, {"IP", "192.168.1.1"},  {"IPX", ""},
        {"PortCond", "5"},          {"HWCond", "3"},     {"LineSpeed", "28800"}, {"CrcErr", "1"},
        {"BytesXmit", "600"},       {"BytesXcomp", "0"}, {"BytesXUncomp", "400"}};
    for (const auto& [key, value] : details) {
        WinTest::Row row(key);
        CHECK_EQ(Read(path, key), value);
    }
    WritePrivateProfileStringA("PS", "UserName", "*", path.c_str()); // the console's seed
    CHECK_EQ(portView("\\\\SRV", "COM1", path.c_str()), P::RrasPortViewOk);
    CHECK_EQ(Read(path, "UserName"), "*");
    CHECK_EQ(portView("\\\\SRV", "COM9", path.c_str()), P::Err::DevNotExist);

    const std::pair<const char*, P::DWORD> refusals[] = {{"\\\\DOWN", P::Err::BadNetPath},
                                                         {"\\\\DENIED", P::Err::AccessDenied},
                                                         {"\\\\NORRAS", P::Err::RpcServerUnavailable}};
    for (const auto& [server, rc] : refusals) {
        WinTest::Row row(server);
        CHECK_EQ(numberOfPorts(server, &ports, &busy), 0);
        CHECK_EQ(portView(server, "COM2", path.c_str()), rc);
        CHECK_EQ(disconnect(server + 2, "COM2"), rc);
    }
    CHECK_EQ(disconnect("SRV", "COM2"), 0);
    CHECK(numberOfPorts("\\\\SRV", &ports, &busy) && busy == 0);
    DeleteFileA(path.c_str());
    return WinTest::Result();
}
