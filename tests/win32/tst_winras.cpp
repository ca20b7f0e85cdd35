// The by-name bindings on Windows: RASSAPI.DLL as the console binds it, and
// _CWADMIN over the router administration library, both against stand-ins of
// our own (fakerassapi, fakemprapi). Run with --without-mprapi where Wine is
// told to load no MPRAPI.DLL at all.
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

template <typename Function>
Function Bind(P::IModules& modules, P::HMODULE module, const char* name) {
    return reinterpret_cast<Function>(modules.Symbol(module, name));
}

std::string FromWide(const char16_t* text) {
    std::string out;
    for (; *text; ++text)
        out += char(*text);
    return out;
}

void Rassapi(P::IModules& modules) {
    P::HMODULE module = nullptr, missing = nullptr;
    CHECK_EQ(modules.Load("RASSAPI.DLL", P::LoadFlags::None, &module), 0);
    for (const char* name : {"RasAdminPortEnum", "RasAdminFreeBuffer", "RasAdminGetErrorString",
                             "RasAdminPortGetInfo", "RasAdminPortDisconnect", "RasAdminPortClearStatistics",
                             "RasAdminUserGetInfo", "RasAdminUserSetInfo", "RasAdminServerGetInfo"})
        CHECK(modules.Symbol(module, name) != nullptr);
    CHECK(modules.Symbol(module, "RasAdminNoSuchEntry") == nullptr);
    CHECK_EQ(modules.Load("NOSUCHLIBRARY.DLL", P::LoadFlags::None, &missing), P::Err::ModNotFound);
    CHECK(missing == nullptr);

    auto portEnum = Bind<P::PFN_RasAdminPortEnum>(modules, module, "RasAdminPortEnum");
    P::RAS_PORT_0* ports = nullptr;
    P::WORD count = 0;
    CHECK_EQ(portEnum(u"\\\\SRV", &ports, &count), 0);
    CHECK(count == 1 && FromWide(ports[0].wszPortName) == "COM1" &&
          FromWide(ports[0].wszUserName) == "alice" && ports[0].dwStartSessionTime == 946684800);
    CHECK_EQ(portEnum(u"\\\\DOWN", &ports, &count), P::Err::BadNetPath);
}

struct Cwadmin {
    P::PFN_RRAS_Init init;
    P::PFN_RRAS_GetNumberOfPorts numberOfPorts;
    P::PFN_RRAS_UpdatePortData update;
    P::PFN_RRAS_GetPortData portData;
    P::PFN_RRAS_CreatePortViewData portView;
    P::PFN_RRAS_DisconnectPort disconnect;
};

Cwadmin LoadCwadmin(P::IModules& modules) {
    P::HMODULE module = nullptr;
    CHECK_EQ(modules.Load("_CWADMIN", P::LoadFlags::None, &module), 0);
    return {Bind<P::PFN_RRAS_Init>(modules, module, "RRAS_Init"),
            Bind<P::PFN_RRAS_GetNumberOfPorts>(modules, module, "RRAS_GetNumberOfPorts"),
            Bind<P::PFN_RRAS_UpdatePortData>(modules, module, "RRAS_UpdatePortData"),
            Bind<P::PFN_RRAS_GetPortData>(modules, module, "RRAS_GetPortData"),
            Bind<P::PFN_RRAS_CreatePortViewData>(modules, module, "RRAS_CreatePortViewData"),
            Bind<P::PFN_RRAS_DisconnectPort>(modules, module, "RRAS_DisconnectPort")};
}

std::string Read(const std::string& path, const char* key) {
    char value[200] = {};
    GetPrivateProfileStringA("PS", key, "", value, sizeof value, path.c_str());
    return value;
}

void Router(const Cwadmin& rras, const std::string& path) {
    CHECK_EQ(rras.init(), 1);
    P::DWORD ports = 0, busy = 0, entries = 0;
    CHECK(rras.numberOfPorts("\\\\SRV", &ports, &busy) && ports == 3 && busy == 1);
    CHECK(rras.update("\\\\SRV", &entries) && entries == 3);
    char name[P::RrasLen::PortName], user[P::RrasLen::User];
    P::DWORD address = 0, start = 0;
    CHECK(rras.portData(1, name, user, &address, &start));
    CHECK(std::string(name) == "COM2" && std::string(user) == "DOM\\alice" && address == 0xC0A80101);
    CHECK(std::time(nullptr) - 3600 - P::DWORD(start) < 60);
    CHECK(rras.portData(0, name, user, &address, &start) && std::string(user).empty() && start == 0);

    // The port detail file, read back by the profile functions' rules.
    CHECK_EQ(rras.portView("\\\\SRV", "COM2", path.c_str()), 0);
    const struct {
        const char* key;
        const char* value;
    } details[] = {{"UserName", "DOM\\alice"}, {"NetBIOS", "WS01"}, {"IP", "192.168.1.1"},  {"IPX", ""},
                   {"LineSpeed", "28800"},     {"PortCond", "5"},   {"HWCond", "3"},        {"CrcErr", "1"},
                   {"BytesXmit", "600"},       {"BytesXcomp", "0"}, {"BytesXUncomp", "400"}};
    for (const auto& detail : details) {
        WinTest::Row row(detail.key);
        CHECK_EQ(Read(path, detail.key), std::string(detail.value));
    }
    WritePrivateProfileStringA("PS", "UserName", "*", path.c_str()); // the console's seed
    CHECK_EQ(rras.portView("\\\\SRV", "COM1", path.c_str()), P::RrasPortViewOk);
    CHECK_EQ(Read(path, "UserName"), std::string("*"));
    CHECK_EQ(rras.portView("\\\\SRV", "COM9", path.c_str()), P::Err::DevNotExist);

    const struct {
        const char* server;
        P::DWORD rc;
    } refusals[] = {{"\\\\DOWN", P::Err::BadNetPath},
                    {"\\\\DENIED", P::Err::AccessDenied},
                    {"\\\\NORRAS", P::Err::RpcServerUnavailable}};
    for (const auto& refusal : refusals) {
        WinTest::Row row(refusal.server);
        CHECK_EQ(rras.numberOfPorts(refusal.server, &ports, &busy), 0);
        CHECK_EQ(rras.portView(refusal.server, "COM2", path.c_str()), refusal.rc);
        CHECK_EQ(rras.disconnect(refusal.server + 2, "COM2"), refusal.rc);
    }
    CHECK_EQ(rras.disconnect("SRV", "COM2"), 0);
    CHECK(rras.numberOfPorts("\\\\SRV", &ports, &busy) && busy == 0);
}

// Without the router library _CWADMIN still loads and every call fails cleanly.
void WithoutRouter(const Cwadmin& rras, const std::string& path) {
    P::DWORD ports = 0, busy = 0, entries = 7;
    CHECK_EQ(rras.init(), 0);
    CHECK_EQ(rras.numberOfPorts("\\\\SRV", &ports, &busy), 0);
    CHECK(!rras.update("\\\\SRV", &entries) && entries == 0);
    CHECK_EQ(rras.portView("\\\\SRV", "COM2", path.c_str()), P::Err::ModNotFound);
    CHECK_EQ(rras.disconnect("SRV", "COM2"), P::Err::ModNotFound);
}

} // namespace

int main(int argc, char** argv) {
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    const std::string path = std::string(temp) + "~rrasprt" + std::to_string(GetCurrentProcessId()) + ".tmp";
    OCL::Win32::CWinModules modules;
    const Cwadmin rras = LoadCwadmin(modules);
    if (argc > 1 && std::strcmp(argv[1], "--without-mprapi") == 0) {
        WithoutRouter(rras, path);
    } else {
        Rassapi(modules);
        Router(rras, path);
    }
    DeleteFileA(path.c_str());
    return WinTest::Result();
}
