#include "platform/win32/winpipe.h"

#include <windows.h>

namespace OCL::Win32 {
namespace {

constexpr DWORD kDefaultTimeoutMs = 5000;

class Deadline {
public:
    explicit Deadline(DWORD timeoutMs)
        : m_forever(timeoutMs == INFINITE),
          m_end(::GetTickCount64() + (timeoutMs ? timeoutMs : kDefaultTimeoutMs)) {}
    DWORD Left() const {
        if (m_forever)
            return INFINITE;
        const ULONGLONG now = ::GetTickCount64();
        return now >= m_end ? 0 : DWORD(m_end - now);
    }

private:
    bool m_forever;
    ULONGLONG m_end;
};

class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle() {
        if (m_handle && m_handle != INVALID_HANDLE_VALUE)
            ::CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

// One overlapped read or write that must end before the deadline; one that is
// late is cancelled and waited for, so the caller's buffer is free on return.
template <typename Io>
DWORD Transfer(HANDLE pipe, const Deadline& deadline, unsigned long* done, Io io) {
    Handle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    if (!event.Get())
        return ::GetLastError();
    OVERLAPPED overlapped{};
    overlapped.hEvent = event.Get();
    if (!io(&overlapped)) {
        const DWORD rc = ::GetLastError();
        if (rc != ERROR_IO_PENDING && rc != ERROR_MORE_DATA)
            return rc;
    }
    if (::WaitForSingleObject(event.Get(), deadline.Left()) != WAIT_OBJECT_0) {
        ::CancelIo(pipe);
        ::GetOverlappedResult(pipe, &overlapped, done, TRUE);
        *done = 0;
        return ERROR_SEM_TIMEOUT;
    }
    return ::GetOverlappedResult(pipe, &overlapped, done, FALSE) ? DWORD(ERROR_SUCCESS)
                                                                 : DWORD(::GetLastError());
}

} // namespace

DWORD CWinServicePipe::Call(const std::string& pipeName, const void* request, DWORD requestSize, void* reply,
                            DWORD replySize, DWORD* bytesRead, DWORD timeoutMs) {
    if (bytesRead)
        *bytesRead = 0;
    const Deadline deadline(timeoutMs);
    HANDLE opened = INVALID_HANDLE_VALUE;
    for (;;) {
        opened = ::CreateFileA(pipeName.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                               FILE_FLAG_OVERLAPPED, nullptr);
        if (opened != INVALID_HANDLE_VALUE)
            break;
        const DWORD rc = ::GetLastError();
        if (rc != ERROR_PIPE_BUSY)
            return rc;
        // Every instance is busy: wait for one, within what is left.
        const DWORD left = deadline.Left();
        if (left == 0)
            return ERROR_SEM_TIMEOUT;
        if (!::WaitNamedPipeA(pipeName.c_str(), left))
            return ::GetLastError();
    }
    Handle pipe(opened);
    unsigned long mode = PIPE_READMODE_MESSAGE;
    if (!::SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr))
        return ::GetLastError();

    unsigned long done = 0;
    DWORD rc = Transfer(pipe.Get(), deadline, &done, [&](OVERLAPPED* overlapped) {
        return ::WriteFile(pipe.Get(), request, requestSize, nullptr, overlapped);
    });
    if (rc != ERROR_SUCCESS)
        return rc;
    rc = Transfer(pipe.Get(), deadline, &done, [&](OVERLAPPED* overlapped) {
        return ::ReadFile(pipe.Get(), reply, replySize, nullptr, overlapped);
    });
    // A reply longer than the buffer comes back cut, with MoreData, as from CallNamedPipe.
    if ((rc == ERROR_SUCCESS || rc == ERROR_MORE_DATA) && bytesRead)
        *bytesRead = DWORD(done);
    return rc;
}

} // namespace OCL::Win32
