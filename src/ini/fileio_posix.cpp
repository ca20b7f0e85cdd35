#include "ini/fileio.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/vfs.h>
#endif

namespace fs = std::filesystem;

namespace OCL::Ini {

std::optional<FileStamp> StampOf(const fs::path& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return std::nullopt;
    FileStamp stamp;
    stamp.size = std::uintmax_t(st.st_size);
    stamp.modifiedNs = std::int64_t(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    stamp.changedNs = std::int64_t(st.st_ctim.tv_sec) * 1000000000 + st.st_ctim.tv_nsec;
    stamp.inode = std::uint64_t(st.st_ino);
    stamp.device = std::uint64_t(st.st_dev);
    return stamp;
}

namespace Io {
namespace {

constexpr std::int64_t kFineTickNs = 20'000'000;
constexpr std::int64_t kCoarseTickNs = 2'000'000'000;

std::string Reason(const char* what, const fs::path& path) {
    return std::string(what) + " " + path.string() + ": " + std::strerror(errno);
}

void SetError(std::string* error, std::string text) {
    if (error)
        *error = std::move(text);
}

int OpenRetrying(const char* name, int flags, mode_t mode = 0) {
    int fd;
    do
        fd = ::open(name, flags | O_CLOEXEC, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

// Reads everything from fd's start, also what was added since it was examined.
bool ReadFrom(int fd, std::string* bytes) {
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        return false;
    std::string out;
    out.resize(std::size_t(st.st_size));
    std::size_t got = 0;
    char more[65536];
    for (;;) {
        // Into the string while it has room, then through a buffer: a file that did
        // not grow is read without moving its bytes.
        const bool direct = got < out.size();
        char* to = direct ? out.data() + got : more;
        const ssize_t n = ::pread(fd, to, direct ? out.size() - got : sizeof more, off_t(got));
        if (n < 0 && errno == EINTR)
            continue;
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

std::string TempNameFor(const fs::path& target) {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, ".%016llx", static_cast<unsigned long long>(random()));
    std::string name = ".";
    name += target.filename().string();
    name += suffix;
    name += ".cwtmp";
    return (target.has_parent_path() ? target.parent_path() : fs::path(".")) / name;
}

#ifdef O_TMPFILE
// Cleared when this system turns out unable to name a file made without one.
std::atomic<bool> g_unnamedFiles{true};
#endif

} // namespace

std::int64_t NowNs() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

std::int64_t TickNs(const fs::path& path) {
#ifdef __linux__
    // Local file systems that keep times to the clock tick; shares, FAT and the
    // unknown are taken as coarse.
    struct statfs info {};
    if (::statfs(path.c_str(), &info) == 0) {
        switch (static_cast<unsigned long>(info.f_type)) {
        case 0xEF53:     // ext2, ext3, ext4
        case 0x58465342: // xfs
        case 0x9123683E: // btrfs
        case 0x01021994: // tmpfs
        case 0xF2F52010: // f2fs
        case 0x2FC12FC1: // zfs
        case 0x794C7630: // overlayfs
            return kFineTickNs;
        default:
            break;
        }
    }
#else
    (void)path;
#endif
    return kCoarseTickNs;
}

bool ReadWhole(const fs::path& path, std::string* bytes) {
    const int fd = OpenRetrying(path.c_str(), O_RDONLY);
    if (fd < 0)
        return false;
    const bool ok = ReadFrom(fd, bytes);
    ::close(fd);
    return ok;
}

bool Holds(const fs::path& path, std::string_view bytes) {
    const int fd = OpenRetrying(path.c_str(), O_RDONLY);
    if (fd < 0)
        return false;
    char buffer[65536];
    std::size_t at = 0;
    bool same = true;
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
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
    ::close(fd);
    return same;
}

Target::~Target() {
    // Closing releases the lock.
    if (m_fd >= 0)
        ::close(m_fd);
}

Target::Result Target::Lock(const fs::path& path, std::string* error) {
    const int fd = OpenRetrying(path.c_str(), O_RDONLY);
    if (fd < 0) {
        if (errno == ENOENT)
            return Result::Missing;
        SetError(error, Reason("cannot open", path));
        return Result::Failed;
    }
    struct stat held {};
    if (::fstat(fd, &held) != 0 || !S_ISREG(held.st_mode)) {
        SetError(error, path.string() + " is not a regular file");
        ::close(fd);
        return Result::Failed;
    }
    int locked;
    do
        locked = ::flock(fd, LOCK_EX);
    while (locked != 0 && errno == EINTR);
    // A file system without advisory locks leaves the stamp check to guard the write.
    if (locked != 0 && errno != ENOLCK && errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL) {
        SetError(error, Reason("cannot lock", path));
        ::close(fd);
        return Result::Failed;
    }
    // Another writer may have put a new file in its place while this one waited.
    struct stat named {};
    if (::stat(path.c_str(), &named) != 0 || named.st_ino != held.st_ino || named.st_dev != held.st_dev) {
        ::close(fd);
        return Result::Replaced;
    }
    m_path = path;
    m_fd = fd;
    return Result::Locked;
}

bool Target::Read(std::string* bytes, std::string* error) {
    if (ReadFrom(m_fd, bytes))
        return true;
    SetError(error, Reason("cannot read", m_path));
    return false;
}

NewFile::~NewFile() {
    Discard();
}

void NewFile::Discard() {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    if (!m_temp.empty())
        ::unlink(m_temp.c_str());
    m_temp.clear();
}

bool NewFile::Create(const fs::path& target, std::string* error) {
    m_target = target;
    const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
#ifdef O_TMPFILE
    // A file without a name until it is complete: a crash leaves nothing behind.
    if (g_unnamedFiles) {
        m_fd = OpenRetrying(dir.c_str(), O_TMPFILE | O_RDWR, 0666);
        if (m_fd >= 0)
            return true;
    }
#endif
    for (int attempt = 0; attempt < 16; ++attempt) {
        m_temp = TempNameFor(target);
        m_fd = OpenRetrying(m_temp.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (m_fd >= 0)
            return true;
        const int cause = errno;
        m_temp.clear();
        if (cause != EEXIST) {
            errno = cause;
            SetError(error, Reason("cannot create a new file for", target));
            return false;
        }
    }
    SetError(error, "cannot create a new file for " + target.string());
    return false;
}

bool NewFile::Write(std::string_view bytes, std::string* error) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(m_fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = EIO;
            SetError(error, Reason("cannot write", m_target));
            return false;
        }
        bytes.remove_prefix(std::size_t(n));
    }
    return true;
}

bool NewFile::Finish(bool sync, Target& like, std::string* error) {
    if (sync && ::fsync(m_fd) != 0) {
        SetError(error, Reason("cannot write", m_target));
        return false;
    }
    struct stat old {};
    if (like.m_fd >= 0 && ::fstat(like.m_fd, &old) == 0)
        (void)::fchmod(m_fd, old.st_mode & 07777);
    if (!m_temp.empty()) {
        // Some file systems report a failed write only here.
        const int fd = m_fd;
        m_fd = -1;
        if (::close(fd) != 0) {
            SetError(error, Reason("cannot write", m_target));
            return false;
        }
    }
    return true;
}

NewFile::Commit NewFile::Put(bool mustBeNew, std::string* error) {
#ifdef O_TMPFILE
    if (m_temp.empty()) {
        const std::string self = "/proc/self/fd/" + std::to_string(m_fd);
        auto name = [&](const char* to) {
            if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, to, AT_SYMLINK_FOLLOW) == 0)
                return true;
            return errno == ENOENT && ::linkat(m_fd, "", AT_FDCWD, to, AT_EMPTY_PATH) == 0;
        };
        if (mustBeNew) {
            if (name(m_target.c_str()))
                return Commit::Done;
            if (errno == EEXIST)
                return Commit::Again;
        } else {
            const fs::path temp = TempNameFor(m_target);
            if (name(temp.c_str()))
                m_temp = temp;
        }
        if (m_temp.empty()) {
            // The unnamed file cannot be given a name here: make named ones from now on.
            g_unnamedFiles = false;
            return Commit::Again;
        }
    }
#endif
    if (mustBeNew) {
#ifdef RENAME_NOREPLACE
        if (::renameat2(AT_FDCWD, m_temp.c_str(), AT_FDCWD, m_target.c_str(), RENAME_NOREPLACE) == 0) {
            m_temp.clear();
            return Commit::Done;
        }
        if (errno == EEXIST)
            return Commit::Again;
#endif
        // Without an exclusive rename, a link refuses an existing name just as well.
        if (::link(m_temp.c_str(), m_target.c_str()) == 0)
            return Commit::Done; // the destructor removes the temporary name
        if (errno == EEXIST)
            return Commit::Again;
    }
    if (::rename(m_temp.c_str(), m_target.c_str()) != 0) {
        SetError(error, Reason("cannot replace", m_target));
        return Commit::Failed;
    }
    m_temp.clear();
    return Commit::Done;
}

} // namespace Io
} // namespace OCL::Ini
