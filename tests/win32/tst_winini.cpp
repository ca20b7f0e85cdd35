// The ini engine against the system's profile functions (GetPrivateProfileStringA)
// on files that agree by design: every section list, key list and value must be
// the same. (Where the engine decides otherwise, inifile.h says so; those files
// are listed in docs/windows.md.) Then a locked file and a vanished share.
#include "ini/inifile.h"
#include "platform/win32/winshares.h"
#include "win32/wintest.h"

#include <windows.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

// GetPrivateProfileStringA; a null section or key lists the names, joined by '|'.
std::string System(const std::string& path, const char* section, const char* key) {
    std::string buffer(1 << 20, '\0');
    buffer.resize(
        GetPrivateProfileStringA(section, key, "(none)", buffer.data(), DWORD(buffer.size()), path.c_str()));
    if (!key)
        for (char& c : buffer)
            c = c ? c : '|';
    return buffer;
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += name + "|";
    return text;
}

void Write(const std::string& path, const std::string& bytes) {
    FILE* file = std::fopen(path.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
}

} // namespace

int main(int argc, char** argv) {
    const struct {
        const char* row;
        std::string bytes;
        std::vector<std::pair<std::string, std::string>> probes; // lookups beyond the listed keys
        bool lists = true; // duplicates are listed once by the engine, each time by the system
    } corpus[] = {
        {"CRLF and LF line ends", "[A]\r\nk1=v1\nk2=v2\r\n[B]\nk=v\n", {}},
        {"no final line end", "[A]\r\nk=v", {}},
        {"lone CR", "[A]\rk1=v1\r[B]\r\nk=v\r", {}},
        {"byte-order mark", "\xEF\xBB\xBF[A]\r\nk=v\r\n", {}},
        {"names asked for with blanks", "[Sec]\r\nkey=v\r\n", {{" Sec ", " key "}}},
        {"line without '='", "[W]\r\nbare\r\nk=v\r\n", {{"W", "bare"}}},
        {"blanks around names and values",
         "[ Sec ]\r\n  key  =  value  \r\n\tk2\t=\tv2\t\r\nmy key = my value\r\n",
         {{"Sec", "KEY"}}},
        {"double quotes",
         "[Q]\r\na=\"quoted\"\r\nb=\"unbalanced\r\nc= \"spaced\" \r\nd=\"\"\r\nf=\"in\"side\"\r\n",
         {}},
        {"lines outside sections, comments, '=' in values",
         "orphan=1\r\n[S]\r\n;comment=1\r\nk=v\r\nempty=\r\nurl=a=b=c\r\n",
         {{"S", "orphan"}}},
        {"NUL inside a value", "[N]\r\nk=v\0hidden\r\nk2=v2\r\n"s, {}},
        {"zero-filled tail of a crashed write", "[T]\r\nk=v\r\n\0\0\0\0\0\0\0\0"s, {}},
        {"long line", "[L]\r\nk=" + std::string(70000, 'x') + "\r\nafter=1\r\n", {}},
        {"names without regard to case",
         "[Alpha]\r\nKey=1\r\nOther=3\r\n",
         {{"alpha", "KEY"}, {"ALPHA", "other"}}},
        {"first of duplicates wins",
         "[D]\r\nk=first\r\nk=second\r\n[E]\r\nk=v\r\n[d]\r\nk=third\r\nj=1\r\n",
         {{"D", "k"}, {"d", "j"}},
         false},
    };
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    const std::string path = temp + "cwini"s + std::to_string(GetCurrentProcessId()) + ".ini";
    OCL::Ini::Files files;
    for (const auto& c : corpus) {
        WinTest::Row row(c.row);
        files.Forget();
        Write(path, c.bytes);
        WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str()); // the system's cache too
        std::set<std::pair<std::string, std::string>> lookups(c.probes.begin(), c.probes.end());
        for (const std::string& section : c.lists ? files.SectionNames(path) : std::vector<std::string>()) {
            CHECK_EQ(Joined(files.KeyNames(path, section)), System(path, section.c_str(), nullptr));
            for (const std::string& key : files.KeyNames(path, section))
                lookups.emplace(section, key);
        }
        if (c.lists)
            CHECK_EQ(Joined(files.SectionNames(path)), System(path, nullptr, nullptr));
        for (const auto& [section, key] : lookups)
            CHECK_EQ(files.GetString(path, section, key, "(none)"),
                     System(path, section.c_str(), key.c_str()));
    }

    // A file another process holds open without sharing cannot be replaced: the
    // write fails and the file keeps what it had.
    Write(path, "[DOM\\alice]\r\nTotalConnects=2\r\n");
    HANDLE lock = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    CHECK(!files.WriteString(path, "DOM\\alice", "TotalConnects", "0"));
    CloseHandle(lock);
    CHECK_EQ(System(path, "DOM\\alice", "TotalConnects"), "2");
    DeleteFileA(path.c_str());

    // The data share (argv[1], kept in the folder argv[2]) while it is there and
    // once it is gone: resolving then answers the system's code, nothing is written.
    if (argc == 3) {
        const std::string file = argv[1] + "\\callward.usr"s, folder = argv[2];
        std::filesystem::path local, gone;
        CHECK_EQ(OCL::Win32::CWinShares().Resolve(file, &local), 0);
        CHECK(files.WriteString(local, "DOM\\alice", "TotalConnects", "3"));
        CHECK(MoveFileA(folder.c_str(), (folder + "-gone").c_str()));
        CHECK(OCL::Win32::CWinShares().Resolve(file, &gone) != 0);
        CHECK(!files.WriteString(local, "DOM\\alice", "TotalConnects", "4"));
        CHECK(MoveFileA((folder + "-gone").c_str(), folder.c_str()));
        CHECK_EQ(System(file, "DOM\\alice", "TotalConnects"), "3");
    }
    return WinTest::Result();
}
