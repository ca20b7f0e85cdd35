#include "gui/views/loadgraph.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// A line kept busy for a whole reading shows about this much.
constexpr qint64 kFullLoad = 250;
constexpr int kGridStep = 12;

const QColor kBackground(16, 24, 16);
const QColor kGrid(0, 96, 48);
const QColor kOutgoing(64, 255, 96);
const QColor kIncoming(255, 208, 48);

} // namespace

CLoadGraph::CLoadGraph(QWidget* parent) : QWidget(parent) {
    setObjectName(u"loadGraph"_s);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void CLoadGraph::SetHistory(const QList<qint64>& outgoing, const QList<qint64>& incoming, int capacity) {
    m_outgoing = outgoing;
    m_incoming = incoming;
    m_capacity = std::max(2, capacity);
    ++m_shift;
    update();
}

qint64 CLoadGraph::Scale() const {
    return kFullLoad;
}

void CLoadGraph::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect area = rect();
    painter.fillRect(area, kBackground);

    const QFontMetrics metrics(font());
    const int legend = metrics.height() + 4;
    const QRect plot = area.adjusted(1, 1, -1, -legend);

    painter.setPen(kGrid);
    for (int y = plot.bottom(); y >= plot.top(); y -= kGridStep)
        painter.drawLine(plot.left(), y, plot.right(), y);
    // The vertical lines move one sample to the left with every reading.
    const double step = double(plot.width()) / double(m_capacity - 1);
    const int offset = (m_shift % 4) * int(step);
    for (double x = plot.right() - offset; x >= plot.left(); x -= 4 * step)
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));

    const double scale = double(Scale());
    auto draw = [&](const QList<qint64>& values, const QColor& colour) {
        if (values.isEmpty())
            return;
        QPainterPath path;
        const qsizetype first = std::max<qsizetype>(0, values.size() - m_capacity);
        for (qsizetype i = first; i < values.size(); ++i) {
            const double x = plot.right() - double(values.size() - 1 - i) * step;
            const double level = std::clamp(double(values[i]) / scale, 0.0, 1.0);
            const QPointF point(x, plot.bottom() - level * (plot.height() - 1));
            if (i == first)
                path.moveTo(point);
            else
                path.lineTo(point);
        }
        painter.setPen(QPen(colour, 1.5));
        painter.drawPath(path);
    };
    painter.setRenderHint(QPainter::Antialiasing);
    draw(m_incoming, kIncoming);
    draw(m_outgoing, kOutgoing);
    painter.setRenderHint(QPainter::Antialiasing, false);

    const int baseline = area.bottom() - 2 - metrics.descent();
    int x = area.left() + 6;
    for (const auto& [text, colour] : {std::pair{u"Out"_s, kOutgoing}, std::pair{u"In"_s, kIncoming}}) {
        painter.fillRect(QRect(x, baseline - metrics.ascent() / 2 - 2, 10, 4), colour);
        x += 14;
        painter.setPen(colour);
        painter.drawText(x, baseline, text);
        x += metrics.horizontalAdvance(text) + 12;
    }
}
