// The registry port against the system's registry: every value type the
// console stores, short buffers, missing keys and values, remote computers.
#include "platform/win32/winregistry.h"
#include "platform/win32/winsystem.h"
#include "win32/wintest.h"

#include <cstring>
#include <vector>

using namespace OCL;
using namespace std::string_literals;

namespace {

const std::string kTestKey = "Software\\Callwarden Wine Test";

struct ValueCase {
    const char* row;
    DWORD type;
    std::string data;
    DWORD buffer; // bytes offered to the read
    LONG rc;
    DWORD added = 0; // the terminator the system adds to a string stored without one
};

void Values(IRegistry& reg, HKEY key) {
    const ValueCase cases[] = {
        {"dword", RegType::Dword, "\x2a\x00\x00\x00"s, 4, 0},
        {"string with terminator", RegType::Sz, "\\\\MASTER\\CW_NT_DB\0"s, 600, 0},
        {"string without terminator, as SetString writes it", RegType::Sz, "\\\\MASTER\\CW_NT_DB", 600, 0, 1},
        {"empty string without terminator", RegType::Sz, "", 600, 0},
        {"Windows-1252 text", RegType::Sz, "M\xfcller \x80\0"s, 600, 0},
        {"binary with zeros", RegType::Binary, "\x00\x01\xff\x00"s, 600, 0},
        {"multi string", RegType::MultiSz, "one\0two\0\0"s, 600, 0},
        {"expandable string stays unexpanded", RegType::ExpandSz, "%SystemRoot%\\cw\0"s, 600, 0},
        {"string into a DWORD's 4 bytes", RegType::Sz, "12345678\0"s, 4, Err::MoreData},
    };
    for (const ValueCase& c : cases) {
        WinTest::Row row(c.row);
        const auto* bytes = reinterpret_cast<const BYTE*>(c.data.data());
        CHECK_EQ(reg.SetValue(key, c.row, c.type, bytes, DWORD(c.data.size())), 0);
        std::vector<BYTE> buffer(c.buffer, BYTE('x'));
        DWORD type = 0, size = c.buffer;
        CHECK_EQ(reg.QueryValue(key, c.row, &type, buffer.data(), &size), c.rc);
        CHECK_EQ(type, c.type);
        CHECK_EQ(size, DWORD(c.data.size() + c.added));
        if (c.rc == 0)
            CHECK(std::memcmp(buffer.data(), c.data.data(), c.data.size()) == 0 &&
                  (!c.added || !buffer[c.data.size()]));
        else // the caller's preset survives a failed read
            CHECK(buffer == std::vector<BYTE>(c.buffer, BYTE('x')));
    }
    DWORD size = 4;
    BYTE data[4] = {};
    CHECK_EQ(reg.QueryValue(key, "no such value", nullptr, data, &size), Err::FileNotFound);
    CHECK_EQ(reg.DeleteValue(key, "dword"), 0);
    CHECK_EQ(reg.QueryValue(key, "dword", nullptr, data, &size), Err::FileNotFound);
}

void Keys(IRegistry& reg, HKEY key) {
    HKEY child = nullptr;
    CHECK_EQ(reg.OpenKey(key, "Service", &child), Err::FileNotFound);
    CHECK_EQ(reg.CreateKey(key, "Servers\\ALPHA", &child), 0);
    reg.CloseKey(child);
    CHECK_EQ(reg.CreateKey(key, "Servers\\A-SERVER-NAME-LONGER-THAN-SIXTEEN", &child), 0);
    reg.CloseKey(child);
    CHECK_EQ(reg.OpenKey(key, "Servers", &child), 0);
    char name[16] = {};
    CHECK_EQ(reg.EnumKey(child, 1, name, sizeof name), 0);
    CHECK_EQ(std::string(name), "ALPHA"s);
    CHECK_EQ(reg.EnumKey(child, 0, name, sizeof name), Err::MoreData);
    CHECK_EQ(reg.EnumKey(child, 2, name, sizeof name), Err::NoMoreItems);
    reg.CloseKey(child);
    // A key with subkeys stays; the console removes servers one by one.
    CHECK_EQ(reg.DeleteKey(key, "Servers"), Err::AccessDenied);
    CHECK_EQ(reg.DeleteKey(key, "Servers\\ALPHA"), 0);
    CHECK_EQ(reg.DeleteKey(key, "Servers\\A-SERVER-NAME-LONGER-THAN-SIXTEEN"), 0);
    CHECK_EQ(reg.DeleteKey(key, "Servers"), 0);
}

void Computers(IRegistry& reg) {
    const std::string self = Win32::CWinSystem().ComputerName();
    struct {
        std::string machine;
        LONG rc;
    } const cases[] = {{"", 0}, {self, 0}, {"\\\\" + self, 0}, {"\\\\NO-SUCH-HOST", Err::BadNetPath}};
    for (const auto& c : cases) {
        WinTest::Row row("connect to '" + c.machine + "'");
        HKEY users = nullptr, profile = nullptr;
        CHECK_EQ(reg.Connect(c.machine, Hkey::Users, &users), c.rc);
        if (c.rc != 0)
            continue;
        char name[260] = {};
        CHECK_EQ(reg.EnumKey(users, 0, name, sizeof name), 0);
        CHECK_EQ(reg.OpenKey(users, name, &profile), 0);
        reg.CloseKey(profile);
        reg.CloseKey(users);
    }
}

} // namespace

int main() {
    Win32::CWinRegistry reg;
    HKEY machine = nullptr, key = nullptr;
    CHECK_EQ(reg.Connect("", Hkey::LocalMachine, &machine), 0);
    CHECK_EQ(reg.CreateKey(machine, kTestKey, &key), 0);
    Values(reg, key);
    Keys(reg, key);
    reg.CloseKey(key);
    Computers(reg);
    CHECK_EQ(reg.DeleteKey(machine, kTestKey), 0);
    return WinTest::Result();
}
