#pragma once
// The service pipe client over a site. "\\HOST\pipe\NAME" and "\\.\pipe\NAME"
// (this computer) are local stream sockets at SiteDirectory::PipeSocket(HOST,
// NAME), where cwsite serve listens.
//
// One transaction, framed so either side knows where a message ends:
//   client -> server: 4-byte little-endian length, then that many request bytes
//   server -> client: 4-byte little-endian length, then that many reply bytes;
//                     the server closes the connection after the reply
// A reply length above 16 MiB, a short header or a connection closed before the
// whole reply came is a broken pipe (109). The time-out covers connecting,
// sending and the whole reply; 0 means 5 seconds, 0xFFFFFFFF waits for ever.

#include "platform/servicepipe.h"

#include <cstdint>
#include <memory>

namespace OCL::Site {

class SiteDirectory;

inline constexpr std::uint32_t kMaxPipeMessage = 16u << 20;

class CSitePipe final : public IServicePipe {
public:
    explicit CSitePipe(std::shared_ptr<const SiteDirectory> site);

    DWORD Call(const std::string& pipeName, const void* request, DWORD requestSize, void* reply,
               DWORD replySize, DWORD* bytesRead, DWORD timeoutMs) override;

private:
    std::shared_ptr<const SiteDirectory> m_site;
};

} // namespace OCL::Site
