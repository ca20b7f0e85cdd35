#include "gui/app/artwork.h"

#include <QApplication>
#include <QFont>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

using namespace Qt::StringLiterals;

namespace {

const QColor kNight(18, 38, 74);
const QColor kDeep(33, 74, 138);
const QColor kSignal(247, 178, 51);
const QColor kPale(222, 232, 247);

// A shield with a handset across it and a clock face at its shoulder: the
// warden over the dial-in lines and the time they use.
void DrawEmblem(QPainter& p, const QRectF& box) {
    const qreal w = box.width();
    const qreal h = box.height();
    QPainterPath shield;
    shield.moveTo(box.left() + w * 0.5, box.top());
    shield.cubicTo(box.left() + w * 0.75, box.top() + h * 0.08, box.right(), box.top() + h * 0.08,
                   box.right(), box.top() + h * 0.12);
    shield.lineTo(box.right(), box.top() + h * 0.5);
    shield.cubicTo(box.right(), box.top() + h * 0.78, box.left() + w * 0.72, box.top() + h * 0.92,
                   box.left() + w * 0.5, box.bottom());
    shield.cubicTo(box.left() + w * 0.28, box.top() + h * 0.92, box.left(), box.top() + h * 0.78, box.left(),
                   box.top() + h * 0.5);
    shield.lineTo(box.left(), box.top() + h * 0.12);
    shield.cubicTo(box.left(), box.top() + h * 0.08, box.left() + w * 0.25, box.top() + h * 0.08,
                   box.left() + w * 0.5, box.top());

    QLinearGradient fill(box.topLeft(), box.bottomRight());
    fill.setColorAt(0, kDeep.lighter(130));
    fill.setColorAt(1, kNight);
    p.setPen(QPen(kPale, qMax(1.0, w * 0.04)));
    p.setBrush(fill);
    p.drawPath(shield);

    // The handset.
    QPainterPath handset;
    const QPointF c = box.center() + QPointF(0, h * 0.06);
    const qreal r = w * 0.30;
    handset.moveTo(c + QPointF(-r, -r * 0.15));
    handset.quadTo(c + QPointF(0, -r * 0.95), c + QPointF(r, -r * 0.15));
    p.setPen(QPen(kSignal, qMax(1.5, w * 0.11), Qt::SolidLine, Qt::RoundCap));
    p.setBrush(Qt::NoBrush);
    p.drawPath(handset);
    p.setPen(Qt::NoPen);
    p.setBrush(kSignal);
    p.drawEllipse(QRectF(c.x() - r - w * 0.09, c.y() - r * 0.25, w * 0.2, h * 0.13));
    p.drawEllipse(QRectF(c.x() + r - w * 0.11, c.y() - r * 0.25, w * 0.2, h * 0.13));

    // Signal arcs below the handset.
    p.setBrush(Qt::NoBrush);
    for (int i = 1; i <= 2; ++i) {
        const qreal a = w * (0.08 + 0.09 * i);
        p.setPen(QPen(kPale, qMax(1.0, w * 0.035), Qt::SolidLine, Qt::RoundCap));
        p.drawArc(QRectF(c.x() - a, c.y() + h * 0.02 - a * 0.6, 2 * a, a * 1.2), 200 * 16, 140 * 16);
    }
}

} // namespace

QPixmap CArtwork::ProductBitmap(QSize size, qreal devicePixelRatio) {
    QPixmap pixmap(size * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF area(QPointF(0, 0), QSizeF(size));

    QLinearGradient sky(area.topLeft(), area.bottomLeft());
    sky.setColorAt(0, kDeep);
    sky.setColorAt(1, kNight);
    p.fillRect(area, sky);

    // Faint lines crossing the picture, like dial-in lines on a map.
    p.setPen(QPen(QColor(255, 255, 255, 28), 1));
    for (int i = 0; i < 12; ++i) {
        const qreal y = area.height() * (0.15 + 0.06 * i);
        p.drawLine(QPointF(area.width() * 0.38, y), QPointF(area.width(), y + area.height() * 0.1));
    }
    QRadialGradient glow(QPointF(area.width() * 0.22, area.height() * 0.45), area.height() * 0.6);
    glow.setColorAt(0, QColor(255, 255, 255, 40));
    glow.setColorAt(1, QColor(255, 255, 255, 0));
    p.fillRect(area, glow);

    const qreal emblem = area.height() * 0.56;
    DrawEmblem(p, QRectF(area.width() * 0.07, area.height() * 0.18, emblem * 0.85, emblem));

    QFont title(u"DejaVu Sans"_s);
    title.setPixelSize(int(area.height() * 0.13));
    title.setBold(true);
    p.setFont(title);
    p.setPen(Qt::white);
    const QRectF text(area.width() * 0.40, area.height() * 0.24, area.width() * 0.56, area.height() * 0.2);
    p.drawText(text, Qt::AlignLeft | Qt::AlignVCenter, u"Callwarden"_s);

    QFont subtitle(u"DejaVu Sans"_s);
    subtitle.setPixelSize(int(area.height() * 0.075));
    p.setFont(subtitle);
    p.setPen(kSignal);
    p.drawText(text.translated(0, area.height() * 0.16), Qt::AlignLeft | Qt::AlignVCenter,
               u"Administrator"_s);

    QFont small(u"DejaVu Sans"_s);
    small.setPixelSize(qMax(8, int(area.height() * 0.05)));
    p.setFont(small);
    p.setPen(kPale);
    p.drawText(QRectF(area.width() * 0.40, area.height() * 0.62, area.width() * 0.56, area.height() * 0.2),
               Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
               u"Dial-in session tracking for remote-access servers"_s);
    p.drawText(QRectF(0, area.height() * 0.86, area.width() - area.width() * 0.04, area.height() * 0.1),
               Qt::AlignRight | Qt::AlignVCenter, u"Version "_s + QApplication::applicationVersion());
    return pixmap;
}

QIcon CArtwork::ApplicationIcon() {
    QIcon icon;
    for (int side : {16, 24, 32, 48, 64, 128}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        DrawEmblem(p, QRectF(side * 0.1, side * 0.04, side * 0.8, side * 0.92));
        p.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}
