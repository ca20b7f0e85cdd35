// The service pipe port against a pipe server of our own on \\.\pipe\cwsvcpipe
// that answers, stays silent, hangs up or answers too much.
#include "platform/win32/winpipe.h"
#include "win32/wintest.h"

#include <windows.h>

#include <string>
#include <thread>
#include <utility>

namespace {

const char* const kPipe = "\\\\.\\pipe\\cwsvcpipe";

enum class Serve { Nobody, Answer, Silent, HangUp, TooMuch, Busy };

// One instance of the service's pipe, serving one client the given way.
class Server {
public:
    explicit Server(Serve how) {
        if (how == Serve::Nobody)
            return;
        m_pipe = CreateNamedPipeA(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1,
                                  4096, 4096, 0, nullptr);
        if (how == Serve::Busy) // another console holds the only instance
            m_other = CreateFileA(kPipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        m_thread = std::thread([this, how] {
            char request[4096];
            DWORD n = 0;
            ConnectNamedPipe(m_pipe, nullptr);
            if (!ReadFile(m_pipe, request, sizeof request, &n, nullptr))
                return;
            if (how == Serve::HangUp) // as when the service ends mid-transaction
                CloseHandle(std::exchange(m_pipe, INVALID_HANDLE_VALUE));
            if (how == Serve::Silent)
                WaitForSingleObject(m_release, INFINITE);
            if (how != Serve::Answer && how != Serve::TooMuch)
                return;
            const std::string reply =
                how == Serve::TooMuch ? std::string(300, 'x') : "0" + std::string(request, n);
            WriteFile(m_pipe, reply.data(), DWORD(reply.size()), &n, nullptr);
            FlushFileBuffers(m_pipe); // until the client has read it
        });
    }
    ~Server() {
        SetEvent(m_release);
        CloseHandle(m_other);
        if (m_thread.joinable())
            m_thread.join();
        CloseHandle(m_pipe);
        CloseHandle(m_release);
    }

private:
    HANDLE m_pipe = INVALID_HANDLE_VALUE, m_other = INVALID_HANDLE_VALUE;
    HANDLE m_release = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::thread m_thread;
};

} // namespace

int main() {
    using namespace OCL::Err;
    const std::string connect = "0,COM1,DOM\\alice,CONSOLE,0,0,0";
    const struct {
        const char* row;
        Serve serve;
        std::string request;
        OCL::DWORD replySize, timeoutMs, rc;
        std::string reply;
    } cases[] = {
        {"simulated connect", Serve::Answer, connect, 2000, 10000, 0, "0" + connect},
        {"update notice", Serve::Answer, "UPDATE_UPDATE", 200, 10000, 0, "0UPDATE_UPDATE"},
        {"reply longer than the buffer", Serve::TooMuch, connect, 200, 10000, MoreData,
         std::string(200, 'x')},
        {"service hangs up without a reply", Serve::HangUp, connect, 2000, 10000, BrokenPipe, ""},
        {"service never answers", Serve::Silent, connect, 2000, 10000, SemTimeout, ""},
        {"every instance busy", Serve::Busy, connect, 2000, 500, SemTimeout, ""},
        {"nothing listens", Serve::Nobody, connect, 2000, 10000, FileNotFound, ""},
    };
    OCL::Win32::CWinServicePipe pipe;
    for (const auto& c : cases) {
        WinTest::Row row(c.row);
        Server server(c.serve);
        std::string reply(c.replySize, '\0');
        OCL::DWORD read = 0;
        const ULONGLONG start = GetTickCount64();
        CHECK_EQ(pipe.Call(kPipe, c.request.data(), OCL::DWORD(c.request.size()), reply.data(), c.replySize,
                           &read, c.timeoutMs),
                 c.rc);
        const ULONGLONG elapsed = GetTickCount64() - start;
        CHECK_EQ(reply.substr(0, read), c.reply);
        // A time-out is the whole time-out, never less and never for ever.
        CHECK(c.rc != SemTimeout || (elapsed + 100 >= c.timeoutMs && elapsed < c.timeoutMs + 5000));
    }
    return WinTest::Result();
}
