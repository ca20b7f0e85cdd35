#include "gui/views/logimages.h"

#include <QPainter>
#include <QPainterPath>

namespace {

const QColor kOutline(40, 48, 64);
const QColor kGreen(78, 154, 6);
const QColor kRed(204, 0, 0);
const QColor kGrey(160, 166, 176);
const QColor kAmber(245, 170, 20);

// A line's plug, seen from the side, and its cable.
void Plug(QPainter& p, const QColor& body) {
    p.setPen(QPen(kOutline, 1.0));
    p.setBrush(body);
    p.drawRoundedRect(QRectF(1.5, 5.5, 6, 5), 1, 1);
    p.setPen(QPen(kOutline, 1.2, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(7.5, 6.8), QPointF(9.5, 6.8));
    p.drawLine(QPointF(7.5, 9.2), QPointF(9.5, 9.2));
}

void Arrow(QPainter& p, const QColor& color, bool in) {
    p.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const qreal tip = in ? 10.5 : 14.5, tail = in ? 14.5 : 10.5, back = in ? 2.2 : -2.2;
    p.drawLine(QPointF(tail, 8), QPointF(tip, 8));
    p.drawLine(QPointF(tip, 8), QPointF(tip + back, 5.8));
    p.drawLine(QPointF(tip, 8), QPointF(tip + back, 10.2));
}

void Paint(QPainter& p, int image) {
    switch (image) {
    case 0: // the service ended the session
        Plug(p, kAmber);
        p.setPen(QPen(kRed, 2.0, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(10.5, 4.5), QPointF(14.5, 11.5));
        p.drawLine(QPointF(14.5, 4.5), QPointF(10.5, 11.5));
        break;
    case 1:
        Plug(p, kGreen);
        Arrow(p, kGreen, true);
        break;
    case 2: {
        p.setPen(QPen(kOutline, 0.8));
        p.setBrush(kRed);
        p.drawEllipse(QPointF(8, 8), 6.5, 6.5);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawRect(QRectF(4, 6.8, 8, 2.4));
        break;
    }
    case 3:
        Plug(p, kGrey);
        Arrow(p, kGrey.darker(140), false);
        break;
    default:
        break;
    }
}

} // namespace

QIcon CLogImages::Image(int image) {
    if (image < 0 || image >= Count)
        return {};
    QIcon icon;
    for (int side : {16, 32}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.scale(side / 16.0, side / 16.0);
        Paint(p, image);
        p.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}
