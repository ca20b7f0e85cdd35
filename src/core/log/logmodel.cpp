#include "core/log/logmodel.h"

#include "core/app/ansitext.h"
#include "core/ui/listfile.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool IsNumeric(int column) {
    switch (column) {
    case LogColumn::Server:
    case LogColumn::Port:
    case LogColumn::User:
    case LogColumn::NetBios:
    case LogColumn::Ipx:
        return false;
    default:
        return true;
    }
}

// An order-keeping unsigned image of a signed number.
std::uint64_t Unsigned(std::int64_t n) {
    return std::uint64_t(n) ^ (std::uint64_t(1) << 63);
}

// The event's key under a column, ascending: numbers as they are, names by
// their precomputed rank.
std::uint64_t SortKey(const CLogStore& store, const CLogStore::Event& e, int column) {
    switch (column) {
    case LogColumn::Time:
        return Unsigned(store.Time(e));
    case LogColumn::Server:
        return store.Servers().Rank(store.ServerId(e));
    case LogColumn::Port:
        return store.Ports().Rank(store.PortId(e));
    case LogColumn::Action:
        return Unsigned(e.action);
    case LogColumn::Info:
        return Unsigned(e.reason);
    case LogColumn::User:
        return store.Users().Rank(e.user);
    case LogColumn::Ip:
        return e.ipAddress;
    case LogColumn::NetBios:
        return store.Netbios().Rank(store.NetbiosId(e));
    case LogColumn::Ipx:
        return store.Ipx().Rank(store.IpxId(e));
    case LogColumn::Lasted:
        return Unsigned(e.lasted);
    case LogColumn::BytesIn:
        return Unsigned(store.BytesIn(e));
    case LogColumn::BytesOut:
        return Unsigned(store.BytesOut(e));
    default:
        return 0;
    }
}

} // namespace

CLogModel::CLogModel(QObject* parent) : QAbstractTableModel(parent), m_store(std::make_shared<CLogStore>()) {
    SetColumns(0xFFFFFFFF);
}

void CLogModel::SetColumns(quint32 mask) {
    beginResetModel();
    m_columns = LogColumn::Visible(mask);
    endResetModel();
}

void CLogModel::SetFormat(CLogCellFormat format) {
    m_format = std::move(format);
    if (!m_rows.empty())
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1), {Qt::DisplayRole});
}

void CLogModel::Fill(std::shared_ptr<const CLogStore> store, const CLogFilter& filter) {
    beginResetModel();
    m_store = store ? std::move(store) : std::make_shared<CLogStore>();
    m_rows = filter.Rows(*m_store);
    m_caption = filter.Caption();
    endResetModel();
}

QString CLogModel::CellText(int row, int column) const {
    return LogCellText(*m_store, m_rows[std::size_t(row)], m_columns[std::size_t(column)], m_format);
}

void CLogModel::SortByColumn(int column) {
    if (column < 0 || column >= columnCount())
        return;
    const int direction = m_direction;
    m_direction = -m_direction;
    SortById(m_columns[std::size_t(column)], direction);
}

bool CLogModel::SortsAscending(int id, int direction) {
    // Numbers come largest first and names A to Z when the direction is +1.
    return IsNumeric(id) != (direction > 0);
}

void CLogModel::SortById(int id, int direction) {
    const bool descending = !SortsAscending(id, direction);
    if (m_rows.size() < 2 || id < 0 || id >= LogColumn::Count)
        return;

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    std::vector<std::uint64_t> keys(m_rows.size());
    std::uint64_t low = ~std::uint64_t(0), high = 0;
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        keys[i] = SortKey(*m_store, m_store->At(m_rows[i]), id);
        low = std::min(low, keys[i]);
        high = std::max(high, keys[i]);
    }
    for (std::uint64_t& key : keys)
        key = descending ? high - key : key - low;
    const std::vector<std::uint32_t> before = m_rows;
    // Equal keys keep the day's order: ties go by the event's place in the store.
    if (high - low <= 0xFFFFFFFFu) {
        for (std::size_t i = 0; i < keys.size(); ++i)
            keys[i] = (keys[i] << 32) | m_rows[i];
        std::sort(keys.begin(), keys.end());
        for (std::size_t i = 0; i < keys.size(); ++i)
            m_rows[i] = std::uint32_t(keys[i]);
    } else {
        std::vector<std::pair<std::uint64_t, std::uint32_t>> pairs(keys.size());
        for (std::size_t i = 0; i < keys.size(); ++i)
            pairs[i] = {keys[i], m_rows[i]};
        std::sort(pairs.begin(), pairs.end());
        for (std::size_t i = 0; i < pairs.size(); ++i)
            m_rows[i] = pairs[i].second;
    }

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

std::vector<int> CLogModel::SelectedRows(const QItemSelection& selection) {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selection) {
        if (!range.isValid())
            continue;
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

QString CLogModel::CopyText(const QItemSelection& selection) const {
    return CListFile::Text(SelectedRows(selection), rowCount(), columnCount(),
                           [this](int row, int column) { return CellText(row, column); });
}

bool CLogModel::WriteCsv(QIODevice& out, const std::vector<int>* rows) const {
    QString header = LogColumn::SaveHeader(LogColumn::Time);
    for (const int id : m_columns)
        if (id != LogColumn::Time)
            header += LogColumn::SaveHeader(id);
    return CListFile::Write(out, header, rows, rowCount(), columnCount(),
                            [this](int row, int column) { return CellText(row, column); });
}

bool CLogModel::Save(OCL::IPrompter& prompter, const QItemSelection& selection) const {
    const std::vector<int> selected = SelectedRows(selection);
    const QString caption =
        selected.empty() ? u"Save All Events to File"_s : u"Save Selected Events to File"_s;
    const QString path = prompter.SaveFileName(caption, {}, u"Comma Separated File (*.csv)"_s, u"csv"_s);
    if (path.isEmpty())
        return false;
    return CListFile::Save(path, prompter, [&](QIODevice& file) {
        return WriteCsv(file, selected.empty() ? nullptr : &selected);
    });
}

int CLogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CLogModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant CLogModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return CellText(index.row(), index.column());
    case ImageRole: {
        if (index.column() != 0)
            return {};
        const CLogStore::Event& e = m_store->At(RecordAt(index.row()));
        return LogText::ImageIndex(e.action, e.reason);
    }
    case RecordRole:
        return RecordAt(index.row());
    default:
        return {};
    }
}

QVariant CLogModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= columnCount())
        return {};
    return LogColumn::ListTitle(m_columns[std::size_t(section)]);
}
