#include "platform/site/sitepipe.h"

#include "ini/inifile.h"
#include "platform/site/sitedirectory.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace OCL::Site {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr DWORD kDefaultTimeoutMs = 5000;
constexpr DWORD kWaitForever = 0xFFFFFFFF;

#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_NOSIGNAL;
#else
constexpr int kSendFlags = 0;
#endif

class Deadline {
public:
    explicit Deadline(DWORD timeoutMs)
        : m_forever(timeoutMs == kWaitForever),
          m_at(SteadyClock::now() + std::chrono::milliseconds(timeoutMs ? timeoutMs : kDefaultTimeoutMs)) {}
    // Milliseconds left for poll(): -1 for ever, 0 once passed.
    int Left() const {
        if (m_forever)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_at - SteadyClock::now()).count();
        return left > 0 ? int(std::min<long long>(left, 1 << 30)) : 0;
    }

private:
    bool m_forever;
    SteadyClock::time_point m_at;
};

class Socket {
public:
    Socket() : m_fd(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        if (m_fd < 0)
            return;
        ::fcntl(m_fd, F_SETFD, FD_CLOEXEC);
        ::fcntl(m_fd, F_SETFL, ::fcntl(m_fd, F_GETFL) | O_NONBLOCK);
#ifdef SO_NOSIGPIPE
        int on = 1;
        ::setsockopt(m_fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
    }
    ~Socket() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int Fd() const {
        return m_fd;
    }

private:
    int m_fd;
};

// False when the deadline passed before the socket was ready.
bool Wait(int fd, short events, const Deadline& deadline) {
    for (;;) {
        pollfd p{fd, events, 0};
        const int r = ::poll(&p, 1, deadline.Left());
        if (r > 0)
            return true;
        if (r == 0)
            return false;
        if (errno != EINTR)
            return true; // the next call on the socket reports the problem
    }
}

DWORD ConnectError(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
        return Err::AccessDenied;
    default: // ENOENT, ECONNREFUSED, ENOTSOCK...: nobody listens there
        return Err::FileNotFound;
    }
}

DWORD Connect(int fd, const std::string& path, const Deadline& deadline) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return Err::FileNotFound;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    for (;;) {
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return Err::Success;
        if (errno == EINTR)
            continue;
        if (errno == EINPROGRESS) {
            if (!Wait(fd, POLLOUT, deadline))
                return Err::SemTimeout;
            int error = 0;
            socklen_t length = sizeof error;
            ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
            return error ? ConnectError(error) : Err::Success;
        }
        if (errno == EAGAIN) {
            // Every instance of the pipe is busy: wait for one, as a pipe client does.
            if (deadline.Left() == 0)
                return Err::SemTimeout;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            continue;
        }
        return ConnectError(errno);
    }
}

DWORD SendAll(int fd, const char* data, std::size_t size, const Deadline& deadline) {
    while (size) {
        const ssize_t n = ::send(fd, data, size, kSendFlags);
        if (n > 0) {
            data += n;
            size -= std::size_t(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            if (!Wait(fd, POLLOUT, deadline))
                return Err::SemTimeout;
        } else {
            return Err::BrokenPipe;
        }
    }
    return Err::Success;
}

// Reads exactly size bytes into data (null: reads and drops them).
DWORD ReceiveAll(int fd, char* data, std::size_t size, const Deadline& deadline) {
    char scratch[4096];
    while (size) {
        char* into = data ? data : scratch;
        const std::size_t want = data ? size : std::min(size, sizeof scratch);
        const ssize_t n = ::recv(fd, into, want, 0);
        if (n > 0) {
            if (data)
                data += n;
            size -= std::size_t(n);
        } else if (n == 0) {
            return Err::BrokenPipe;
        } else if (errno == EINTR) {
            continue;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (!Wait(fd, POLLIN, deadline))
                return Err::SemTimeout;
        } else {
            return Err::BrokenPipe;
        }
    }
    return Err::Success;
}

// "\\HOST\pipe\NAME" -> HOST and NAME.
bool SplitPipeName(const std::string& pipeName, std::string* host, std::string* name) {
    if (pipeName.size() < 2 || pipeName[0] != '\\' || pipeName[1] != '\\')
        return false;
    const std::size_t hostEnd = pipeName.find('\\', 2);
    if (hostEnd == std::string::npos || hostEnd == 2)
        return false;
    constexpr std::string_view kPipe = "pipe\\";
    if (!Ini::NamesEqual(std::string_view(pipeName).substr(hostEnd + 1, kPipe.size()), kPipe))
        return false;
    *host = pipeName.substr(2, hostEnd - 2);
    *name = pipeName.substr(hostEnd + 1 + kPipe.size());
    return !name->empty() && name->find('/') == std::string::npos && host->find('/') == std::string::npos;
}

} // namespace

CSitePipe::CSitePipe(std::shared_ptr<const SiteDirectory> site) : m_site(std::move(site)) {}

DWORD CSitePipe::Call(const std::string& pipeName, const void* request, DWORD requestSize, void* reply,
                      DWORD replySize, DWORD* bytesRead, DWORD timeoutMs) {
    if (bytesRead)
        *bytesRead = 0;
    if ((!request && requestSize) || (!reply && replySize) || requestSize > kMaxPipeMessage)
        return Err::InvalidParameter;
    std::string host, name;
    if (!SplitPipeName(pipeName, &host, &name))
        return Err::InvalidName;
    if (const DWORD reach = m_site->Reach(host))
        return reach;

    const Deadline deadline(timeoutMs);
    Socket socket;
    if (socket.Fd() < 0)
        return Err::NotEnoughMemory;
    if (const DWORD r = Connect(socket.Fd(), m_site->PipeSocket(host, name).string(), deadline))
        return r;

    std::string message(4 + std::size_t(requestSize), '\0');
    for (int i = 0; i < 4; ++i)
        message[std::size_t(i)] = char((requestSize >> (8 * i)) & 0xFF);
    if (requestSize)
        std::memcpy(message.data() + 4, request, requestSize);
    if (const DWORD r = SendAll(socket.Fd(), message.data(), message.size(), deadline))
        return r;

    unsigned char header[4];
    if (const DWORD r = ReceiveAll(socket.Fd(), reinterpret_cast<char*>(header), sizeof header, deadline))
        return r;
    const std::uint32_t length =
        header[0] | header[1] << 8 | header[2] << 16 | std::uint32_t(header[3]) << 24;
    if (length > kMaxPipeMessage)
        return Err::BrokenPipe;
    // The caller's buffer is only filled once the whole reply is in.
    const DWORD kept = std::min<DWORD>(length, replySize);
    std::string body(kept, '\0');
    if (const DWORD r = ReceiveAll(socket.Fd(), body.data(), kept, deadline))
        return r;
    if (const DWORD r = ReceiveAll(socket.Fd(), nullptr, length - kept, deadline))
        return r;
    if (kept)
        std::memcpy(reply, body.data(), kept);
    if (bytesRead)
        *bytesRead = kept;
    return kept < length ? Err::MoreData : Err::Success;
}

} // namespace OCL::Site
