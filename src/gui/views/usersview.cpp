#include "gui/views/usersview.h"

#include "gui/app/icons.h"
#include "gui/dialogs/copyprofile.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/userprop.h"
#include "gui/toolkit/consolesettings.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QHeaderView>
#include <QMenu>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QScrollBar>
#include <QTreeView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

namespace {

const QString kSettingsSection = u"UsersView"_s;
const QString kSettingsEntry = u"Columns"_s;
// Whether the limit columns are shown, in the console's settings.
const QString kLimitsSetting = u"UsersViewLimits"_s;
constexpr int kRefreshMs = 60000;

// The rows' image, drawn in the first column.
class CUsersListModel final : public CUsersModel {
public:
    using CUsersModel::CUsersModel;
    QVariant data(const QModelIndex& index, int role) const override {
        if (role == Qt::DecorationRole && index.column() == 0) {
            static const QIcon icon = CIcons::TreeImage(8);
            return icon;
        }
        return CUsersModel::data(index, role);
    }
};

// A column's width when nothing is saved: the list's own, or what a typical
// text needs in the font shown, whichever is wider.
int DefaultWidth(const QFontMetrics& metrics, const CCwadminDoc& doc, int column) {
    QString sample;
    switch (column) {
    case UserColumn::User:
        sample = u"HEADOFFICE\\Administrator"_s;
        break;
    case UserColumn::LastSession:
        sample =
            doc.TimeToLocalString(QDateTime(QDate(2026, 12, 28), QTime(23, 58, 58)).toSecsSinceEpoch(), true);
        break;
    case UserColumn::TotalTime:
        sample = u"9999\"59'59"_s;
        break;
    case UserColumn::TotalUsed:
        sample = u"100% of 999\"59'59"_s;
        break;
    case UserColumn::PeriodUsed:
        sample = u"100% of 99\"59'59 Per 24 Hours"_s;
        break;
    default:
        break;
    }
    // Room for the margins, and in the first column for the image.
    const int extra = column == UserColumn::User ? 32 : 16;
    return std::max(UserColumn::DefaultWidth(column),
                    sample.isEmpty() ? 0 : metrics.horizontalAdvance(sample) + extra);
}

QList<int> Widths(const QHeaderView* header) {
    QList<int> widths;
    for (int i = 0; i < header->count(); ++i)
        widths << header->sectionSize(i);
    return widths;
}

} // namespace

CUsersView::CUsersView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent) {
    setObjectName(u"usersView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    m_model = new CUsersListModel(this);
    DWORD limits = 0;
    Doc().ReadRegDWORD({}, u"Client"_s, kLimitsSetting, &limits);
    m_model->SetLimitColumns(limits != 0);
    m_model->SetFormat(Doc().UserCellFormat());

    m_list = new QTreeView(this);
    m_list->setObjectName(u"usersList"_s);
    m_list->setModel(m_model);
    m_list->setRootIsDecorated(false);
    m_list->setItemsExpandable(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setIconSize(QSize(16, 16));
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    QHeaderView* header = m_list->header();
    header->setStretchLastSection(false);
    header->setSectionsMovable(false);
    header->setMinimumSectionSize(2);
    header->setSectionsClickable(true);
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    for (int column = 0; column < m_model->columnCount(); ++column)
        header->resizeSection(column, DefaultWidth(m_list->fontMetrics(), Doc(), m_model->ColumnId(column)));
    CConsoleSettings::RestoreHeader(kSettingsSection, kSettingsEntry, header);
    layout->addWidget(m_list);

    const auto action = [this](const QString& text, void (CUsersView::*handler)()) {
        auto* a = new QAction(text, this);
        connect(a, &QAction::triggered, this, handler);
        return a;
    };
    m_delete = action(u"&Delete Profile"_s, &CUsersView::OnEditDelete);
    m_delete->setIcon(CIcons::CommandIcon(CIcons::Command::Delete));
    m_delete->setShortcut(QKeySequence::Delete);
    m_delete->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(m_delete);
    m_modify = action(u"&Modify Profile"_s, &CUsersView::OnModifyProfile);
    m_copyProfile = action(u"&Copy Profile..."_s, &CUsersView::OnCopyProfile);
    m_copy = action(u"&Copy"_s, &CUsersView::OnEditCopy);
    m_copy->setIcon(CIcons::CommandIcon(CIcons::Command::Copy));
    m_save = new QAction(u"Save Data &As..."_s, this);
    connect(m_save, &QAction::triggered, this, [this] { m_model->Save(Doc().Environment().Prompter()); });
    m_print = action(u"&Print..."_s, &CUsersView::OnFilePrint);
    m_preview = action(u"Print Pre&view"_s, &CUsersView::OnFilePrintPreview);
    m_limits = new QAction(u"Show &Limits Used"_s, this);
    m_limits->setCheckable(true);
    m_limits->setChecked(m_model->LimitColumns());
    connect(m_limits, &QAction::toggled, this, &CUsersView::SetLimitColumns);

    m_menu = new QMenu(this);
    m_menu->addAction(m_modify);
    m_menu->addAction(m_delete);
    m_menu->addAction(m_copyProfile);
    m_menu->addSeparator();
    m_menu->addAction(m_copy);
    m_menu->addAction(m_save);
    m_menu->addSeparator();
    m_menu->addAction(m_print);
    m_menu->addAction(m_preview);
    m_menu->addSeparator();
    m_menu->addAction(m_limits);

    connect(header, &QHeaderView::sectionClicked, this, &CUsersView::OnHeaderClicked);
    connect(m_list, &QTreeView::doubleClicked, this, &CUsersView::OnModifyProfile);
    connect(m_list, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& pos) { ContextMenu()->exec(m_list->viewport()->mapToGlobal(pos)); });
    connect(header, &QWidget::customContextMenuRequested, this, [this](const QPoint& pos) {
        QMenu menu(this);
        menu.addAction(m_limits);
        menu.exec(m_list->header()->mapToGlobal(pos));
    });
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &CUsersView::UpdateActions);
    connect(m_model, &QAbstractItemModel::modelReset, this, &CUsersView::UpdateActions);
    UpdateActions();

    m_timer.setInterval(kRefreshMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { OnTimer(TIMER_ID_USERS_REFRESH); });
}

CUsersView::~CUsersView() {
    CConsoleSettings::SaveHeader(kSettingsSection, kSettingsEntry, m_list->header());
}

void CUsersView::OnInitialUpdate() {
    m_timer.start();
}

void CUsersView::OnUpdate(IView*, int hint, const CHintObject*) {
    // A view just replaced stays registered until it is deleted; only the one shown answers.
    if (Frame().RightView() != this)
        return;
    if (hint == Hint::UPDATE_NEW_USERS)
        FillList();
    else if (hint == Hint::SaveData)
        m_model->Save(Doc().Environment().Prompter());
}

void CUsersView::UpdateActions() {
    const bool selected = m_list->selectionModel()->hasSelection();
    m_delete->setEnabled(selected);
    m_copy->setEnabled(selected);
    m_modify->setEnabled(selected);
    m_copyProfile->setEnabled(selected);
}

QString CUsersView::FirstSelected() const {
    const std::vector<int> rows = CUsersModel::SelectedRows(m_list->selectionModel()->selection());
    return rows.empty() ? QString() : m_model->CellText(rows.front(), UserColumn::User).left(150);
}

void CUsersView::OnModifyProfile() {
    const QString account = FirstSelected();
    if (!account.isEmpty())
        ShowUserProfile(Doc(), account, this);
}

void CUsersView::OnCopyProfile() {
    const QString account = FirstSelected();
    if (account.isEmpty())
        return;
    const qsizetype slash = account.lastIndexOf(u'\\');
    CCwadminDoc& doc = Doc();
    // The dialog takes its source from the selection; the list keeps showing what the tree chose.
    const QString domain = doc.m_selectedDomain, user = doc.m_selectedUser;
    doc.m_selectedDomain = slash < 0 ? QString() : account.left(slash);
    doc.m_selectedUser = account.mid(slash + 1);
    CCopyProfile dialog(doc, this);
    doc.m_selectedDomain = domain;
    doc.m_selectedUser = user;
    dialog.exec();
}

QMenu* CUsersView::ContextMenu() {
    UpdateActions();
    return m_menu;
}

void CUsersView::FillList() {
    CCwadminDoc& doc = Doc();
    CWaitCursor wait(&Frame());
    m_model->Fill({}, CUserFilter());
    m_list->header()->setSortIndicatorShown(false);
    doc.LoadUsersFromFile(0, 0);
    const CUserFilter::Selection selection{doc.m_selectedDomain, doc.m_selectedGroup, doc.m_selectedUser,
                                           doc.m_allAccounts != 0};
    const bool group = selection.user == kNone && !selection.allAccounts && selection.group != kNone;
    if (group)
        doc.SetStatus(u"Enumerating Group Members..."_s);
    m_filter =
        CUserFilter::ForSelection(selection, doc.Environment().Network(), doc.Environment().Prompter());
    if (group)
        doc.SetStatus(u"Ready"_s);
    m_model->Fill(doc.Users(), m_filter);
}

void CUsersView::OnHeaderClicked(int column) {
    // The arrow shows the order the click gives; the next click on any column reverses it.
    const bool numeric = m_model->ColumnId(column) != UserColumn::User;
    const bool descending = numeric == (m_model->SortDirection() > 0);
    m_model->SortByColumn(column);
    QHeaderView* header = m_list->header();
    header->setSortIndicatorShown(true);
    header->setSortIndicator(column, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void CUsersView::OnTimer(int id) {
    CCwadminDoc& doc = Doc();
    // A share that could not be reached waits for Refresh, which says why.
    if (id != TIMER_ID_USERS_REFRESH || !doc.MasterKnown() || doc.UsersLoadError() != 0)
        return;
    QSet<QString> selected;
    for (const int row : CUsersModel::SelectedRows(m_list->selectionModel()->selection()))
        selected.insert(m_model->Store().DisplayName(m_model->RecordAt(row)).toCaseFolded());
    const QModelIndex current = m_list->currentIndex();
    const QString currentName =
        current.isValid() ? m_model->Store().DisplayName(m_model->RecordAt(current.row())) : QString();
    const int scroll = m_list->verticalScrollBar()->value();

    doc.m_usersReloadPending = 1;
    doc.LoadUsersFromFile(0, 0);
    m_model->Refill(doc.Users(), m_filter);

    QItemSelection selection;
    if (!selected.isEmpty())
        for (int row = 0; row < m_model->rowCount(); ++row)
            if (selected.contains(m_model->Store().DisplayName(m_model->RecordAt(row)).toCaseFolded()))
                selection.select(m_model->index(row, 0), m_model->index(row, m_model->columnCount() - 1));
    if (const int row = currentName.isEmpty() ? -1 : m_model->FindRow(currentName); row >= 0)
        m_list->selectionModel()->setCurrentIndex(m_model->index(row, 0), QItemSelectionModel::NoUpdate);
    m_list->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_list->verticalScrollBar()->setValue(scroll);
}

bool CUsersView::CanEditCopy() const {
    return m_list->selectionModel()->hasSelection();
}

void CUsersView::OnEditCopy() {
    const QString text = m_model->CopyText(m_list->selectionModel()->selection());
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

bool CUsersView::CanEditDelete() const {
    return m_list->selectionModel()->hasSelection();
}

void CUsersView::OnEditDelete() {
    IPrompter& prompter = Doc().Environment().Prompter();
    const std::vector<int> rows = CUsersModel::SelectedRows(m_list->selectionModel()->selection());
    if (rows.empty())
        return;
    // One row goes without a question, unlike the tree's delete.
    if (rows.size() > 1 &&
        prompter.Ask(u"You are about to delete %1 User Profiles.\n\nAre you sure?"_s.arg(rows.size()), {},
                     IPrompter::Icon::Warning) == IPrompter::No)
        return;
    QStringList sections;
    for (const int row : rows)
        sections << m_model->Store().DisplayName(m_model->RecordAt(row));
    QString error;
    if (!Doc().RemoveUserSections(sections, &error)) {
        prompter.Message(
            u"The profiles could not be deleted; the account file is as it was.\n%1"_s.arg(error), {},
            IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return;
    }
    m_model->RemoveRows(rows);
    // The document's list still holds them.
    Doc().m_usersReloadPending = 1;
}

void CUsersView::SetLimitColumns(bool shown) {
    if (shown == m_model->LimitColumns())
        return;
    QHeaderView* header = m_list->header();
    const QList<int> widths = Widths(header);
    m_model->SetLimitColumns(shown);
    for (int column = 0; column < m_model->columnCount(); ++column)
        header->resizeSection(column, column < widths.size()
                                          ? widths[column]
                                          : UserColumn::DefaultWidth(m_model->ColumnId(column)));
    Doc().SetRegDWORD({}, u"Client"_s, kLimitsSetting, shown ? 1 : 0);
    m_limits->setChecked(shown);
}

void CUsersView::OnFilePrint() {
    QPrinter printer(QPrinter::HighResolution);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        Print(&printer);
}

void CUsersView::OnFilePrintPreview() {
    QPrinter printer(QPrinter::HighResolution);
    QPrintPreviewDialog preview(&printer, this);
    preview.setObjectName(u"usersPrintPreview"_s);
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, &CUsersView::Print);
    preview.exec();
}

void CUsersView::Print(QPrinter* printer) {
    QPainter painter(printer);
    if (!painter.isActive())
        return;
    const QRect page(0, 0, printer->width(), printer->height());
    const QFont body(u"Arial"_s, 9);
    const int line = QFontMetrics(body, printer).lineSpacing();
    // The banner, the page's header and the column titles with their rule come first.
    const int rowsPerPage = std::max(1, (page.height() - 5 * line - line / 3) / line);
    const int rows = m_model->rowCount();
    const int pages = std::max(1, (rows + rowsPerPage - 1) / rowsPerPage);
    for (int p = 0; p < pages; ++p) {
        if (p > 0)
            printer->newPage();
        PaintPage(painter, page, p + 1, pages, p * rowsPerPage, rowsPerPage);
    }
}

void CUsersView::PaintPage(QPainter& painter, const QRect& page, int pageNumber, int pages, int firstRow,
                           int rowsPerPage) const {
    const QFont banner(u"Arial"_s, 6);
    const QFont heading(u"Arial"_s, 12);
    QFont titles(u"Arial"_s, 9);
    titles.setBold(true);
    const QFont body(u"Arial"_s, 9);
    const int line = QFontMetrics(body, painter.device()).lineSpacing();
    const int pad = line / 3;

    painter.setFont(banner);
    QRect band(page.left(), page.top(), page.width(), line);
    painter.drawText(band, Qt::AlignLeft | Qt::AlignVCenter, u"Callwarden Administrator"_s);
    painter.drawText(band, Qt::AlignRight | Qt::AlignVCenter,
                     Doc().TimeToLocalString(Doc().Environment().Clock().Now(), true));
    painter.setFont(heading);
    band.translate(0, line);
    band.setHeight(2 * line);
    painter.drawText(band, Qt::AlignLeft | Qt::AlignVCenter,
                     u"Account Status in Callwarden    Page %1(%2)"_s.arg(pageNumber).arg(pages));

    // Columns stand where they stand on screen, scaled to the page.
    const QHeaderView* header = m_list->header();
    const int columns = m_model->columnCount();
    std::vector<int> x(std::size_t(columns) + 1, 0);
    int total = 0;
    for (int c = 0; c < columns; ++c)
        total += std::max(header->sectionSize(c), 2);
    for (int c = 0, sum = 0; c < columns; ++c) {
        sum += std::max(header->sectionSize(c), 2);
        x[std::size_t(c) + 1] = int(qint64(page.width()) * sum / total);
    }
    const auto drawRow = [&](int top, const std::function<QString(int)>& text) {
        for (int c = 0; c < columns; ++c) {
            const QRect cell(page.left() + x[std::size_t(c)] + pad, top,
                             x[std::size_t(c) + 1] - x[std::size_t(c)] - 2 * pad, line);
            const Qt::Alignment align = c == 0 ? Qt::AlignLeft : Qt::AlignRight;
            painter.drawText(cell, align | Qt::AlignVCenter,
                             painter.fontMetrics().elidedText(text(c), Qt::ElideRight, cell.width()));
        }
    };
    int top = page.top() + 4 * line;
    painter.setFont(titles);
    drawRow(top, [this](int c) { return UserColumn::ListTitle(m_model->ColumnId(c)); });
    top += line;
    painter.drawLine(page.left(), top + pad / 2, page.right(), top + pad / 2);
    top += pad;
    painter.setFont(body);
    for (int row = firstRow; row < std::min(firstRow + rowsPerPage, m_model->rowCount()); ++row, top += line)
        drawRow(top, [this, row](int c) { return m_model->CellText(row, c); });
}
