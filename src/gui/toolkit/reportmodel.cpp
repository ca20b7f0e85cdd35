#include "gui/toolkit/reportmodel.h"

#include "gui/toolkit/consolesettings.h"

#include <QHeaderView>
#include <QTreeView>

using namespace Qt::StringLiterals;

CReportModel::CReportModel(std::vector<CReportColumn> columns, std::vector<QIcon> images, QObject* parent)
    : QAbstractTableModel(parent), m_columns(std::move(columns)), m_images(std::move(images)) {}

int CReportModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CReportModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant CReportModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row& row = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return row.texts[std::size_t(index.column())];
    case Qt::ToolTipRole:
        return ToolTip(index.row(), index.column());
    case Qt::DecorationRole:
        if (index.column() == 0 && row.image >= 0 && std::size_t(row.image) < m_images.size() &&
            !m_images[std::size_t(row.image)].isNull())
            return m_images[std::size_t(row.image)];
        return {};
    case Qt::TextAlignmentRole:
        return int(m_columns[std::size_t(index.column())].alignment);
    case ImageRole:
        return row.image;
    case ItemDataRole:
        return row.itemData;
    default:
        return {};
    }
}

QVariant CReportModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= int(m_columns.size()))
        return {};
    if (role == Qt::DisplayRole)
        return Title(section);
    if (role == Qt::TextAlignmentRole)
        return int(m_columns[std::size_t(section)].alignment);
    return {};
}

QVariant CReportModel::ToolTip(int, int) const {
    return {};
}

bool CReportModel::SetText(int row, int column, const QString& text) {
    QString& cell = Cell(row, column);
    if (cell == text)
        return false;
    cell = text;
    const QModelIndex at = index(row, column);
    emit dataChanged(at, at, {Qt::DisplayRole});
    return true;
}

bool CReportModel::SetImage(int row, int image) {
    if (m_rows[row].image == image)
        return false;
    m_rows[row].image = image;
    const QModelIndex at = index(row, 0);
    emit dataChanged(at, at, {Qt::DecorationRole, ImageRole});
    return true;
}

void CReportModel::SetItemData(int row, qint64 value) {
    if (m_rows[row].itemData == value)
        return;
    m_rows[row].itemData = value;
    const QModelIndex at = index(row, 0);
    emit dataChanged(at, at, {ItemDataRole});
}

void CReportModel::CellsChanged(int row, int firstColumn, int lastColumn) {
    emit dataChanged(index(row, firstColumn), index(row, lastColumn), {Qt::DisplayRole});
}

int CReportModel::FindRow(const QString& text) const {
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows[row].texts[0] == text)
            return row;
    return -1;
}

void CReportModel::InsertRow(int row, const QString& firstText) {
    beginInsertRows({}, row, row);
    Row added;
    added.texts.resize(m_columns.size());
    added.texts[0] = firstText;
    m_rows.insert(row, added);
    endInsertRows();
}

int CReportModel::AppendRow(const QString& firstText) {
    const int row = int(m_rows.size());
    InsertRow(row, firstText);
    return row;
}

void CReportModel::RemoveRow(int row) {
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

void CReportModel::Clear() {
    beginResetModel();
    m_rows.clear();
    endResetModel();
}

void SetUpReportView(QTreeView* view, CReportModel* model, QAbstractItemView::SelectionMode mode,
                     const QString& settingsSection) {
    view->setModel(model);
    view->setRootIsDecorated(false);
    view->setItemsExpandable(false);
    view->setUniformRowHeights(true);
    view->setAllColumnsShowFocus(true);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(mode);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setIconSize(QSize(16, 16));
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    QHeaderView* header = view->header();
    header->setStretchLastSection(false);
    header->setSectionsMovable(false);
    header->setMinimumSectionSize(2);
    for (int column = 0; column < model->columnCount(); ++column)
        header->resizeSection(column, model->DefaultWidth(column));
    CConsoleSettings::RestoreHeader(settingsSection, u"Columns"_s, header);
}
