#pragma once
// Reads the text of a registry export into a hive. Understands "REGEDIT4"
// (Windows-1252) and "Windows Registry Editor Version 5.00" (UTF-16LE with a
// byte-order mark, or UTF-8 with one); everything is turned into Windows-1252.
//
//   [HKEY_LOCAL_MACHINE\Key\Sub]  (also HKLM, HKU and any other HKEY_ root)
//   [-HKEY_LOCAL_MACHINE\Key]     removes the key and everything below it
//   "name"="text"                 REG_SZ: the text and a terminating NUL (\\ and \" escaped)
//   @=...                         the key's default value
//   "name"=dword:0000002a         REG_DWORD
//   "name"=hex:01,02,...          REG_BINARY; hex(N): any type N (hexadecimal);
//                                 a trailing backslash continues the list on the next line
//   "name"=-                      removes the value
//   ; comment, blank lines
//
// In a version 5.00 file the data of hex(1), hex(2) and hex(7) is UTF-16LE and is
// turned into Windows-1252, as the ANSI registry calls hand it out.
//
// A line that fits none of these ends the reading: the hive holds everything
// before it and the result says where the reading stopped.

#include "platform/site/reghive.h"

#include <string>
#include <string_view>

namespace OCL::Site {

struct RegParseResult {
    CRegHive hive;
    bool ok = true;
    std::size_t errorLine = 0; // 1-based line of the first bad line (0 when ok)
    std::string error;         // what is wrong with it
};

RegParseResult ParseRegistryText(std::string_view bytes);

} // namespace OCL::Site
