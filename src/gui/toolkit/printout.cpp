#include "gui/toolkit/printout.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QPrinter>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

QFont Arial(qreal points, int weight) {
    QFont font(u"Arial"_s);
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(points);
    font.setWeight(QFont::Weight(weight));
    return font;
}

// The font as the painter's device measures it.
QFontMetrics Metrics(const QFont& font, QPainter& painter) {
    return QFontMetrics(font, painter.device());
}

} // namespace

bool CPrinting::Print(QPrinter& printer, IPrintout& printout) {
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    // The painter's origin is the paint rectangle's corner.
    const QRect page(QPoint(0, 0), printer.pageLayout().paintRectPixels(printer.resolution()).size());
    const int count = printout.Layout(painter, page);
    int first = 0, last = count - 1;
    if (printer.printRange() == QPrinter::PageRange && printer.fromPage() > 0) {
        first = printer.fromPage() - 1;
        last = qMin(last, qMax(printer.toPage(), printer.fromPage()) - 1);
    }
    for (int index = first; index <= last; ++index) {
        if (index > first && !printer.newPage())
            break;
        painter.save();
        printout.PaintPage(painter, page, index, count);
        painter.restore();
    }
    return painter.end();
}

CListPrintout::CListPrintout(QString banner, Heading heading, std::vector<Column> columns, int rowCount,
                             Cell cell)
    : m_banner(std::move(banner)), m_heading(std::move(heading)), m_columns(std::move(columns)),
      m_rowCount(rowCount), m_cell(std::move(cell)) {}

QFont CListPrintout::BannerFont() {
    return Arial(6.5, 400);
}

QFont CListPrintout::HeadingFont() {
    return Arial(11, 400);
}

QFont CListPrintout::TitleFont() const {
    return Arial(m_points, 700);
}

QFont CListPrintout::RowFont() const {
    return Arial(m_points, 400);
}

std::vector<CListPrintout::Placed> CListPrintout::Place(const QRect& page) const {
    qint64 total = 0;
    for (const Column& c : m_columns)
        total += qMax(0, c.screenWidth);
    std::vector<Placed> placed;
    if (total == 0)
        return placed;
    qint64 before = 0;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const int width = qMax(0, m_columns[i].screenWidth);
        const int x = page.left() + int(before * page.width() / total);
        before += width;
        const int right = page.left() + int(before * page.width() / total);
        if (width > kNarrowColumn)
            placed.push_back({int(i), x, right - x});
    }
    return placed;
}

int CListPrintout::TitlesY(QPainter& painter, const QRect& page) const {
    const int line = Metrics(TitleFont(), painter).lineSpacing();
    // The heading's font is the larger: its line must clear the titles.
    return page.top() + kHeadingLines * line +
           qMax(kTitleLines * line, Metrics(HeadingFont(), painter).lineSpacing() + line / 2);
}

int CListPrintout::FirstRowY(QPainter& painter, const QRect& page) const {
    const int line = Metrics(TitleFont(), painter).lineSpacing();
    return TitlesY(painter, page) + line + line / 2;
}

int CListPrintout::Layout(QPainter& painter, const QRect& page) {
    // The screen's columns at the device's resolution, against the page.
    qint64 screen = 0;
    for (const Column& c : m_columns)
        screen += qMax(0, c.screenWidth);
    const QScreen* display = QGuiApplication::primaryScreen();
    const qreal screenDpi = display ? display->logicalDotsPerInchX() : 96.0;
    const qreal needed = qreal(screen) * painter.device()->logicalDpiX() / screenDpi;
    const qreal fit = needed > page.width() ? page.width() / needed : 1.0;
    const qreal shown = QGuiApplication::font().pointSizeF();
    m_points = qMax(kSmallestPoints, (shown > 0 ? qMin(kRowPoints, shown) : kRowPoints) * fit);

    const int line = qMax(1, Metrics(TitleFont(), painter).lineSpacing());
    // Rows per page are what fits under the titles, so that no row is lost at a page's foot.
    m_rowsPerPage = qMax(1, (page.bottom() + 1 - FirstRowY(painter, page)) / line);
    return qMax(1, (m_rowCount + m_rowsPerPage - 1) / m_rowsPerPage);
}

void CListPrintout::PaintPage(QPainter& painter, const QRect& page, int index, int count) {
    const int line = qMax(1, Metrics(TitleFont(), painter).lineSpacing());
    const int pad = qMax(1, Metrics(RowFont(), painter).averageCharWidth() / 2);
    auto text = [&](const QFont& font, int x, int y, int width, const QString& s) {
        painter.setFont(font);
        const QString shown = Metrics(font, painter).elidedText(s, Qt::ElideRight, qMax(0, width - pad));
        painter.drawText(QRect(x, y, qMax(0, width), Metrics(font, painter).lineSpacing()),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
    };
    painter.setPen(Qt::black);
    text(BannerFont(), page.left(), page.top(), page.width(), m_banner);
    // A heading too long for the page is set smaller rather than cut.
    const QString heading = m_heading(index + 1, count);
    QFont headingFont = HeadingFont();
    while (headingFont.pointSizeF() > kSmallestPoints &&
           Metrics(headingFont, painter).horizontalAdvance(heading) + pad > page.width())
        headingFont.setPointSizeF(qMax(kSmallestPoints, headingFont.pointSizeF() * 0.95));
    text(headingFont, page.left(), page.top() + kHeadingLines * line, page.width(), heading);

    const std::vector<Placed> placed = Place(page);
    const int titlesY = TitlesY(painter, page);
    for (const Placed& p : placed)
        text(TitleFont(), p.x, titlesY, p.width, m_columns[std::size_t(p.column)].title);
    const int ruleY = titlesY + line + line / 4;
    painter.setPen(QPen(Qt::black, qMax(1, line / 16)));
    painter.drawLine(page.left(), ruleY, page.right(), ruleY);
    painter.setPen(Qt::black);

    int y = FirstRowY(painter, page);
    const int first = index * m_rowsPerPage;
    const int end = qMin(m_rowCount, first + m_rowsPerPage);
    for (int row = first; row < end && y + line <= page.bottom() + 1; ++row, y += line)
        for (const Placed& p : placed)
            text(RowFont(), p.x, y, p.width, m_cell(row, p.column));
}
