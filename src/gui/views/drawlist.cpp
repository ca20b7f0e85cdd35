#include "gui/views/drawlist.h"

#include <QPainter>

void CDrawList::AddFill(const QRect& rect, const QColor& color) {
    CDrawItem item;
    item.kind = CDrawItem::Fill;
    item.rect = rect;
    item.color = color;
    items.push_back(std::move(item));
}

void CDrawList::AddLine(int x1, int y1, int x2, int y2, bool dotted, const QColor& color) {
    CDrawItem item;
    item.kind = dotted ? CDrawItem::DottedLine : CDrawItem::Line;
    item.line = QLine(x1, y1, x2, y2);
    item.color = color;
    items.push_back(std::move(item));
}

void CDrawList::AddText(const QRect& box, const QString& text, int align, int font, const QColor& color) {
    CDrawItem item;
    item.kind = CDrawItem::Text;
    item.rect = box;
    item.text = text;
    item.align = align;
    item.font = font;
    item.color = color;
    items.push_back(std::move(item));
}

std::vector<const CDrawItem*> CDrawList::Texts(const QString& text) const {
    std::vector<const CDrawItem*> found;
    for (const CDrawItem& item : items)
        if (item.kind == CDrawItem::Text && item.text == text)
            found.push_back(&item);
    return found;
}

void CDrawList::Paint(QPainter& painter, qreal scaleX, qreal scaleY, int shift, int from, int to) const {
    painter.save();
    painter.scale(scaleX, scaleY);
    painter.translate(0, -shift);
    for (const CDrawItem& item : items) {
        const bool isLine = item.kind == CDrawItem::Line || item.kind == CDrawItem::DottedLine;
        const int y1 = isLine ? std::min(item.line.y1(), item.line.y2()) : item.rect.top();
        const int y2 = isLine ? std::max(item.line.y1(), item.line.y2()) : item.rect.bottom();
        if (y2 < from || y1 >= to)
            continue;
        switch (item.kind) {
        case CDrawItem::Fill:
            painter.fillRect(item.rect, item.color);
            break;
        case CDrawItem::Line:
        case CDrawItem::DottedLine: {
            QPen pen(item.color, 0, item.kind == CDrawItem::Line ? Qt::SolidLine : Qt::DotLine);
            painter.setPen(pen);
            painter.drawLine(item.line);
            break;
        }
        case CDrawItem::Text:
            if (item.font >= 0 && std::size_t(item.font) < fonts.size())
                painter.setFont(fonts[std::size_t(item.font)]);
            painter.setPen(item.color);
            painter.drawText(item.rect, item.align, item.text);
            break;
        }
    }
    painter.restore();
}
