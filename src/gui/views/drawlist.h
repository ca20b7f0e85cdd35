#pragma once
// A drawing kept as data in the view's logical units: the screen and the
// printer paint the same list, each at its own scale, and what a view shows
// can be asked of it without reading pixels.

#include <QColor>
#include <QFont>
#include <QLine>
#include <QRect>
#include <QString>

#include <climits>
#include <vector>

class QPainter;

struct CDrawItem {
    enum Kind { Fill, Line, DottedLine, Text };
    Kind kind = Fill;
    QRect rect;   // Fill, and the box a Text is aligned in
    QLine line;   // Line and DottedLine
    QColor color; // the fill, the pen, the text
    QString text;
    int align = 0; // Qt::Alignment of a Text
    int font = 0;  // index into the list's fonts
};

struct CDrawList {
    std::vector<CDrawItem> items;
    std::vector<QFont> fonts; // point sizes are for a scale of 1

    void AddFill(const QRect& rect, const QColor& color);
    void AddLine(int x1, int y1, int x2, int y2, bool dotted = false, const QColor& color = Qt::black);
    void AddText(const QRect& box, const QString& text, int align, int font = 0,
                 const QColor& color = Qt::black);
    // The items whose text is text.
    std::vector<const CDrawItem*> Texts(const QString& text) const;

    // Paints the items whose logical y range meets [from, to), moved up by
    // shift, at the painter's current transformation times the scale.
    void Paint(QPainter& painter, qreal scaleX, qreal scaleY, int shift = 0, int from = INT_MIN,
               int to = INT_MAX) const;
};
