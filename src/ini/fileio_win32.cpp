#include "ini/fileio.h"

// FileRemoteProtocolInfo and GetVolumeInformationByHandleW need Windows 7.
#if !defined(_WIN32_WINNT) || _WIN32_WINNT < 0x0601
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace OCL::Ini {
namespace {

// The system clock, and so file times, advance in steps of about 16 ms.
constexpr std::int64_t kFineTickNs = 32'000'000;
constexpr std::int64_t kCoarseTickNs = 2'000'000'000;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// 100-nanosecond units since 1601 to nanoseconds since 1970.
std::int64_t ToUnixNs(std::int64_t ticks) {
    return (ticks - 116444736000000000LL) * 100;
}

HANDLE OpenForAttributes(const fs::path& path) {
    // Backup semantics let a folder be opened too, so that it can be told apart.
    return ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                         FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

HANDLE OpenForReading(const fs::path& path) {
    // Shared for deleting too, so that a writer can rename its new file over this one.
    return ::CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
}

std::string Reason(const char* what, const fs::path& path, DWORD code) {
    return std::string(what) + " " + path.string() + ": " + std::system_category().message(int(code));
}

void SetError(std::string* error, std::string text) {
    if (error)
        *error = std::move(text);
}

// Reads n bytes or up to the end; the number read, or -1.
long long ReadSome(HANDLE handle, char* to, std::size_t n) {
    const DWORD want = n > (DWORD(1) << 30) ? (DWORD(1) << 30) : DWORD(n);
    DWORD got = 0;
    if (!::ReadFile(handle, to, want, &got, nullptr))
        return -1;
    return got;
}

// Reads everything from the handle's position, also what was added since its size
// was taken.
bool ReadFrom(HANDLE handle, std::string* bytes) {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(handle, &size))
        return false;
    std::string out;
    out.resize(std::size_t(size.QuadPart));
    std::size_t got = 0;
    char more[65536];
    for (;;) {
        const bool direct = got < out.size();
        const long long n = direct ? ReadSome(handle, out.data() + got, out.size() - got)
                                   : ReadSome(handle, more, sizeof more);
        if (n < 0)
            return false;
        if (n == 0)
            break;
        if (!direct)
            out.append(more, std::size_t(n));
        got += std::size_t(n);
    }
    out.resize(got);
    *bytes = std::move(out);
    return true;
}

fs::path TempNameFor(const fs::path& target) {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, ".%016llx", static_cast<unsigned long long>(random()));
    std::string name = ".";
    name += target.filename().string();
    name += suffix;
    name += ".cwtmp";
    return (target.has_parent_path() ? target.parent_path() : fs::path(".")) / name;
}

} // namespace

std::optional<FileStamp> StampOf(const fs::path& path) {
    const HANDLE handle = OpenForAttributes(path);
    if (handle == INVALID_HANDLE_VALUE)
        return std::nullopt;
    BY_HANDLE_FILE_INFORMATION info{};
    FILE_BASIC_INFO basic{};
    const bool ok = ::GetFileInformationByHandle(handle, &info) &&
                    ::GetFileInformationByHandleEx(handle, FileBasicInfo, &basic, sizeof basic);
    ::CloseHandle(handle);
    if (!ok || (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return std::nullopt;
    FileStamp stamp;
    stamp.size = (std::uintmax_t(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
    stamp.modifiedNs = ToUnixNs(basic.LastWriteTime.QuadPart);
    stamp.changedNs = ToUnixNs(basic.ChangeTime.QuadPart);
    // The file's identity: its index on its volume.
    stamp.inode = (std::uint64_t(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
    stamp.device = info.dwVolumeSerialNumber;
    return stamp;
}

namespace Io {

std::int64_t NowNs() {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    return ToUnixNs((std::int64_t(now.dwHighDateTime) << 32) | now.dwLowDateTime);
}

std::int64_t TickNs(const fs::path& path) {
    // Local NTFS and ReFS keep times to the clock's step; shares, FAT and the unknown
    // are taken as coarse.
    const HANDLE handle = OpenForAttributes(path);
    if (handle == INVALID_HANDLE_VALUE)
        return kCoarseTickNs;
    FILE_REMOTE_PROTOCOL_INFO remote{};
    wchar_t system[MAX_PATH + 1] = {};
    const bool isRemote =
        ::GetFileInformationByHandleEx(handle, FileRemoteProtocolInfo, &remote, sizeof remote);
    const bool named =
        ::GetVolumeInformationByHandleW(handle, nullptr, 0, nullptr, nullptr, nullptr, system, MAX_PATH + 1);
    ::CloseHandle(handle);
    const std::wstring_view name(system);
    return !isRemote && named && (name == L"NTFS" || name == L"ReFS") ? kFineTickNs : kCoarseTickNs;
}

bool ReadWhole(const fs::path& path, std::string* bytes) {
    const HANDLE handle = OpenForReading(path);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    const bool ok = ReadFrom(handle, bytes);
    ::CloseHandle(handle);
    return ok;
}

bool Holds(const fs::path& path, std::string_view bytes) {
    const HANDLE handle = OpenForReading(path);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    char buffer[65536];
    std::size_t at = 0;
    bool same = true;
    for (;;) {
        const long long n = ReadSome(handle, buffer, sizeof buffer);
        if (n <= 0) {
            same = n == 0 && at == bytes.size();
            break;
        }
        if (at + std::size_t(n) > bytes.size() ||
            std::memcmp(buffer, bytes.data() + at, std::size_t(n)) != 0) {
            same = false;
            break;
        }
        at += std::size_t(n);
    }
    ::CloseHandle(handle);
    return same;
}

// This system has no advisory lock that all writers of a share honour: the target
// is only held open, and the writer's stamp check guards the write.
Target::~Target() {
    if (m_handle)
        ::CloseHandle(static_cast<HANDLE>(m_handle));
}

Target::Result Target::Lock(const fs::path& path, std::string* error) {
    const HANDLE handle = OpenForReading(path);
    if (handle == INVALID_HANDLE_VALUE) {
        const DWORD code = ::GetLastError();
        if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND)
            return Result::Missing;
        SetError(error, Reason("cannot open", path, code));
        return Result::Failed;
    }
    m_path = path;
    m_handle = handle;
    return Result::Locked;
}

bool Target::Read(std::string* bytes, std::string* error) {
    if (ReadFrom(static_cast<HANDLE>(m_handle), bytes))
        return true;
    SetError(error, Reason("cannot read", m_path, ::GetLastError()));
    return false;
}

NewFile::~NewFile() {
    Discard();
}

void NewFile::Discard() {
    if (m_handle)
        ::CloseHandle(static_cast<HANDLE>(m_handle));
    m_handle = nullptr;
    if (!m_temp.empty())
        ::DeleteFileW(m_temp.c_str());
    m_temp.clear();
}

bool NewFile::Create(const fs::path& target, std::string* error) {
    m_target = target;
    for (int attempt = 0; attempt < 16; ++attempt) {
        const fs::path temp = TempNameFor(target);
        const HANDLE handle = ::CreateFileW(temp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                            FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle != INVALID_HANDLE_VALUE) {
            m_temp = temp;
            m_handle = handle;
            return true;
        }
        const DWORD code = ::GetLastError();
        if (code != ERROR_FILE_EXISTS && code != ERROR_ALREADY_EXISTS) {
            SetError(error, Reason("cannot create a new file for", target, code));
            return false;
        }
    }
    SetError(error, "cannot create a new file for " + target.string());
    return false;
}

bool NewFile::Write(std::string_view bytes, std::string* error) {
    while (!bytes.empty()) {
        const DWORD piece = bytes.size() > (DWORD(1) << 30) ? (DWORD(1) << 30) : DWORD(bytes.size());
        DWORD written = 0;
        if (!::WriteFile(static_cast<HANDLE>(m_handle), bytes.data(), piece, &written, nullptr) ||
            written == 0) {
            SetError(error, Reason("cannot write", m_target, ::GetLastError()));
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

bool NewFile::Finish(bool sync, Target& like, std::string* error) {
    // Holding the old file open would only keep the new one from taking its name:
    // there is no lock to keep on this system.
    if (like.m_handle)
        ::CloseHandle(static_cast<HANDLE>(like.m_handle));
    like.m_handle = nullptr;
    // The new file takes its folder's permissions, as the old one did.
    const HANDLE handle = static_cast<HANDLE>(m_handle);
    m_handle = nullptr;
    const bool flushed = !sync || ::FlushFileBuffers(handle);
    const DWORD code = flushed ? ERROR_SUCCESS : ::GetLastError();
    if (!::CloseHandle(handle) || !flushed) {
        SetError(error, Reason("cannot write", m_target, flushed ? ::GetLastError() : code));
        return false;
    }
    return true;
}

NewFile::Commit NewFile::Put(bool mustBeNew, std::string* error) {
    // A reader that holds the old file open without sharing its deletion (the
    // service, an editor, a virus scanner) blocks the replace for a moment: try
    // again for about two seconds before giving up with the old file intact.
    DWORD code = ERROR_SUCCESS;
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (::MoveFileExW(m_temp.c_str(), m_target.c_str(), mustBeNew ? 0 : MOVEFILE_REPLACE_EXISTING)) {
            m_temp.clear();
            return Commit::Done;
        }
        code = ::GetLastError();
        if (code != ERROR_ACCESS_DENIED && code != ERROR_SHARING_VIOLATION && code != ERROR_LOCK_VIOLATION)
            break;
        ::Sleep(20);
    }
    if (mustBeNew && (code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS))
        return Commit::Again;
    SetError(error, Reason("cannot replace", m_target, code));
    return Commit::Failed;
}

} // namespace Io
} // namespace OCL::Ini
