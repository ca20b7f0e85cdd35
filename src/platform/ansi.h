#pragma once
// The ANSI code page of the service's files and of the A-calls: Windows-1252.
// Bytes 0x81, 0x8D, 0x8F, 0x90 and 0x9D have no character there; they map to
// the C1 controls of the same value so that every byte survives a round trip.

#include <string>
#include <string_view>

namespace OCL::Ansi {

std::u16string ToUtf16(std::string_view ansi);
// Characters without a Windows-1252 byte become '?', as the system's
// best-fit-less conversion does.
std::string FromUtf16(std::u16string_view text);

std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);

} // namespace OCL::Ansi
