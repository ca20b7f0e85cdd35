#pragma once
// The product's own artwork, drawn rather than loaded: the splash and About
// picture and the application icon.

#include <QIcon>
#include <QPixmap>
#include <QSize>

namespace CArtwork {

// The product picture, 400 by 240 logical pixels unless another size is asked for.
QPixmap ProductBitmap(QSize size = QSize(400, 240), qreal devicePixelRatio = 1.0);
QIcon ApplicationIcon();

} // namespace CArtwork
