#include "platform/win32/wintext.h"

#include <windows.h>

namespace OCL::Win32 {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "the ports' UTF-16 is the system's wide text");

std::wstring Wide(std::string_view ansi) {
    if (ansi.empty())
        return {};
    const int n = ::MultiByteToWideChar(CP_ACP, 0, ansi.data(), int(ansi.size()), nullptr, 0);
    std::wstring out(std::size_t(n > 0 ? n : 0), L'\0');
    if (n > 0)
        ::MultiByteToWideChar(CP_ACP, 0, ansi.data(), int(ansi.size()), out.data(), n);
    return out;
}

std::string Ansi(std::wstring_view wide) {
    if (wide.empty())
        return {};
    const int n =
        ::WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), nullptr, 0, nullptr, nullptr);
    std::string out(std::size_t(n > 0 ? n : 0), '\0');
    if (n > 0)
        ::WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), out.data(), n, nullptr, nullptr);
    return out;
}

const wchar_t* WideOrNull(const std::u16string& text) {
    return text.empty() ? nullptr : reinterpret_cast<const wchar_t*>(text.c_str());
}

std::u16string FromWide(const wchar_t* text) {
    return text ? std::u16string(reinterpret_cast<const char16_t*>(text)) : std::u16string();
}

std::string MachineUnc(const std::string& machine) {
    if (machine.empty() || machine.rfind("\\\\", 0) == 0)
        return machine;
    return "\\\\" + machine;
}

} // namespace OCL::Win32
