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
        CHECK_EQ(reg.SetValue(key, c.row, c.type, reinterpret_cast<const BYTE*>(c.data.data()),
                              DWORD(c.data.size())),
                 0);
        std::vector<BYTE> buffer(c.buffer, BYTE('x'));
        DWORD type = 0, size = c.buffer;
        CHECK_EQ(reg.QueryValue(key, c.row, &type, buffer.data(), &size), c.rc);
        CHECK(type == c.type && size == c.data.size() + c.added);
        if (c.rc == 0)
            CHECK(std::memcmp(buffer.data(), c.data.data(), c.data.size()) == 0 &&
                  (!c.added || !buffer[size - 1]));
        else // the caller's preset survives a failed read
            CHECK(buffer == std::vector<BYTE>(c.buffer, BYTE('x')));
    }
    DWORD size = 4;
    CHECK_EQ(reg.QueryValue(key, "no such value", nullptr, nullptr, &size), Err::FileNotFound);
}

void Keys(IRegistry& reg, HKEY key) {
    HKEY child = nullptr;
    char name[16] = {};
    CHECK_EQ(reg.OpenKey(key, "Service", &child), Err::FileNotFound);
    CHECK(reg.CreateKey(key, "Servers\\A-NAME-LONGER-THAN-16", &child) == 0 && reg.CloseKey(child) == 0);
    CHECK(reg.OpenKey(key, "Servers", &child) == 0 &&
          reg.EnumKey(child, 0, name, sizeof name) == Err::MoreData);
    CHECK_EQ(reg.EnumKey(child, 1, name, sizeof name), Err::NoMoreItems);
    reg.CloseKey(child);
    // A key with subkeys stays; the console removes servers one by one.
    CHECK_EQ(reg.DeleteKey(key, "Servers"), Err::AccessDenied);
    CHECK(reg.DeleteKey(key, "Servers\\A-NAME-LONGER-THAN-16") == 0 && reg.DeleteKey(key, "Servers") == 0);
}

} // namespace

int main() {
    Win32::CWinRegistry reg;
    HKEY machine = nullptr, key = nullptr;
    CHECK_EQ(reg.Connect("", Hkey::LocalMachine, &machine), 0);
    CHECK_EQ(reg.CreateKey(machine, "Software\\Callwarden Wine Test", &key), 0);
    Values(reg, key);
    Keys(reg, key);
    reg.CloseKey(key);
    CHECK_EQ(reg.DeleteKey(machine, "Software\\Callwarden Wine Test"), 0);

    // This computer under every name the console may give it; Wine reaches no other.
    const std::string self = Win32::CWinSystem().ComputerName();
    const std::pair<std::string, LONG> computers[] = {
        {"", 0}, {self, 0}, {"\\\\" + self, 0}, {"\\\\NO-SUCH-HOST", 53}};
    for (const auto& [computer, rc] : computers) {
        WinTest::Row row("connect to '" + computer + "'");
        HKEY users = nullptr, profile = nullptr;
        CHECK_EQ(reg.Connect(computer, Hkey::Users, &users), rc);
        char name[260] = {};
        if (rc == 0)
            CHECK(reg.EnumKey(users, 0, name, sizeof name) == 0 && reg.OpenKey(users, name, &profile) == 0);
        reg.CloseKey(profile);
        reg.CloseKey(users);
    }
    return WinTest::Result();
}
