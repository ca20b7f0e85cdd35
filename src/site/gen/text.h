#pragma once
// The service's files are Windows-1252 text; cwsite works in QString.

#include "platform/ansi.h"

#include <QString>

#include <filesystem>
#include <string>
#include <string_view>

namespace CwText {

inline QString FromAnsi(std::string_view ansi) {
    return QString::fromStdString(OCL::Ansi::ToUtf8(ansi));
}
inline std::string ToAnsi(const QString& text) {
    return OCL::Ansi::FromUtf8(text.toStdString());
}
inline std::filesystem::path Path(const QString& path) {
    return std::filesystem::path(path.toStdString());
}
inline QString FromPath(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

// Leading decimal digits (after blanks and a sign) as the service reads numbers; 0 when none.
qint64 ToNumber(std::string_view text);

} // namespace CwText
