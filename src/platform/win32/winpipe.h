#pragma once
// The service pipe port: the transaction CallNamedPipe makes (wait for the pipe,
// open it in message mode, write the request, read one reply, close), but with
// the time-out bounding the whole of it. CallNamedPipe's own time-out covers
// only the wait for a free instance, so a service that takes a request and
// never answers would hold the console for ever. 0 means 5 seconds, 0xFFFFFFFF
// no limit; past the time-out the call ends with SemTimeout (121).

#include "platform/servicepipe.h"

namespace OCL::Win32 {

class CWinServicePipe final : public IServicePipe {
public:
    DWORD Call(const std::string& pipeName, const void* request, DWORD requestSize, void* reply,
               DWORD replySize, DWORD* bytesRead, DWORD timeoutMs) override;
};

} // namespace OCL::Win32
