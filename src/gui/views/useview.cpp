#include "gui/views/useview.h"

#include "core/stats/usagegraph.h"
#include "gui/frame/mainframe.h"
#include "gui/toolkit/printout.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

const QColor CUseView::kBarColor(210, 0, 0);

namespace {

enum Font { Title, Name, Hours };

QFont Swiss(int pixels, int weight) {
    QFont font(u"Arial"_s);
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels);
    font.setWeight(QFont::Weight(weight));
    return font;
}

// Pages of lanes under the axis, as many as fit a page at the page's width.
class CUsePrintout final : public IPrintout {
public:
    explicit CUsePrintout(const CUseView& view) : m_view(view) {}
    int Layout(QPainter&, const QRect& page) override {
        const qreal scale = qreal(page.width()) / (CUseView::kWidth + 10);
        const int units = int(page.height() / scale);
        m_perPage = std::max(1, (units - CUseView::kTop - 5) / CUseView::kLaneHeight);
        return std::max(1, (m_view.LaneCount() + m_perPage - 1) / m_perPage);
    }
    void PaintPage(QPainter& painter, const QRect& page, int index, int) override {
        const qreal scale = qreal(page.width()) / (CUseView::kWidth + 10);
        painter.save();
        painter.translate(page.topLeft());
        m_view.Drawing(index * m_perPage, m_perPage).Paint(painter, scale, scale);
        painter.restore();
    }

private:
    const CUseView& m_view;
    int m_perPage = 1;
};

} // namespace

CUseView::CUseView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent) {
    setObjectName(u"useView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_scroll = new QScrollArea(this);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setBackgroundRole(QPalette::Base);
    m_canvas = new QWidget;
    m_canvas->setObjectName(u"useCanvas"_s);
    m_canvas->installEventFilter(this);
    m_scroll->setWidget(m_canvas);
    m_scroll->viewport()->installEventFilter(this);
    layout->addWidget(m_scroll);
}

void CUseView::OnInitialUpdate() {
    Rebuild();
}

void CUseView::OnUpdate(IView*, int hint, const CHintObject*) {
    if (Frame().RightView() != this)
        return;
    if (ChangesShownDay(hint))
        Rebuild();
}

void CUseView::Rebuild() {
    // The load keeps painting while it parses; this view may go meanwhile.
    QPointer<CUseView> self(this);
    Doc().RebuildUsage();
    if (!self)
        return;
    Frame().ShowEventCount();
    m_shown = Drawing(0, LaneCount());
    Relayout();
}

int CUseView::LaneCount() const {
    return Doc().Usage().LaneCount();
}

qreal CUseView::Scale() const {
    // The same scale both ways keeps the text upright; a wide pane enlarges
    // the graph up to twice.
    return std::clamp(qreal(m_scroll->viewport()->width()) / (kWidth + 10), 1.0, 2.0);
}

void CUseView::Relayout() {
    const qreal scale = Scale();
    m_canvas->resize(int((kWidth + 10) * scale), int((LaneCount() * kLaneHeight + kTop + 5) * scale));
    m_canvas->update();
}

bool CUseView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_canvas && event->type() == QEvent::Paint) {
        // Only the lanes in the exposed band: a big day has hundreds of thousands of bars.
        const QRect exposed = static_cast<QPaintEvent*>(event)->rect();
        QPainter painter(m_canvas);
        painter.fillRect(exposed, Qt::white);
        const qreal scale = Scale();
        m_shown.Paint(painter, scale, scale, 0, int(exposed.top() / scale) - 1,
                      int(exposed.bottom() / scale) + 2);
        return true;
    }
    if (watched == m_scroll->viewport() && event->type() == QEvent::Resize)
        Relayout();
    return CRightView::eventFilter(watched, event);
}

CDrawList CUseView::Drawing(int first, int count) const {
    const CUsageGraph& graph = Doc().Usage();
    const CUsageDay day = Doc().UsageDay();
    CDrawList list;
    list.fonts = {Swiss(18, 500), Swiss(12, 700), Swiss(12, 400)};
    const int shown = std::clamp(LaneCount() - first, 0, count);
    const int bottom = shown * kLaneHeight + kTop;

    list.AddText(QRect(100, 0, 700, 22), Doc().ShownDayText(), Qt::AlignLeft | Qt::AlignTop, Title);
    for (int h = 0; h < 24; ++h)
        list.AddText(QRect(100 + 30 * h - 1, 36, 30, 13), QString::asprintf("%.02d", h),
                     Qt::AlignLeft | Qt::AlignBottom, Hours);
    for (int r = 0; r < shown; ++r) {
        list.AddFill(QRect(0, r * kLaneHeight + kTop, kWidth + 1, kLaneHeight), Qt::white);
        list.AddLine(0, r * kLaneHeight + kTop + kLaneHeight, kWidth, r * kLaneHeight + kTop + kLaneHeight);
    }

    int lane = 0; // over all lanes; drawn at lane - first
    const auto laneTop = [&](int r) {
        return (r - first) * kLaneHeight + kTop;
    };
    const auto onPage = [&](int r) {
        return r >= first && r < first + shown;
    };
    for (const CUsageServer& server : graph.servers) {
        if (onPage(lane)) {
            list.AddFill(QRect(0, laneTop(lane), kWidth + 1, kLaneHeight), QColor(192, 192, 192));
            list.AddText(QRect(3, laneTop(lane), kWidth - 6, kLaneHeight), server.name,
                         Qt::AlignLeft | Qt::AlignVCenter, Name);
            list.AddLine(0, laneTop(lane) + kLaneHeight, kWidth, laneTop(lane) + kLaneHeight);
        }
        ++lane;
        int placed = 0;
        for (const CUsagePort& port : server.ports) {
            const int r = lane++;
            ++placed;
            if (!onPage(r))
                continue;
            const int top = laneTop(r);
            list.AddText(QRect(1, top, 95, kLaneHeight), port.name, Qt::AlignRight | Qt::AlignVCenter, Hours);
            if (placed % 5 == 0)
                list.AddLine(0, top + kLaneHeight, kWidth, top + kLaneHeight);
            for (const CUsageBar& bar : UsageBars(port.intervals, day))
                list.AddFill(QRect(bar.left, top + 2, bar.width, 12), kBarColor);
        }
    }

    for (int h = 1; h <= 24; ++h) {
        const bool solid = h % 6 == 0;
        list.AddLine(h * 30 + 100, kTop + 1, h * 30 + 100, std::max(bottom, kTop + 1), !solid,
                     solid ? QColor(Qt::black) : QColor(128, 128, 128));
    }
    list.AddLine(0, kTop, kWidth, kTop);
    list.AddLine(100, kTop, 100, bottom);
    return list;
}

void CUseView::Print(QPrinter* printer) {
    if (!printer)
        return;
    CUsePrintout printout(*this);
    CPrinting::Print(*printer, printout);
}
