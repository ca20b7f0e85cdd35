#pragma once
// The port table's records in the RAS administration library's layouts. Buffers
// handed to the caller come from one malloc block each, so RasAdminFreeBuffer is
// a plain free.

#include "platform/rassapi.h"
#include "platform/site/sitedirectory.h"

#include <vector>

namespace OCL::Site {

// A port without a session shows no user, computer, domain, start or flags.
void FillPort0(const PortRecord& port, RAS_PORT_0* out);
void FillPort1(const PortRecord& port, RAS_PORT_1* out);
void FillStatistics(const PortRecord& port, RAS_PORT_STATISTICS* out);

// The port table as one block of RAS_PORT_0; null for an empty table.
RAS_PORT_0* NewPortArray(const std::vector<PortRecord>& ports);
// The port's media parameters, strings in the same block; sets the count and
// the block's size in bytes. Null when out of memory.
RAS_PARAMETERS* NewParameters(const PortRecord& port, WORD* count, DWORD* size);

// Copies ANSI text into a wide field of capacity characters, cut to fit and
// always terminated.
void CopyWideField(WCHAR* field, std::size_t capacity, const std::string& ansi);

} // namespace OCL::Site
