// The ini engine against the system's own profile functions
// (GetPrivateProfileStringA) on a corpus of awkward files: every section list,
// key list and value must agree, except where the engine documents otherwise.
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

struct Corpus {
    const char* row;
    std::string bytes;
    std::vector<std::pair<std::string, std::string>> probes; // extra lookups (section, key)
    // Null: every read must agree. Otherwise why the engine reads this file its
    // own way; the differences are printed, not counted.
    const char* differs = nullptr;
    bool lists = true; // whether the section and key lists are compared too
};

std::vector<std::string> Split(const std::string& list) {
    std::vector<std::string> out;
    for (std::size_t at = 0; at < list.size() && list[at];) {
        const std::size_t end = list.find('\0', at);
        out.push_back(list.substr(at, end - at));
        at = end + 1;
    }
    return out;
}

// GetPrivateProfileStringA; null section or key lists the names.
std::string System(const std::string& path, const char* section, const char* key) {
    std::string buffer(1 << 20, '\0');
    const DWORD n =
        GetPrivateProfileStringA(section, key, "(none)", buffer.data(), DWORD(buffer.size()), path.c_str());
    buffer.resize(n);
    return buffer;
}

std::string Show(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += "[" + name + "]";
    return text;
}

// A file another process holds open without sharing cannot be replaced: the
// write fails and the file keeps what it had.
void Locked(OCL::Ini::Files& files, const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "wb");
    std::fputs("[DOM\\alice]\r\nTotalConnects=2\r\n", file);
    std::fclose(file);
    HANDLE lock = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    CHECK(lock != INVALID_HANDLE_VALUE);
    CHECK(!files.WriteString(path, "DOM\\alice", "MaxSessionTime", "60"));
    CloseHandle(lock);
    CHECK_EQ(System(path, "DOM\\alice", "TotalConnects"), "2");
    CHECK_EQ(System(path, "DOM\\alice", "MaxSessionTime"), "(none)");
    DeleteFileA(path.c_str());
}

// The data share as the console reaches it, and gone: resolving it then answers
// the system's code, and nothing is written anywhere.
void Share(OCL::Ini::Files& files, const std::string& unc, const std::string& backing) {
    OCL::Win32::CWinShares shares;
    std::filesystem::path local;
    const std::string file = unc + "\\callward.usr";
    CHECK_EQ(shares.Resolve(file, &local), 0);
    CHECK(files.WriteString(local, "DOM\\alice", "TotalConnects", "3"));
    CHECK_EQ(System(file, "DOM\\alice", "TotalConnects"), "3");
    CHECK(MoveFileA(backing.c_str(), (backing + "-gone").c_str()));
    std::filesystem::path gone;
    const OCL::DWORD rc = shares.Resolve(file, &gone);
    std::printf("a vanished share resolves with %u\n", unsigned(rc));
    CHECK(rc != 0);
    CHECK(!files.WriteString(local, "DOM\\alice", "TotalConnects", "4"));
    CHECK(MoveFileA((backing + "-gone").c_str(), backing.c_str()));
    CHECK_EQ(System(file, "DOM\\alice", "TotalConnects"), "3");
}

} // namespace

int main(int argc, char** argv) {
    const Corpus corpus[] = {
        {"CRLF and LF line ends", "[A]\r\nk1=v1\nk2=v2\r\n[B]\nk=v\n", {}},
        {"no final line end", "[A]\r\nk=v", {}},
        {"blanks around names and values",
         "[ Sec ]\r\n  key  =  value  \r\n\tk2\t=\tv2\t\r\nmy key = my value\r\n",
         {{"Sec", "KEY"}}},
        {"double quotes",
         "[Q]\r\na=\"quoted\"\r\nb=\"unbalanced\r\nc= \"spaced\" \r\nd=\"\"\r\nf=\"in\"side\"\r\n",
         {}},
        {"lines outside sections, comments, equals in values",
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
         nullptr,
         false},
        // The engine's own decisions (inifile.h).
        {"CR alone", "[C]\rk=v\rk2=v2\r\n[D]\r\nk=v\r\n", {}, "lines end at LF"},
        {"duplicates listed", "[D]\r\nk=1\r\nk=2\r\n[d]\r\nj=1\r\n", {}, "names are listed once"},
        {"brackets",
         "[Sec]tail\r\nk=v\r\n[Open\r\nk2=v2\r\n[]\r\nk3=v3\r\n[a]b]\r\nk4=v4\r\n",
         {},
         "a section name runs to the next ']' or the line end"},
        {"single quotes", "[Q]\r\ne='single'\r\n", {}, "only double quotes are dropped"},
        {"comment asked for by name",
         "[S]\r\n;comment=1\r\nk=v\r\n",
         {{"S", ";comment"}},
         "';' starts a comment"},
        {"line without '='", "[S]\r\nnoequals\r\nk=v\r\n", {}, "a line without '=' is a key with no value"},
        // Not (yet) decided by the engine: reported to its owner.
        {"lookup names with blanks",
         "[Sec]\r\nkey=v\r\n",
         {{" Sec ", " key "}},
         "names asked for are not trimmed"},
        {"UTF-8 byte order mark", "\xEF\xBB\xBF[B]\r\nk=v\r\n", {}, "no byte order mark is looked for"},
        // Wine compares only ASCII letters without case; Windows and the engine all of Windows-1252's.
        {"Windows-1252 names", "[M\xfcller]\r\n\xc4rger=\xe9t\xe9\r\n", {{"M\xdcller", "\xe4rger"}}, "Wine"},
    };

    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    OCL::Ini::Files files;
    int index = 0;
    for (const Corpus& c : corpus) {
        WinTest::Row row(c.row);
        const std::string path = std::string(temp) + "cwini" + std::to_string(GetCurrentProcessId()) + "_" +
                                 std::to_string(index++) + ".ini";
        FILE* file = std::fopen(path.c_str(), "wb");
        std::fwrite(c.bytes.data(), 1, c.bytes.size(), file);
        std::fclose(file);

        auto agree = [&](const std::string& engine, const std::string& system, const std::string& what) {
            if (!c.differs)
                return WinTest::Check(engine == system, what.c_str(), __LINE__,
                                      "engine " + engine + ", system " + system);
            if (engine != system)
                std::printf("DIFFERS [%s] (%s) %s: engine %s, system %s\n", c.row, c.differs, what.c_str(),
                            engine.c_str(), system.c_str());
            return true;
        };
        const auto sections = c.lists ? Split(System(path, nullptr, nullptr)) : std::vector<std::string>();
        if (c.lists)
            agree(Show(files.SectionNames(path)), Show(sections), "sections");
        std::set<std::pair<std::string, std::string>> lookups(c.probes.begin(), c.probes.end());
        for (const std::string& section : sections) {
            const auto keys = Split(System(path, section.c_str(), nullptr));
            agree(Show(files.KeyNames(path, section)), Show(keys), "keys of [" + section + "]");
            for (const std::string& key : keys)
                lookups.emplace(section, key);
        }
        for (const auto& [section, key] : lookups)
            agree(files.GetString(path, section, key, "(none)"), System(path, section.c_str(), key.c_str()),
                  "[" + section + "] " + key);
        DeleteFileA(path.c_str());
    }
    Locked(files, std::string(temp) + "cwlocked" + std::to_string(GetCurrentProcessId()) + ".ini");
    if (argc == 3) // a share \\HOST\SHARE and the folder behind it
        Share(files, argv[1], argv[2]);
    return WinTest::Result();
}
