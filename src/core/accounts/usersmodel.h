#pragma once
// The users view's rows: a table model over the document's accounts and the
// numbers of those that pass the filter. Cells are written only when asked
// for, by the one cell-text function that also writes the clipboard, the saved
// file and the printout.
//
// Sorting follows the view's rule: one direction shared by every column,
// reversed after each sort; numbers sort largest first and names A to Z when
// the direction is +1.

#include "core/accounts/userfilter.h"
#include "core/ui/prompter.h"

#include <QAbstractTableModel>
#include <QItemSelection>

#include <functional>
#include <memory>
#include <vector>

class QIODevice;

namespace UserColumn {
// Column ids. The last two show how much of an account's limits is used; they
// are shown only when asked for.
enum Id { User, Sessions, Denials, LastSession, TotalTime, TotalUsed, PeriodUsed, Count };
QString ListTitle(int column);
int DefaultWidth(int column);
} // namespace UserColumn

// How cells are written: times through the document's date-and-time text,
// durations as "TimeFormatSeconds" says.
struct CUserCellFormat {
    std::function<QString(qint64 time)> dateTime;
    bool plainSeconds = false;
};

// The text of one cell of a store's account i.
QString UserCellText(const CUserStore& store, std::size_t i, int column, const CUserCellFormat& format);

class CUsersModel : public QAbstractTableModel {
    Q_OBJECT
public:
    // The account's index in the store.
    static constexpr int RecordRole = Qt::UserRole + 2;

    explicit CUsersModel(QObject* parent = nullptr);

    void SetFormat(CUserCellFormat format);
    // Shows or hides the limit columns.
    void SetLimitColumns(bool shown);
    bool LimitColumns() const { return m_columns.size() > TotalUsedIndex; }
    // Shows the store's accounts that pass the filter, in file order.
    void Fill(std::shared_ptr<const CUserStore> store, const CUserFilter& filter);
    // The same, in the order of the last sort (which is not reversed again).
    void Refill(std::shared_ptr<const CUserStore> store, const CUserFilter& filter);

    const CUserStore& Store() const { return *m_store; }
    std::uint32_t RecordAt(int row) const { return m_rows[std::size_t(row)]; }
    int ColumnId(int column) const { return m_columns[std::size_t(column)]; }
    QString CellText(int row, int column) const;
    // The row of the account of that name (compared without regard to case), or -1.
    int FindRow(const QString& name) const;

    // Sorts by the shown column with the shared direction, then reverses it.
    void SortByColumn(int column);
    int SortDirection() const { return m_direction; }

    // Takes the rows out of the list (the accounts stay in the store).
    void RemoveRows(const std::vector<int>& rows);

    // The selected rows as the clipboard gets them: each cell and a comma, a
    // blank for an empty cell, CRLF after each row.
    QString CopyText(const QItemSelection& selection) const;
    // The saved file: the header, then every row, in Windows-1252 with CRLF.
    bool WriteCsv(QIODevice& out) const;
    // The save command: asks for the file and writes it atomically. False
    // when cancelled or failed (the failure is shown).
    bool Save(OCL::IPrompter& prompter) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // The rows a selection covers, ascending, each once.
    static std::vector<int> SelectedRows(const QItemSelection& selection);

private:
    static constexpr std::size_t TotalUsedIndex = 5;
    void Sort(int id, bool descending);

    std::shared_ptr<const CUserStore> m_store;
    std::vector<std::uint32_t> m_rows;
    std::vector<int> m_columns;
    CUserCellFormat m_format;
    int m_direction = 1;
    // The last order applied: a column id and whether largest first; -1 none.
    int m_sortedBy = -1;
    bool m_sortedDescending = false;
};
