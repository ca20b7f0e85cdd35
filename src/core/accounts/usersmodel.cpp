#include "core/accounts/usersmodel.h"

#include "core/app/ansitext.h"
#include "core/log/logmodel.h"
#include "core/log/logtexts.h"
#include "core/ui/listfile.h"

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

struct ColumnInfo {
    const char16_t* title;
    int width;
};

constexpr std::array<ColumnInfo, UserColumn::Count> kColumns{{
    {u"User", 160},
    {u"Sessions", 60},
    {u"Denials", 60},
    {u"Last Session", 135},
    {u"Total Time", 90},
    {u"Total Time Used", 150},
    {u"Period Used", 200},
}};

// The saved file's header names a "Lasted" field that no row carries; readers
// of the format expect it.
const QString kSaveHeader = u"User,Sessions,Denials,Last Session,Lasted,Total Time"_s;

QString PeriodName(std::int32_t type) {
    switch (type) {
    case 1:
        return u"Per 24 Hours"_s;
    case 2:
        return u"Per Week"_s;
    case 3:
        return u"Per Month"_s;
    default:
        return {};
    }
}

bool HasPeriodLimit(const CUserStore::Stats& s) {
    return s.periodMax > 0 && !PeriodName(s.periodType).isEmpty();
}

// Tenths of a percent of limit that used is, or -1 without a limit.
std::int64_t PerMille(std::int32_t used, std::int32_t limit) {
    return limit > 0 ? std::int64_t(used) * 1000 / limit : -1;
}

QString UsedText(std::int32_t used, std::int32_t limit, bool plainSeconds) {
    return u"%1% of %2"_s.arg(PerMille(used, limit) / 10).arg(LogText::LastedText(limit, plainSeconds));
}

// The account's key under a column, ascending, as an unsigned 32-bit number.
std::uint32_t SortKey(const CUserStore& store, std::uint32_t i, int column) {
    const CUserStore::Stats& s = store.At(i);
    const auto offset = [](std::int64_t n) {
        return std::uint32_t(std::clamp<std::int64_t>(n, std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max()) +
                             (std::int64_t(1) << 31));
    };
    switch (column) {
    case UserColumn::User:
        return store.NameRank(i);
    case UserColumn::Sessions:
        return offset(s.connects);
    case UserColumn::Denials:
        return offset(s.denials);
    case UserColumn::LastSession:
        return offset(s.last);
    case UserColumn::TotalTime:
        return offset(s.totalTime);
    case UserColumn::TotalUsed:
        return offset(PerMille(s.totalTime, s.maxTotal));
    case UserColumn::PeriodUsed:
        return offset(HasPeriodLimit(s) ? PerMille(s.periodUsage, s.periodMax) : -1);
    default:
        return 0;
    }
}

} // namespace

QString UserColumn::ListTitle(int column) {
    return QString::fromUtf16(kColumns[std::size_t(column)].title);
}

int UserColumn::DefaultWidth(int column) {
    return kColumns[std::size_t(column)].width;
}

QString UserCellText(const CUserStore& store, std::size_t i, int column, const CUserCellFormat& format) {
    const CUserStore::Stats& s = store.At(i);
    switch (column) {
    case UserColumn::User:
        return store.DisplayName(i);
    case UserColumn::Sessions:
        return QString::number(s.connects);
    case UserColumn::Denials:
        return QString::number(s.denials);
    case UserColumn::LastSession:
        if (s.last == 0)
            return {};
        return format.dateTime ? format.dateTime(s.last) : QString::number(s.last);
    case UserColumn::TotalTime:
        return LogText::LastedText(s.totalTime, format.plainSeconds);
    case UserColumn::TotalUsed:
        return s.maxTotal > 0 ? UsedText(s.totalTime, s.maxTotal, format.plainSeconds) : QString();
    case UserColumn::PeriodUsed:
        if (!HasPeriodLimit(s))
            return {};
        return UsedText(s.periodUsage, s.periodMax, format.plainSeconds) + u' ' + PeriodName(s.periodType);
    default:
        return {};
    }
}

CUsersModel::CUsersModel(QObject* parent)
    : QAbstractTableModel(parent), m_store(std::make_shared<CUserStore>()) {
    SetLimitColumns(false);
}

void CUsersModel::SetFormat(CUserCellFormat format) {
    m_format = std::move(format);
    if (!m_rows.empty())
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1), {Qt::DisplayRole});
}

void CUsersModel::SetLimitColumns(bool shown) {
    beginResetModel();
    m_columns = {UserColumn::User, UserColumn::Sessions, UserColumn::Denials, UserColumn::LastSession,
                 UserColumn::TotalTime};
    if (shown)
        m_columns.insert(m_columns.end(), {UserColumn::TotalUsed, UserColumn::PeriodUsed});
    endResetModel();
}

void CUsersModel::Fill(std::shared_ptr<const CUserStore> store, const CUserFilter& filter) {
    m_sortedBy = -1;
    Refill(std::move(store), filter);
}

void CUsersModel::Refill(std::shared_ptr<const CUserStore> store, const CUserFilter& filter) {
    beginResetModel();
    m_store = store ? std::move(store) : std::make_shared<CUserStore>();
    m_rows = filter.Rows(*m_store);
    if (m_sortedBy >= 0)
        Sort(m_sortedBy, m_sortedDescending);
    endResetModel();
}

QString CUsersModel::CellText(int row, int column) const {
    return UserCellText(*m_store, m_rows[std::size_t(row)], m_columns[std::size_t(column)], m_format);
}

int CUsersModel::FindRow(const QString& name) const {
    for (std::size_t row = 0; row < m_rows.size(); ++row)
        if (m_store->DisplayName(m_rows[row]).compare(name, Qt::CaseInsensitive) == 0)
            return int(row);
    return -1;
}

void CUsersModel::Sort(int id, bool descending) {
    std::vector<std::uint64_t> keys(m_rows.size());
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        std::uint32_t key = SortKey(*m_store, m_rows[i], id);
        if (descending)
            key = ~key;
        // Equal keys keep the file's order.
        keys[i] = std::uint64_t(key) << 32 | m_rows[i];
    }
    std::sort(keys.begin(), keys.end());
    for (std::size_t i = 0; i < keys.size(); ++i)
        m_rows[i] = std::uint32_t(keys[i]);
    m_sortedBy = id;
    m_sortedDescending = descending;
}

void CUsersModel::SortByColumn(int column) {
    if (column < 0 || column >= columnCount())
        return;
    const int id = m_columns[std::size_t(column)];
    // Numbers come largest first and names A to Z when the direction is +1.
    const bool descending = (id != UserColumn::User) == (m_direction > 0);
    m_direction = -m_direction;

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const std::vector<std::uint32_t> before = m_rows;
    Sort(id, descending);
    const QModelIndexList persistent = persistentIndexList();
    if (!persistent.isEmpty()) {
        std::vector<int> rowOf(m_store->Count(), -1);
        for (std::size_t i = 0; i < m_rows.size(); ++i)
            rowOf[m_rows[i]] = int(i);
        QModelIndexList moved;
        moved.reserve(persistent.size());
        for (const QModelIndex& old : persistent)
            moved.append(index(rowOf[before[std::size_t(old.row())]], old.column()));
        changePersistentIndexList(persistent, moved);
    }
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void CUsersModel::RemoveRows(const std::vector<int>& rows) {
    // From the bottom up, a run of neighbouring rows at a time.
    for (std::size_t end = rows.size(); end > 0;) {
        std::size_t begin = end - 1;
        while (begin > 0 && rows[begin - 1] == rows[begin] - 1)
            --begin;
        const int first = rows[begin], last = rows[end - 1];
        beginRemoveRows({}, first, last);
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
        endRemoveRows();
        end = begin;
    }
}

std::vector<int> CUsersModel::SelectedRows(const QItemSelection& selection) {
    return CLogModel::SelectedRows(selection);
}

QString CUsersModel::CopyText(const QItemSelection& selection) const {
    return CListFile::Text(SelectedRows(selection), rowCount(), columnCount(),
                           [this](int row, int column) { return CellText(row, column); });
}

bool CUsersModel::WriteCsv(QIODevice& out) const {
    QString header = kSaveHeader;
    for (std::size_t column = TotalUsedIndex; column < m_columns.size(); ++column)
        header += u',' + UserColumn::ListTitle(m_columns[column]);
    return CListFile::Write(out, header, nullptr, rowCount(), columnCount(),
                            [this](int row, int column) { return CellText(row, column); });
}

bool CUsersModel::Save(OCL::IPrompter& prompter) const {
    const QString path =
        prompter.SaveFileName(u"Save Data to File"_s, {}, u"Comma Separated File (*.csv)"_s, u"csv"_s);
    if (path.isEmpty())
        return false;
    return CListFile::Save(path, prompter, [this](QIODevice& file) { return WriteCsv(file); });
}

int CUsersModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CUsersModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant CUsersModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return CellText(index.row(), index.column());
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(Qt::Alignment(index.column() == 0 ? Qt::AlignLeft : Qt::AlignRight) |
                                   Qt::AlignVCenter);
    case RecordRole:
        return RecordAt(index.row());
    default:
        return {};
    }
}

QVariant CUsersModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    if (role == Qt::DisplayRole)
        return UserColumn::ListTitle(m_columns[std::size_t(section)]);
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::Alignment(section == 0 ? Qt::AlignLeft : Qt::AlignRight) |
                                   Qt::AlignVCenter);
    return {};
}
