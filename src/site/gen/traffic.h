#pragma once
// Traffic on a port's counters as a RAS server counts it: bytes and frames each
// way, and how much of it went through compression (the console derives the
// compression ratio from the bytes sent, those compressed and their size before).

#include "platform/site/sitedirectory.h"

#include <QtGlobal>

#include <random>
#include <string>

namespace CwTraffic {

void Add(OCL::Site::PortRecord& port, qint64 bytesOut, qint64 bytesIn, std::mt19937& rng);

// A caller's IPX address ("0000A1B2.0060B0C1D2E3"), or empty for one without IPX.
std::string IpxAddress(std::mt19937& rng);

} // namespace CwTraffic
