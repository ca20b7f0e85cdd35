#pragma once
// Conversions between the console's QString and the ANSI bytes (Windows-1252)
// of the A-calls and of the service's files.

#include <QByteArray>
#include <QString>

#include <string>
#include <string_view>

namespace CAnsi {

QString ToQString(std::string_view ansi);
std::string FromQString(const QString& text);

// Copies text into a fixed character field of size bytes, cut to size - 1 and
// terminated, as the records that mirror registry values keep them.
void CopyToField(char* field, std::size_t size, std::string_view text);
template <std::size_t N>
void CopyToField(char (&field)[N], std::string_view text) {
    CopyToField(field, N, text);
}
// The text of a fixed field, up to its terminator or its size.
std::string_view FieldText(const char* field, std::size_t size);
template <std::size_t N>
std::string_view FieldText(const char (&field)[N]) {
    return FieldText(field, N);
}

} // namespace CAnsi
