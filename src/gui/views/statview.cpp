#include "gui/views/statview.h"

#include "core/stats/statistics.h"
#include "gui/frame/mainframe.h"
#include "gui/toolkit/printout.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

enum Font { Label, Heading, Small, PrintTitle };

const QColor kBar(0, 0, 160);
const QColor kBusiest(210, 0, 0);
const QColor kLabelBand(224, 224, 224);

QFont Arial(int pixels, bool bold = false) {
    QFont font(u"Arial"_s);
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

// The report fills the page's width, or its height when that is shorter.
class CStatPrintout final : public IPrintout {
public:
    explicit CStatPrintout(CDrawList drawing) : m_drawing(std::move(drawing)) {}
    int Layout(QPainter&, const QRect&) override { return 1; }
    void PaintPage(QPainter& painter, const QRect& page, int, int) override {
        const qreal scale =
            std::min(qreal(page.width()) / CStatView::kWidth, qreal(page.height()) / CStatView::kHeight);
        painter.save();
        painter.translate(page.topLeft());
        m_drawing.Paint(painter, scale, scale);
        painter.restore();
    }

private:
    CDrawList m_drawing;
};

} // namespace

CStatView::CStatView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent) {
    setObjectName(u"statView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_scroll = new QScrollArea(this);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setBackgroundRole(QPalette::Base);
    m_canvas = new QWidget;
    m_canvas->setObjectName(u"statCanvas"_s);
    m_canvas->setAutoFillBackground(true);
    QPalette palette = m_canvas->palette();
    palette.setColor(QPalette::Window, Qt::white);
    m_canvas->setPalette(palette);
    m_canvas->installEventFilter(this);
    m_scroll->setWidget(m_canvas);
    m_scroll->viewport()->installEventFilter(this);
    layout->addWidget(m_scroll);
}

void CStatView::OnInitialUpdate() {
    Regenerate();
}

void CStatView::OnUpdate(IView*, int hint, const CHintObject*) {
    if (Frame().RightView() != this)
        return;
    if (ChangesShownDay(hint))
        Regenerate();
    else if (hint == Hint::SaveData)
        Doc().Stat_Save();
}

void CStatView::Regenerate() {
    // The load keeps painting while it parses; this view may go meanwhile.
    QPointer<CStatView> self(this);
    Doc().LoadLogRecords(0);
    if (!self)
        return;
    Doc().Stat_Generate();
    Frame().ShowEventCount();
    m_shown = Drawing(false);
    Relayout();
}

qreal CStatView::Scale() const {
    // Grows with the pane, never below one pixel a unit.
    const QSize room = m_scroll->viewport()->size();
    return std::max(1.0,
                    std::min(qreal(room.width()) / (kWidth + 20), qreal(room.height()) / (kHeight + 10)));
}

void CStatView::Relayout() {
    const qreal scale = Scale();
    m_canvas->resize(int(kWidth * scale), int(kHeight * scale));
    m_canvas->update();
}

bool CStatView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_canvas && event->type() == QEvent::Paint) {
        QPainter painter(m_canvas);
        painter.setRenderHint(QPainter::TextAntialiasing);
        const qreal scale = Scale();
        m_shown.Paint(painter, scale, scale);
        return true;
    }
    if (watched == m_scroll->viewport() && event->type() == QEvent::Resize)
        Relayout();
    return CRightView::eventFilter(watched, event);
}

CDrawList CStatView::Drawing(bool printing) const {
    const CDayStatistics& stats = Doc().Statistics();
    CDrawList list;
    list.fonts = {Arial(11), Arial(13, true), Arial(9), Arial(13, true)};
    const int scale = stats.graphScale == 0 ? 5 : int(stats.graphScale);

    if (printing) {
        list.AddText(QRect(30, 10 - 16, kWidth - 30, 18),
                     u"Callwarden RAS Report for %1"_s.arg(Doc().ShownDayText()),
                     Qt::AlignLeft | Qt::AlignBottom, PrintTitle);
    } else {
        list.AddText(QRect(30, 14 - 12, 300, 14), u"Connections by Hour"_s, Qt::AlignLeft | Qt::AlignTop,
                     Heading);
        // The captions over the plot: the vertical axis, the hours, the busiest hour's colour.
        list.AddText(QRect(30, 23, 120, 13), u"Connections"_s, Qt::AlignLeft | Qt::AlignTop, Small);
        list.AddText(QRect(165, 23, 120, 13), u"Hour of the day"_s, Qt::AlignHCenter | Qt::AlignTop, Small);
        list.AddFill(QRect(414 - 66, 26, 8, 8), kBusiest);
        list.AddText(QRect(414 - 55, 23, 71, 13), u"Busiest hour"_s, Qt::AlignRight | Qt::AlignTop, Small);
    }

    const int lines = stats.GridLines();
    for (int i = 1; i <= lines; ++i) {
        const int y = 144 - i * (100 / lines);
        list.AddLine(31, y, 429, y, true, QColor(160, 160, 160));
    }
    list.AddText(QRect(1, 40, 28, 15), QString::number(scale), Qt::AlignRight | Qt::AlignTop, Label);

    list.AddFill(QRect(30, 146, 401, 12), kLabelBand);
    for (int hour = 0; hour < 24; ++hour)
        list.AddText(QRect(40 + 16 * hour - 2, 146, 16, 12), QString::asprintf("%.02d", hour),
                     Qt::AlignLeft | Qt::AlignVCenter, Small);

    for (int hour = 0; hour < 24; ++hour) {
        const quint32 count = stats.byHour[std::size_t(hour)];
        if (count == 0)
            continue;
        const int top = stats.BarTop(hour);
        const bool busiest = !printing && count == stats.maxHour;
        list.AddFill(QRect(QPoint(39 + 16 * hour, top), QPoint(39 + 16 * hour + 11, 143)),
                     busiest ? kBusiest : kBar);
    }
    list.AddLine(30, 40, 30, 144);
    list.AddLine(30, 144, 430, 144);
    list.AddLine(430, 144, 430, 40);

    for (const CDayStatistics::PanelLine& line : stats.Panel()) {
        const bool heading = line.value.isEmpty() && line.label == u"Statistics"_s;
        // The heading's larger face stands above its line rather than over the next.
        list.AddText(QRect(30, line.y - (heading ? 5 : 0), 220, 15), line.label, Qt::AlignLeft | Qt::AlignTop,
                     heading ? Heading : Label);
        if (!line.value.isEmpty())
            list.AddText(QRect(250, line.y, 210, 15), line.value, Qt::AlignLeft | Qt::AlignTop, Label);
    }
    return list;
}

void CStatView::Print(QPrinter* printer) {
    if (!printer)
        return;
    CStatPrintout printout(Drawing(true));
    CPrinting::Print(*printer, printout);
}
