#pragma once
// Names and texts between the ports and the system's calls.

#include <string>
#include <string_view>

namespace OCL::Win32 {

// Through this computer's ANSI code page, as the A-calls convert.
std::wstring Wide(std::string_view ansi);
std::string Ansi(std::wstring_view wide);

// The ports' UTF-16 as the system's wide text (the same code units on Windows);
// an empty text is the null pointer the calls take for "none".
const wchar_t* WideOrNull(const std::u16string& text);
std::u16string FromWide(const wchar_t* text);

// "\\NAME" for "NAME" or "\\NAME"; empty (this computer) stays empty.
std::string MachineUnc(const std::string& machine);

} // namespace OCL::Win32
