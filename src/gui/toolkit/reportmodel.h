#pragma once
// The rows of a report-style list: text cells, an image per row drawn in the
// first column, and the row's item data. A cell or an image is only written, and
// dataChanged only emitted, when its content really changes, so that periodic
// refreshes leave unchanged rows alone.

#include <QAbstractItemView>
#include <QAbstractTableModel>
#include <QIcon>

#include <vector>

class QTreeView;

struct CReportColumn {
    const char* title;
    int width;
    Qt::Alignment alignment;
};

class CReportModel : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int ImageRole = Qt::UserRole + 1;
    static constexpr int ItemDataRole = Qt::UserRole + 2;

    // images[i] is drawn for image i; a null icon draws nothing.
    CReportModel(std::vector<CReportColumn> columns, std::vector<QIcon> images, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    QString Title(int column) const { return QString::fromLatin1(m_columns[std::size_t(column)].title); }
    int DefaultWidth(int column) const { return m_columns[std::size_t(column)].width; }

    QString Text(int row, int column) const { return m_rows[row].texts[std::size_t(column)]; }
    // False when the cell already held the text.
    bool SetText(int row, int column, const QString& text);
    int Image(int row) const { return m_rows[row].image; }
    bool SetImage(int row, int image);
    qint64 ItemData(int row) const { return m_rows[row].itemData; }
    void SetItemData(int row, qint64 value);

    // The first row whose first cell is text (exactly), or -1.
    int FindRow(const QString& text) const;
    void InsertRow(int row, const QString& firstText);
    int AppendRow(const QString& firstText);
    void RemoveRow(int row);
    void Clear();

protected:
    // The cells of a row, for subclasses that write several at once.
    QString& Cell(int row, int column) { return m_rows[row].texts[std::size_t(column)]; }
    void CellsChanged(int row, int firstColumn, int lastColumn);
    // A cell's tool tip; none unless a subclass says otherwise.
    virtual QVariant ToolTip(int row, int column) const;

private:
    struct Row {
        std::vector<QString> texts;
        int image = 0;
        qint64 itemData = 0;
    };
    std::vector<CReportColumn> m_columns;
    std::vector<QIcon> m_images;
    QList<Row> m_rows;
};

// Sets a tree view up as a report list over the model: whole rows, no tree, no
// editing, 16-pixel icons, a context menu on request, the model's column widths
// (at least 2 pixels) and then those saved under "<section>/Columns".
void SetUpReportView(QTreeView* view, CReportModel* model, QAbstractItemView::SelectionMode mode,
                     const QString& settingsSection);
