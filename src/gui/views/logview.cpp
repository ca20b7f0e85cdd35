#include "gui/views/logview.h"

#include "core/log/logmodel.h"
#include "core/search/historysource.h"
#include "gui/frame/containerview.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/customizelogview.h"
#include "gui/toolkit/captionbar.h"
#include "gui/toolkit/printout.h"
#include "gui/views/logimages.h"

#include <QAction>
#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLocale>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <QSettings>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <unordered_map>

using namespace Qt::StringLiterals;

namespace {

const QString kWidthsKey = u"Columns/LogView"_s;
constexpr int kMinWidth = 2;
// Room around a cell's text, and the image before the first column's.
constexpr int kCellPadding = 14;
constexpr int kImageRoom = 22;

// Draws the row's image in the first column.
class CImageDelegate final : public QStyledItemDelegate {
public:
    explicit CImageDelegate(QObject* parent) : QStyledItemDelegate(parent) {
        for (int i = 0; i < CLogImages::Count; ++i)
            m_images[std::size_t(i)] = CLogImages::Image(i);
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.column() != 0)
            return;
        bool ok = false;
        const int image = index.data(CLogModel::ImageRole).toInt(&ok);
        if (!ok || image < 0 || image >= CLogImages::Count)
            return;
        option->icon = m_images[std::size_t(image)];
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = QSize(16, 16);
    }

private:
    std::array<QIcon, CLogImages::Count> m_images;
};

// What says which event a row shows across two loads of the day: its time,
// its action and its server and port, the latter as a number given to the
// name on first sight.
class CEventKeys {
public:
    std::uint64_t Key(const CLogStore& store, const CLogStore::Event& e) {
        std::uint32_t channel;
        if (auto it = m_channelOf.find(e.channel); it != m_channelOf.end()) {
            channel = it->second;
        } else {
            const QString name = QString(store.Servers().Display(store.ServerId(e)) + u'\\' +
                                         store.Ports().Display(store.PortId(e)))
                                     .toCaseFolded();
            channel = m_names.value(name, std::uint32_t(m_names.size()));
            m_names.insert(name, channel);
            m_channelOf.emplace(e.channel, channel);
        }
        return (std::uint64_t(std::uint32_t(store.Time(e))) << 32) | (std::uint64_t(channel) << 2) |
               std::uint64_t(e.action & 3);
    }
    // Forgets the store's channel numbers, keeping the names, for the next store.
    void NextStore() { m_channelOf.clear(); }

private:
    QHash<QString, std::uint32_t> m_names;
    std::unordered_map<std::uint32_t, std::uint32_t> m_channelOf;
};

constexpr std::uint64_t kNoKey = ~std::uint64_t(0);

} // namespace

struct CLogView::Kept {
    std::shared_ptr<CEventKeys> keys = std::make_shared<CEventKeys>();
    std::uint64_t current = kNoKey;
    std::uint64_t top = kNoKey;
    std::vector<std::uint64_t> selected; // sorted
    int horizontal = 0;
};

CLogView::CLogView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent) {
    setObjectName(u"logView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    m_model = new CLogModel(this);
    m_list = new QTableView(this);
    m_list->setObjectName(u"logList"_s);
    m_list->setModel(m_model);
    m_list->setItemDelegate(new CImageDelegate(m_list));
    m_list->setShowGrid(false);
    m_list->setWordWrap(false);
    m_list->setCornerButtonEnabled(false);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setIconSize(QSize(16, 16));
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    // Every row is one line high: the view never measures a row.
    QHeaderView* rows = m_list->verticalHeader();
    rows->hide();
    rows->setMinimumSectionSize(1);
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(qMax(18, m_list->fontMetrics().height() + 4));
    QHeaderView* header = m_list->horizontalHeader();
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setHighlightSections(false);
    header->setStretchLastSection(false);
    header->setSectionsMovable(false);
    header->setSectionsClickable(true);
    header->setMinimumSectionSize(kMinWidth);
    header->setDefaultSectionSize(kDefaultWidth);
    layout->addWidget(m_list);

    m_copy = new QAction(u"C&opy To Clipboard"_s, this);
    m_customize = new QAction(u"&Customize View..."_s, this);
    connect(m_copy, &QAction::triggered, this, &CLogView::OnEditCopy);
    connect(m_customize, &QAction::triggered, this, &CLogView::OnCustomizeView);
    connect(m_list, &QWidget::customContextMenuRequested, this, &CLogView::OnContextMenu);
    connect(header, &QHeaderView::sectionClicked, this, &CLogView::OnHeaderClicked);

    // Until the user sizes them, columns are as wide as a typical text of theirs.
    for (int id = 0; id < LogColumn::Count; ++id)
        m_widths[std::size_t(id)] = TemplateWidth(id);
    const QList<QVariant> saved = QSettings().value(kWidthsKey).toList();
    if (saved.size() == int(m_widths.size()))
        for (std::size_t id = 0; id < m_widths.size(); ++id)
            m_widths[id] = qMax(kMinWidth, saved[qsizetype(id)].toInt());

    m_timer.setObjectName(u"TIMER_ID_LOGVIEW"_s);
    m_timer.setInterval(kTimerMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { OnTimer(TIMER_ID_LOGVIEW); });
}

CLogView::~CLogView() {
    m_timer.stop();
    if (m_columnsBuilt)
        TakeWidths();
    QList<QVariant> widths;
    for (const int width : m_widths)
        widths.append(width);
    QSettings().setValue(kWidthsKey, widths);
}

int CLogView::TemplateWidth(int id) const {
    static const char* const templates[LogColumn::Count] = {"00:00:00",
                                                            "SERVERNAME01",
                                                            "VPN1-10",
                                                            "Disconnect",
                                                            "User Max Session Time Reached",
                                                            "DOMAIN\\username",
                                                            "255.255.255.255",
                                                            "WORKSTATION01",
                                                            "00000000.000000000000",
                                                            "99\"59'59",
                                                            "999,999,999",
                                                            "999,999,999"};
    const int text = m_list->fontMetrics().horizontalAdvance(QString::fromLatin1(templates[id]));
    const int title = m_list->horizontalHeader()->fontMetrics().horizontalAdvance(LogColumn::ListTitle(id));
    return qMax(text + (id == 0 ? kImageRoom : 0), title + kImageRoom) + kCellPadding;
}

void CLogView::OnInitialUpdate() {
    RebuildColumns();
    Doc().Navigate(0);
    m_timer.start();
}

void CLogView::OnUpdate(IView*, int hint, const CHintObject*) {
    // A view being replaced waits for its deletion; only the shown one answers.
    if (Frame().RightView() != this)
        return;
    if (ChangesShownDay(hint)) {
        if (Reload())
            LoadEvents();
        return;
    }
    switch (hint) {
    case Hint::SaveData:
        Save();
        break;
    case Hint::LogDisplayChanged:
        RebuildColumns();
        if (ShowingSearch())
            ShowSearch(m_shown, m_search);
        else
            Fill(m_filter, true);
        break;
    default:
        break;
    }
}

bool CLogView::Reload() {
    // The load keeps painting while it parses; this view may go meanwhile.
    QPointer<CLogView> self(this);
    const bool loaded = Doc().LoadLogRecords(0);
    if (!self)
        return false;
    m_path = Doc().m_currentLogFile;
    return loaded;
}

void CLogView::LoadEvents() {
    const CCwadminDoc& doc = Doc();
    const CLogFilter::Selection selection{doc.m_selectionKind,  doc.m_selectedServer, doc.m_selectedPort,
                                          doc.m_selectedDomain, doc.m_selectedGroup,  doc.m_selectedUser};
    Fill(CLogFilter::ForSelection(selection, doc.Environment().Network(), doc.Environment().Prompter()),
         false);
}

void CLogView::LoadEventsAll() {
    Fill(CLogFilter(), false);
}

void CLogView::ShowSearch(std::shared_ptr<const CLogStore> store, const QString& caption) {
    m_search = caption;
    m_filter = CLogFilter();
    m_shown = std::move(store);
    m_model->SetFormat(SearchCellFormat(Doc()));
    m_model->Fill(m_shown, m_filter);
    m_sortId = -1;
    m_list->horizontalHeader()->setSortIndicatorShown(false);
    if (Doc().m_autoSizeColumns != 0 && m_model->rowCount() > 0)
        AutoSize();
    // The times carry their dates here, wider than a day's column was made for.
    m_list->resizeColumnToContents(0);
    if (CCwadminView* container = Frame().Container())
        container->Caption()->SetCaption(u"Sessions "_s + caption);
    Frame().ShowEventCount(m_model->rowCount());
}

void CLogView::Fill(const CLogFilter& filter, bool keepState) {
    if (ShowingSearch()) {
        m_search.clear();
        m_model->SetFormat(Doc().LogCellFormat());
        keepState = false;
    }
    const Kept kept = keepState ? Keep() : Kept();
    // A copy first: the filter passed in may be this view's own.
    const CLogFilter chosen = filter;
    m_filter = chosen;
    m_shown = Doc().LogRecords();
    m_model->Fill(m_shown, m_filter);
    QHeaderView* header = m_list->horizontalHeader();
    const auto& columns = m_model->Columns();
    const auto sorted = std::find(columns.begin(), columns.end(), m_sortId);
    if (keepState && sorted != columns.end()) {
        m_model->SortById(m_sortId, m_sortDirection);
        header->setSortIndicator(int(sorted - columns.begin()),
                                 CLogModel::SortsAscending(m_sortId, m_sortDirection) ? Qt::AscendingOrder
                                                                                      : Qt::DescendingOrder);
    } else {
        // A fresh fill shows the day's order.
        m_sortId = -1;
        header->setSortIndicatorShown(false);
    }
    if (keepState)
        Restore(kept);
    if (Doc().m_autoSizeColumns != 0 && m_model->rowCount() > 0)
        AutoSize();
    if (CCwadminView* container = Frame().Container())
        container->Caption()->SetCaption(u"History "_s + m_model->Caption());
    Frame().ShowEventCount();
}

QString CLogView::FilterCaption() const {
    return m_model->Caption();
}

CLogView::Kept CLogView::Keep() const {
    Kept kept;
    if (!m_shown || m_model->rowCount() == 0)
        return kept;
    const CLogStore& store = *m_shown;
    auto key = [&](int row) {
        return kept.keys->Key(store, store.At(m_model->RecordAt(row)));
    };
    const QModelIndex current = m_list->currentIndex();
    if (current.isValid())
        kept.current = key(current.row());
    const QModelIndex top = m_list->indexAt(QPoint(0, 0));
    if (top.isValid())
        kept.top = key(top.row());
    for (const QItemSelectionRange& range : m_list->selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            kept.selected.push_back(key(row));
    std::sort(kept.selected.begin(), kept.selected.end());
    kept.horizontal = m_list->horizontalScrollBar()->value();
    return kept;
}

void CLogView::Restore(const Kept& kept) {
    if (kept.current == kNoKey && kept.top == kNoKey && kept.selected.empty())
        return;
    kept.keys->NextStore();
    const CLogStore& store = *m_shown;
    int current = -1, top = -1;
    std::vector<std::pair<int, int>> runs;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const std::uint64_t key = kept.keys->Key(store, store.At(m_model->RecordAt(row)));
        if (key == kept.current && current < 0)
            current = row;
        if (key == kept.top && top < 0)
            top = row;
        if (std::binary_search(kept.selected.begin(), kept.selected.end(), key)) {
            if (!runs.empty() && runs.back().second == row - 1)
                runs.back().second = row;
            else
                runs.emplace_back(row, row);
        }
    }
    // The view lays the new rows out now, so the scroll range fits them.
    m_list->doItemsLayout();
    QItemSelection selection;
    const int last = m_model->columnCount() - 1;
    for (const auto& [first, end] : runs)
        selection.append(QItemSelectionRange(m_model->index(first, 0), m_model->index(end, last)));
    QItemSelectionModel* model = m_list->selectionModel();
    if (current >= 0)
        model->setCurrentIndex(m_model->index(current, 0), QItemSelectionModel::NoUpdate);
    model->select(selection, QItemSelectionModel::ClearAndSelect);
    if (top >= 0)
        m_list->verticalScrollBar()->setValue(top);
    m_list->horizontalScrollBar()->setValue(kept.horizontal);
}

void CLogView::RebuildColumns() {
    // Until the columns were first built, the header holds no width of the user's.
    if (m_columnsBuilt)
        TakeWidths();
    m_columnsBuilt = true;
    m_model->SetColumns(Doc().m_historyColumns);
    m_model->SetFormat(Doc().LogCellFormat());
    ApplyWidths();
}

void CLogView::TakeWidths() {
    const QHeaderView* header = m_list->horizontalHeader();
    const auto& columns = m_model->Columns();
    for (int i = 0; i < int(columns.size()) && i < header->count(); ++i)
        m_widths[std::size_t(columns[std::size_t(i)])] = qMax(kMinWidth, header->sectionSize(i));
}

void CLogView::ApplyWidths() {
    QHeaderView* header = m_list->horizontalHeader();
    const auto& columns = m_model->Columns();
    for (int i = 0; i < int(columns.size()); ++i)
        header->resizeSection(i, m_widths[std::size_t(columns[std::size_t(i)])]);
}

void CLogView::AutoSize() {
    // Measured from the day's tables and templates, never cell by cell.
    const CLogStore& store = *m_shown;
    const QFontMetrics fm = m_list->fontMetrics();
    const QFontMetrics headerFm = m_list->horizontalHeader()->fontMetrics();
    auto widest = [&](const CNameTable& table) {
        int width = 0;
        for (std::uint32_t id = 0; id < table.Count(); ++id)
            width = qMax(width, fm.horizontalAdvance(table.Display(id)));
        return width;
    };
    std::size_t longestInfo = 0, infoRow = 0;
    qint32 lasted = 0;
    qint64 bytesIn = -1, bytesOut = -1;
    bool scanned = false;
    auto scan = [&] {
        if (scanned)
            return;
        scanned = true;
        for (int row = 0; row < m_model->rowCount(); ++row) {
            const CLogStore::Event& e = store.At(m_model->RecordAt(row));
            if (const std::size_t length = store.InfoBytes(e).size(); length > longestInfo) {
                longestInfo = length;
                infoRow = m_model->RecordAt(row);
            }
            lasted = qMax(lasted, e.lasted);
            bytesIn = qMax(bytesIn, store.BytesIn(e));
            bytesOut = qMax(bytesOut, store.BytesOut(e));
        }
    };
    const CLogCellFormat format = Doc().LogCellFormat();
    const auto& columns = m_model->Columns();
    QHeaderView* header = m_list->horizontalHeader();
    for (int i = 0; i < int(columns.size()) && i < kAutoSizedColumns; ++i) {
        int width = 0;
        switch (columns[std::size_t(i)]) {
        case LogColumn::Time: {
            const QDateTime late(QDate(2000, 12, 28), QTime(22, 58, 58));
            width = fm.horizontalAdvance(format.timeOfDay(late.toSecsSinceEpoch()));
            break;
        }
        case LogColumn::Server:
            width = widest(store.Servers());
            break;
        case LogColumn::Port:
            width = widest(store.Ports());
            break;
        case LogColumn::Action:
            for (qint32 action = 0; action < 3; ++action)
                width = qMax(width, fm.horizontalAdvance(LogText::ActionText(action)));
            break;
        case LogColumn::Info:
            scan();
            for (qint32 reason = 0; reason < 10; ++reason)
                for (qint32 action : {0, 2})
                    width = qMax(width, fm.horizontalAdvance(LogText::ReasonText(action, reason)));
            if (longestInfo > 0)
                width = qMax(width, fm.horizontalAdvance(store.Info(store.At(infoRow))));
            break;
        case LogColumn::User:
            width = widest(store.Users());
            break;
        case LogColumn::Ip:
            width = fm.horizontalAdvance(u"255.255.255.255"_s);
            break;
        case LogColumn::NetBios:
            width = widest(store.Netbios());
            break;
        case LogColumn::Ipx:
            width = widest(store.Ipx());
            break;
        case LogColumn::Lasted:
            scan();
            width = fm.horizontalAdvance(LogText::LastedText(lasted, format.plainSeconds));
            break;
        case LogColumn::BytesIn:
            scan();
            width = fm.horizontalAdvance(LogText::BytesText(bytesIn));
            break;
        case LogColumn::BytesOut:
            scan();
            width = fm.horizontalAdvance(LogText::BytesText(bytesOut));
            break;
        default:
            break;
        }
        if (i == 0)
            width += kImageRoom;
        const int title = headerFm.horizontalAdvance(m_model->headerData(i, Qt::Horizontal).toString());
        // The title keeps room for the sort arrow.
        header->resizeSection(i, qMax(width, title + kImageRoom) + kCellPadding);
    }
}

void CLogView::OnTimer(int id) {
    if (id != TIMER_ID_LOGVIEW || Doc().LogLoading() || ShowingSearch())
        return;
    const qint64 size = Doc().GetSizeOfFile(m_path.isEmpty() ? Doc().m_currentLogFile : m_path);
    if (!m_sizeKnown) {
        m_sizeKnown = true;
        m_lastSize = size;
        return;
    }
    if (size == m_lastSize)
        return;
    // A refused load (another is running) leaves the size to be seen again.
    if (!Reload())
        return;
    m_lastSize = size;
    Fill(m_filter, true);
}

void CLogView::OnHeaderClicked(int section) {
    if (section < 0 || section >= m_model->columnCount())
        return;
    const int id = m_model->Columns()[std::size_t(section)];
    const int direction = m_model->SortDirection();
    {
        CWaitCursor wait(&Frame());
        m_model->SortByColumn(section);
    }
    m_sortId = id;
    m_sortDirection = direction;
    QHeaderView* header = m_list->horizontalHeader();
    header->setSortIndicatorShown(true);
    header->setSortIndicator(section, CLogModel::SortsAscending(id, direction) ? Qt::AscendingOrder
                                                                               : Qt::DescendingOrder);
}

bool CLogView::CanEditCopy() const {
    return m_list->selectionModel()->hasSelection();
}

void CLogView::OnEditCopy() {
    const QString text = m_model->CopyText(m_list->selectionModel()->selection());
    if (!text.isEmpty())
        QGuiApplication::clipboard()->setText(text);
}

bool CLogView::Save() {
    return m_model->Save(Doc().Environment().Prompter(), m_list->selectionModel()->selection());
}

void CLogView::OnCustomizeView() {
    auto sheet = CreateCustomizeView(Doc(), this);
    sheet->exec();
}

void CLogView::OnContextMenu(const QPoint& pos) {
    QMenu menu(this);
    menu.setObjectName(u"POPUP_LOGVIEW"_s);
    m_copy->setEnabled(CanEditCopy());
    menu.addAction(m_copy);
    menu.addAction(m_customize);
    menu.exec(m_list->viewport()->mapToGlobal(pos));
}

QString CLogView::PrintBanner() {
    return QStringLiteral("Callwarden Administrator " CW_VERSION
                          " - dial-in session tracking for Windows NT RAS and Routing and RAS servers");
}

QString CLogView::PrintHeading(int page, int count) const {
    if (ShowingSearch())
        return u"Logged activities in Callwarden: %1.     Page %2(%3)"_s.arg(m_search, QString::number(page),
                                                                             QString::number(count));
    const QDate day(Doc().ShownYear(), Doc().ShownMonth(), Doc().ShownDay());
    return u"Logged activities in Callwarden during %1 %2.     Page %3(%4)"_s.arg(
        QLocale::system().toString(day, QLocale::LongFormat), m_model->Caption(), QString::number(page),
        QString::number(count));
}

void CLogView::Print(QPrinter* printer) {
    if (!printer)
        return;
    std::vector<CListPrintout::Column> columns;
    const QHeaderView* header = m_list->horizontalHeader();
    for (int i = 0; i < m_model->columnCount(); ++i)
        columns.push_back(
            {LogColumn::PrintTitle(m_model->Columns()[std::size_t(i)]), header->sectionSize(i)});
    CListPrintout printout(
        PrintBanner(), [this](int page, int count) { return PrintHeading(page, count); }, std::move(columns),
        m_model->rowCount(), [this](int row, int column) { return m_model->CellText(row, column); });
    CWaitCursor wait(&Frame());
    CPrinting::Print(*printer, printout);
}
