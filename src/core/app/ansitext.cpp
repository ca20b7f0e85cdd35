#include "core/app/ansitext.h"

#include "platform/ansi.h"

#include <cstring>

namespace CAnsi {

QString ToQString(std::string_view ansi) {
    const std::u16string wide = OCL::Ansi::ToUtf16(ansi);
    return QString::fromUtf16(wide.data(), qsizetype(wide.size()));
}

std::string FromQString(const QString& text) {
    return OCL::Ansi::FromUtf16(
        std::u16string_view(reinterpret_cast<const char16_t*>(text.utf16()), std::size_t(text.size())));
}

void CopyToField(char* field, std::size_t size, std::string_view text) {
    if (size == 0)
        return;
    const std::size_t n = std::min(text.size(), size - 1);
    std::memcpy(field, text.data(), n);
    field[n] = '\0';
}

std::string_view FieldText(const char* field, std::size_t size) {
    const void* nul = std::memchr(field, '\0', size);
    return {field, nul ? std::size_t(static_cast<const char*>(nul) - field) : size};
}

} // namespace CAnsi
