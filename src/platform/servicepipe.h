#pragma once
// Service pipe port: CallNamedPipe. One transaction: connect to "\\HOST\pipe\NAME"
// (or "\\.\pipe\NAME" for this computer), write one request, read one reply,
// close, all within the time-out.

#include "platform/types.h"

#include <string>

namespace OCL {

class IServicePipe {
public:
    virtual ~IServicePipe() = default;
    // Returns Success with *bytesRead set, or the system's error code: FileNotFound
    // when nothing listens, BadNetPath for an unreachable host, AccessDenied,
    // SemTimeout when no reply came in time, MoreData when the reply was cut.
    virtual DWORD Call(const std::string& pipeName, const void* request, DWORD requestSize, void* reply,
                       DWORD replySize, DWORD* bytesRead, DWORD timeoutMs) = 0;
};

} // namespace OCL
