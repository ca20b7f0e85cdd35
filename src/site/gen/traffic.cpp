#include "site/gen/traffic.h"

#include <algorithm>
#include <cstdio>

namespace CwTraffic {
namespace {

void Grow(OCL::DWORD& counter, double by) {
    const double next = double(counter) + std::max(0.0, by);
    counter = next >= 4294967295.0 ? 4294967295u : OCL::DWORD(next);
}

} // namespace

void Add(OCL::Site::PortRecord& port, qint64 bytesOut, qint64 bytesIn, std::mt19937& rng) {
    std::uniform_real_distribution<double> share(0.55, 0.85), ratio(1.4, 2.6), frame(180, 520);
    // Of the bytes sent, a share left the compressor; before compression they were larger.
    const double out = double(std::max<qint64>(0, bytesOut)), in = double(std::max<qint64>(0, bytesIn));
    const double outCompressed = out * share(rng), inCompressed = in * share(rng);
    Grow(port.bytesXmit, out);
    Grow(port.bytesRcved, in);
    Grow(port.bytesXmitCompressed, outCompressed);
    Grow(port.bytesXmitUncompressed, outCompressed * ratio(rng));
    Grow(port.bytesRcvedCompressed, inCompressed);
    Grow(port.bytesRcvedUncompressed, inCompressed * ratio(rng));
    if (out > 0)
        Grow(port.framesXmit, out / frame(rng) + 1);
    if (in > 0)
        Grow(port.framesRcved, in / frame(rng) + 1);
    // Modem lines see the odd checksum or time-out error.
    if (port.deviceType == "modem" && std::uniform_int_distribution<int>(0, 400)(rng) == 0)
        ++port.crcErr;
    if (port.deviceType == "modem" && std::uniform_int_distribution<int>(0, 1500)(rng) == 0)
        ++port.timeoutErr;
}

std::string IpxAddress(std::mt19937& rng) {
    std::uniform_int_distribution<unsigned> byte(0, 255);
    char text[32];
    std::snprintf(text, sizeof text, "0000%02X%02X.0060%02X%02X%02X%02X", byte(rng), byte(rng), byte(rng),
                  byte(rng), byte(rng), byte(rng));
    return text;
}

} // namespace CwTraffic
