#pragma once
// Printing and its preview through one paint routine: a printout lays itself
// out on the paint rectangle of the device it is given and paints one page at
// a time, so that the preview shows exactly what the printer gets.

#include <QFont>
#include <QString>

#include <functional>
#include <vector>

class QPainter;
class QPrinter;
class QRect;

class IPrintout {
public:
    virtual ~IPrintout() = default;
    // Lays the printout out for the painter's device on the page's paint
    // rectangle; returns the page count (at least 1).
    virtual int Layout(QPainter& painter, const QRect& page) = 0;
    // Paints page index (0-based) of count.
    virtual void PaintPage(QPainter& painter, const QRect& page, int index, int count) = 0;
};

namespace CPrinting {
// Paints the printout's pages (those of the printer's page range, or all) on
// the printer, which may be a preview's; false when it cannot be painted on.
bool Print(QPrinter& printer, IPrintout& printout);
} // namespace CPrinting

// A list printed page by page: a banner line in a small font; some lines lower
// a heading that names the page; two lines lower the column titles in bold,
// each at an x position proportional to the on-screen widths of the columns
// before it; a rule; then one row per line down to the bottom of the page.
// Columns no wider than kNarrowColumn on screen are hidden there and are not
// printed; a text too long for its column is cut with an ellipsis rather than
// run into the next.
class CListPrintout final : public IPrintout {
public:
    static constexpr int kNarrowColumn = 12;
    // Lines (of the title font) from the banner to the heading and from the
    // heading to the titles.
    static constexpr int kHeadingLines = 5;
    static constexpr int kTitleLines = 2;

    struct Column {
        QString title;
        int screenWidth = 0;
    };
    using Heading = std::function<QString(int page, int count)>; // page is 1-based
    using Cell = std::function<QString(int row, int column)>;

    CListPrintout(QString banner, Heading heading, std::vector<Column> columns, int rowCount, Cell cell);

    int Layout(QPainter& painter, const QRect& page) override;
    void PaintPage(QPainter& painter, const QRect& page, int index, int count) override;

    int RowsPerPage() const { return m_rowsPerPage; }
    // The fonts: Arial throughout, the titles bold. The titles and rows are
    // made smaller, down to kSmallestPoints, when the page is narrower than the
    // columns were on screen, so that what fitted there fits on paper.
    static QFont BannerFont();
    static QFont HeadingFont();
    QFont TitleFont() const;
    QFont RowFont() const;
    static constexpr qreal kRowPoints = 9;
    static constexpr qreal kSmallestPoints = 5;

private:
    struct Placed {
        int column;
        int x;
        int width;
    };
    std::vector<Placed> Place(const QRect& page) const;
    int TitlesY(QPainter& painter, const QRect& page) const;
    int FirstRowY(QPainter& painter, const QRect& page) const;

    QString m_banner;
    Heading m_heading;
    std::vector<Column> m_columns;
    int m_rowCount;
    Cell m_cell;
    int m_rowsPerPage = 1;
    qreal m_points = kRowPoints;
};
