#pragma once
// The log view's four row images, drawn like the console's other icons:
// 0 forced disconnect, 1 connect, 2 denied, 3 ordinary disconnect.

#include <QIcon>

namespace CLogImages {
inline constexpr int Count = 4;
QIcon Image(int image);
} // namespace CLogImages
