#pragma once
// The log view's rows: a table model over the day's store and the numbers of
// the events that pass the filter. Cells are written only when asked for, by
// the one cell-text function that also writes the clipboard and the saved
// file, so a day of a million events opens, sorts and saves without a widget
// or a string per row.
//
// Columns are those of the column mask in bit order. Sorting follows the
// view's rule: one direction shared by every column, reversed after each sort;
// numbers sort largest first and names A to Z on the first click.

#include "core/log/logfilter.h"
#include "core/log/logtexts.h"
#include "core/ui/prompter.h"

#include <QAbstractTableModel>
#include <QItemSelection>

#include <memory>
#include <vector>

class QIODevice;

class CLogModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    // On the first column: the row's image (0 to 3, -1 for none).
    static constexpr int ImageRole = Qt::UserRole + 1;
    // The event's index in the store.
    static constexpr int RecordRole = Qt::UserRole + 2;

    explicit CLogModel(QObject* parent = nullptr);

    void SetColumns(quint32 mask);
    void SetFormat(CLogCellFormat format);
    // Shows the store's events that pass the filter, in store order.
    void Fill(std::shared_ptr<const CLogStore> store, const CLogFilter& filter);

    QString Caption() const { return m_caption; }
    const std::vector<int>& Columns() const { return m_columns; }
    std::uint32_t RecordAt(int row) const { return m_rows[std::size_t(row)]; }
    QString CellText(int row, int column) const;

    // Sorts by the shown column with the shared direction, then reverses it.
    void SortByColumn(int column);
    int SortDirection() const { return m_direction; }
    // Sorts by a column id in the given direction, leaving the shared one as it
    // is: puts a refilled list back into the order it was shown in.
    void SortById(int id, int direction);
    // Whether a sort in that direction puts the column's smallest values first.
    static bool SortsAscending(int id, int direction);

    // The selected rows (all columns) as the clipboard gets them: each cell
    // and a comma, a blank for an empty cell, CRLF after each row.
    QString CopyText(const QItemSelection& selection) const;
    // The saved file: the header, then the rows (the selected ones, or all when
    // rows is null), in Windows-1252 with CRLF line ends.
    bool WriteCsv(QIODevice& out, const std::vector<int>* rows = nullptr) const;
    // The save command: asks for the file ("Save Selected Events to File" when
    // rows are selected, else "Save All Events to File") and writes it
    // atomically. False when cancelled or failed (the failure is shown).
    bool Save(OCL::IPrompter& prompter, const QItemSelection& selection) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // The rows a selection covers, ascending, each once.
    static std::vector<int> SelectedRows(const QItemSelection& selection);

private:
    std::shared_ptr<const CLogStore> m_store;
    std::vector<std::uint32_t> m_rows;
    std::vector<int> m_columns;
    CLogCellFormat m_format;
    QString m_caption;
    int m_direction = 1;
};
