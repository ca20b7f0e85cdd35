#include "gui/app/icons.h"

#include <QPainter>
#include <QPainterPath>

#include <functional>

namespace {

using Painter = std::function<void(QPainter&, qreal)>;

QIcon Draw(const Painter& paint) {
    QIcon icon;
    for (int side : {16, 24, 32, 48}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.scale(side / 16.0, side / 16.0);
        paint(p, side / 16.0);
        p.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

const QColor kOutline(40, 48, 64);
const QColor kBlue(52, 101, 164);
const QColor kLightBlue(114, 159, 207);
const QColor kGreen(78, 154, 6);
const QColor kRed(204, 0, 0);
const QColor kAmber(245, 170, 20);
const QColor kGrey(160, 166, 176);

void Pen(QPainter& p, const QColor& color, qreal width = 1.0) {
    p.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

void Server(QPainter& p, const QColor& body, qreal dx = 0) {
    Pen(p, kOutline);
    p.setBrush(body);
    p.drawRoundedRect(QRectF(4 + dx, 1.5, 8, 13), 1, 1);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 170));
    p.drawRect(QRectF(5.5 + dx, 3.5, 5, 1.2));
    p.drawRect(QRectF(5.5 + dx, 6, 5, 1.2));
    p.setBrush(kGreen);
    p.drawEllipse(QPointF(10 + dx, 12), 0.9, 0.9);
}

void Person(QPainter& p, const QColor& body, qreal dx, qreal scale = 1.0) {
    Pen(p, kOutline, 0.8);
    p.setBrush(QColor(252, 216, 180));
    p.drawEllipse(QPointF(8 + dx, 5 * scale + (1 - scale) * 8), 2.6 * scale, 2.6 * scale);
    p.setBrush(body);
    QPainterPath torso;
    torso.moveTo(3.5 * scale + dx + (1 - scale) * 8, 15);
    torso.quadTo(8 + dx, 6.5 + 2 * scale, 12.5 * scale + dx + (1 - scale) * 8, 15);
    torso.closeSubpath();
    p.drawPath(torso);
}

void Plug(QPainter& p, const QColor& body, int frame) {
    Pen(p, kOutline);
    p.setBrush(body);
    p.drawRoundedRect(QRectF(2.5, 4.5, 11, 7), 1.5, 1.5);
    p.setBrush(QColor(30, 30, 30));
    p.drawRect(QRectF(5, 6.5, 1.5, 3));
    p.drawRect(QRectF(9.5, 6.5, 1.5, 3));
    if (frame > 0) {
        // Signal ticks that move with each frame of a connected port.
        Pen(p, kAmber, 1.2);
        const qreal y = frame == 1 ? 2.5 : 13.5;
        p.drawLine(QPointF(4, y), QPointF(12, y));
    }
}

} // namespace

QIcon CIcons::TreeImage(int kind) {
    switch (kind) {
    case 0:
        return Draw([](QPainter& p, qreal) {
            Server(p, kGrey, -2.5);
            Server(p, kLightBlue, 2.5);
        });
    case 1:
    case 2:
        return Draw([](QPainter& p, qreal) { Server(p, kLightBlue); });
    case 3:
        return Draw([](QPainter& p, qreal) { Plug(p, kGrey, 0); });
    case 4:
        return Draw([](QPainter& p, qreal) { Plug(p, kGreen, 1); });
    case 5:
        return Draw([](QPainter& p, qreal) { Plug(p, kGreen, 2); });
    case 6:
    case 7:
        return Draw([kind](QPainter& p, qreal) {
            Person(p, kGrey, -3, 0.85);
            Person(p, kind == 7 ? kAmber : kBlue, 2);
        });
    case 8:
    case 14:
        return Draw([](QPainter& p, qreal) { Person(p, kBlue, 0); });
    case 9:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline);
            p.setBrush(kLightBlue);
            p.drawEllipse(QPointF(8, 8), 6.5, 6.5);
            Pen(p, kOutline, 0.7);
            p.setBrush(Qt::NoBrush);
            p.drawEllipse(QPointF(8, 8), 2.8, 6.5);
            p.drawLine(QPointF(1.5, 8), QPointF(14.5, 8));
        });
    case 10:
    case 11:
        return Draw([](QPainter& p, qreal) {
            Person(p, kGreen, -3, 0.85);
            Person(p, kGreen.lighter(130), 2.5, 0.85);
        });
    case 12:
        return Draw([](QPainter& p, qreal) {
            Person(p, kGrey, 0);
            Pen(p, kOutline, 0.8);
            p.setBrush(kAmber);
            p.drawEllipse(QPointF(12.5, 3.5), 2.3, 2.3);
        });
    default:
        return {};
    }
}

QIcon CIcons::ViewMode(int mode) {
    switch (mode) {
    case 0:
        return Draw([](QPainter& p, qreal) {
            Server(p, kLightBlue, -2);
            Pen(p, kGreen, 1.6);
            p.drawLine(QPointF(10, 10), QPointF(12, 12.5));
            p.drawLine(QPointF(12, 12.5), QPointF(15, 7.5));
        });
    case 1:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(2.5, 1.5, 11, 13));
            Pen(p, kBlue, 1);
            for (int i = 0; i < 4; ++i)
                p.drawLine(QPointF(4.5, 4.5 + 2.5 * i), QPointF(11.5, 4.5 + 2.5 * i));
        });
    case 2:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(1.5, 1.5, 13, 13));
            Pen(p, kRed, 1.4);
            p.drawPolyline(QPolygonF({QPointF(2.5, 12), QPointF(6, 7), QPointF(9, 10), QPointF(13.5, 3.5)}));
        });
    case 3:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline, 0.8);
            p.setBrush(kBlue);
            p.drawRect(QRectF(2, 8, 3, 6.5));
            p.setBrush(kAmber);
            p.drawRect(QRectF(6.5, 3, 3, 11.5));
            p.setBrush(kGreen);
            p.drawRect(QRectF(11, 6, 3, 8.5));
        });
    default:
        return {};
    }
}

QIcon CIcons::ServerState(int image) {
    const QColor color = image == 2 ? kGreen : image == 3 ? kRed : kAmber;
    return Draw([color, image](QPainter& p, qreal) {
        Pen(p, kOutline, 0.8);
        p.setBrush(color);
        p.drawEllipse(QPointF(8, 8), 5.5, 5.5);
        Pen(p, Qt::white, 1.6);
        if (image == 2) {
            p.drawLine(QPointF(5.5, 8.2), QPointF(7.3, 10.2));
            p.drawLine(QPointF(7.3, 10.2), QPointF(10.8, 5.8));
        } else if (image == 3) {
            p.drawLine(QPointF(5.8, 5.8), QPointF(10.2, 10.2));
            p.drawLine(QPointF(10.2, 5.8), QPointF(5.8, 10.2));
        } else {
            p.drawLine(QPointF(8, 8), QPointF(8, 5));
            p.drawLine(QPointF(8, 8), QPointF(10.3, 9.2));
        }
    });
}

QIcon CIcons::PortRow(int image) {
    return TreeImage(3 + image);
}

QIcon CIcons::CommandIcon(Command command) {
    switch (command) {
    case Command::AddServer:
        return Draw([](QPainter& p, qreal) {
            Server(p, kLightBlue, -2.5);
            Pen(p, kGreen, 2);
            p.drawLine(QPointF(12, 8), QPointF(12, 14));
            p.drawLine(QPointF(9, 11), QPointF(15, 11));
        });
    case Command::Refresh:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kBlue, 1.8);
            p.setBrush(Qt::NoBrush);
            p.drawArc(QRectF(3, 3, 10, 10), 30 * 16, 280 * 16);
            p.setPen(Qt::NoPen);
            p.setBrush(kBlue);
            p.drawPolygon(QPolygonF({QPointF(12.5, 1.5), QPointF(14.5, 6.5), QPointF(9.5, 5.5)}));
        });
    case Command::StartRas:
    case Command::StartService:
        return Draw([command](QPainter& p, qreal) {
            p.setPen(Qt::NoPen);
            p.setBrush(kGreen);
            p.drawPolygon(QPolygonF({QPointF(4, 2.5), QPointF(13.5, 8), QPointF(4, 13.5)}));
            if (command == Command::StartRas) {
                Pen(p, kOutline, 0.8);
                p.setBrush(kAmber);
                p.drawEllipse(QPointF(12.5, 12.5), 2.5, 2.5);
            }
        });
    case Command::StopRas:
    case Command::StopService:
        return Draw([command](QPainter& p, qreal) {
            p.setPen(Qt::NoPen);
            p.setBrush(kRed);
            p.drawRoundedRect(QRectF(3, 3, 10, 10), 1.5, 1.5);
            if (command == Command::StopRas) {
                Pen(p, kOutline, 0.8);
                p.setBrush(kAmber);
                p.drawEllipse(QPointF(12.5, 12.5), 2.5, 2.5);
            }
        });
    case Command::RemoveServer:
        return Draw([](QPainter& p, qreal) {
            Server(p, kLightBlue, -2.5);
            Pen(p, kRed, 2);
            p.drawLine(QPointF(9.5, 9.5), QPointF(14.5, 14.5));
            p.drawLine(QPointF(14.5, 9.5), QPointF(9.5, 14.5));
        });
    case Command::Properties:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(2.5, 1.5, 11, 13));
            p.setPen(Qt::NoPen);
            p.setBrush(kBlue);
            for (int i = 0; i < 3; ++i)
                p.drawRect(QRectF(4.5, 4 + 3 * i, 2, 1.5));
            p.setBrush(kGrey);
            for (int i = 0; i < 3; ++i)
                p.drawRect(QRectF(7.5, 4 + 3 * i, 4.5, 1.5));
        });
    case Command::Disconnect:
        return Draw([](QPainter& p, qreal) {
            Plug(p, kGrey, 0);
            Pen(p, kRed, 2);
            p.drawLine(QPointF(2, 14), QPointF(14, 2));
        });
    case Command::Copy:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(1.5, 1.5, 8, 10));
            p.drawRect(QRectF(6.5, 4.5, 8, 10));
        });
    case Command::Delete:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kRed, 2.2);
            p.drawLine(QPointF(3.5, 3.5), QPointF(12.5, 12.5));
            p.drawLine(QPointF(12.5, 3.5), QPointF(3.5, 12.5));
        });
    case Command::Back:
    case Command::Forward:
        return Draw([command](QPainter& p, qreal) {
            p.setPen(Qt::NoPen);
            p.setBrush(kBlue);
            if (command == Command::Back)
                p.drawPolygon(QPolygonF({QPointF(12, 2.5), QPointF(4, 8), QPointF(12, 13.5)}));
            else
                p.drawPolygon(QPolygonF({QPointF(4, 2.5), QPointF(12, 8), QPointF(4, 13.5)}));
        });
    case Command::Calendar:
        return Draw([](QPainter& p, qreal) {
            Pen(p, kOutline);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(1.5, 2.5, 13, 12));
            p.setPen(Qt::NoPen);
            p.setBrush(kRed);
            p.drawRect(QRectF(2, 3, 12, 3));
            p.setBrush(kGrey);
            for (int r = 0; r < 2; ++r)
                for (int c = 0; c < 3; ++c)
                    p.drawRect(QRectF(3.5 + 3.5 * c, 7.5 + 3 * r, 2, 2));
        });
    case Command::Simulate:
        return Draw([](QPainter& p, qreal) {
            Plug(p, kLightBlue, 0);
            Pen(p, kAmber, 1.6);
            p.drawLine(QPointF(8, 11.5), QPointF(8, 15));
        });
    }
    return {};
}
