#pragma once
// What the engine needs from the operating system: stamps, whole-file reads, the
// writer's lock and the new file that replaces the old one. One implementation per
// system (fileio_posix.cpp, fileio_win32.cpp). Internal to the engine.

#include "ini/inifile.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace OCL::Ini::Io {

// The time now, on the clock that stamps file times (nanoseconds since 1970).
std::int64_t NowNs();

// How coarse the times of the file system holding path are.
std::int64_t TickNs(const std::filesystem::path& path);

// Reads the whole file; false when it cannot be read.
bool ReadWhole(const std::filesystem::path& path, std::string* bytes);

// Whether the file holds exactly bytes now.
bool Holds(const std::filesystem::path& path, std::string_view bytes);

// The file a write replaces, held open under the writers' lock while the new one
// is made. Where the system has no advisory lock the writer relies on its stamp
// check alone.
class Target {
public:
    enum class Result {
        Locked,   // open and locked; Bytes() can be read
        Missing,  // there is no file: the write creates one
        Replaced, // the path named another file by the time the lock came: try again
        Failed,
    };

    Target() = default;
    ~Target();
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    Result Lock(const std::filesystem::path& path, std::string* error);
    // Reads the whole locked file.
    bool Read(std::string* bytes, std::string* error);

private:
    friend class NewFile;
    std::filesystem::path m_path;
#ifdef _WIN32
    void* m_handle = nullptr;
#else
    int m_fd = -1;
#endif
};

// The new contents of a file, made beside it and put in its place in one rename.
// Whatever happens, nothing of it stays behind unless Commit succeeded.
class NewFile {
public:
    enum class Commit {
        Done,
        Again, // a file of that name came meanwhile, or the new file must be made another way
        Failed,
    };

    NewFile() = default;
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool Create(const std::filesystem::path& target, std::string* error);
    bool Write(std::string_view bytes, std::string* error);
    // Flushes, optionally to the disk, and takes the target's permissions.
    bool Finish(bool sync, Target& like, std::string* error);
    // Puts the new file in the target's place. With mustBeNew, only while there is
    // still no file of that name.
    Commit Put(bool mustBeNew, std::string* error);

private:
    void Discard();

    std::filesystem::path m_target;
    std::filesystem::path m_temp; // empty while the new file has no name
#ifdef _WIN32
    void* m_handle = nullptr;
#else
    int m_fd = -1;
#endif
};

} // namespace OCL::Ini::Io
