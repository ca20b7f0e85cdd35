#include "gui/views/portsview.h"

#include "core/app/ansitext.h"
#include "core/ports/portspoll.h"
#include "core/ports/portsviewfile.h"
#include "core/servers/server.h"
#include "gui/app/icons.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/portproperties.h"
#include "gui/toolkit/consolesettings.h"
#include "gui/views/portsmodel.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString kSettingsSection = u"PortsView"_s;
const QString kSettingsEntry = u"Columns"_s;

constexpr int kFirstTickMs = 300;
constexpr int kTickMs = 700;
// A poll starts on the tick that takes the counter past this.
constexpr int kTicksPerPoll = 10;
constexpr int kThreadExitCode = 666;

// Counts poll ticks for every ports view of the process, from program start.
int g_tickCounter = 0;

} // namespace

CPortsView::CPortsView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent), m_file(std::make_shared<CPortsViewFile>()) {
    setObjectName(u"portsView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    m_model = new CPortsModel(this);
    m_list = new QTreeView(this);
    m_list->setObjectName(u"portsList"_s);
    SetUpReportView(m_list, m_model, QAbstractItemView::ExtendedSelection, kSettingsSection);
    QHeaderView* header = m_list->header();
    layout->addWidget(m_list);

    m_explore = new QAction(u"&Explore"_s, this);
    m_disconnect = new QAction(CIcons::CommandIcon(CIcons::Command::Disconnect), u"&Disconnect"_s, this);
    m_properties = new QAction(CIcons::CommandIcon(CIcons::Command::Properties), u"&Properties"_s, this);
    connect(m_explore, &QAction::triggered, this, &CPortsView::OnServerExplorer);
    connect(m_disconnect, &QAction::triggered, this, &CPortsView::OnDisconnect);
    connect(m_properties, &QAction::triggered, this, &CPortsView::OnEditProperties);
    connect(m_list, &QTreeView::doubleClicked, this, &CPortsView::OnDblClickPort);
    connect(m_list, &QWidget::customContextMenuRequested, this, &CPortsView::OnContextMenu);
    connect(header, &QHeaderView::sectionClicked, this, &CPortsView::OnHeaderClicked);

    m_pollTimer.setSingleShot(true);
    connect(&m_pollTimer, &QTimer::timeout, this, [this] { OnTimer(TIMER_ID_PORTS_POLL); });
}

CPortsView::~CPortsView() {
    m_pollTimer.stop();
    if (m_thread.joinable())
        m_thread.join();
    CConsoleSettings::SaveHeader(kSettingsSection, kSettingsEntry, m_list->header());
}

void CPortsView::OnInitialUpdate() {
    m_file->Clear();
    m_list->header()->setSectionsClickable(true);
    m_pollTimer.start(kFirstTickMs);
}

void CPortsView::OnUpdate(IView*, int hint, const CHintObject*) {
    switch (hint) {
    case Hint::UPDATE_NEW_PORTS: {
        m_serverNumber = Doc().GetServerNumberByName(Doc().m_selectedServer);
        m_routingAndRas = m_serverNumber >= 0 &&
                          Doc().Servers()[std::size_t(m_serverNumber)].m_rasKind == RasKindValue::Rras;
        PopulateListWithPorts();
        break;
    }
    case Hint::UPDATE_NEW_USERS:
        Doc().updateAllServersData();
        PopulateListWithPorts();
        break;
    default:
        break;
    }
}

QString CPortsView::StartText(qint64 start) const {
    return start != 0 ? Doc().TimeToLocalString(start, true) : QString();
}

void CPortsView::PopulateListWithPorts() {
    m_model->Clear();
    CServerList& servers = Doc().Servers();
    if (m_serverNumber < 0 || std::size_t(m_serverNumber) >= servers.GetCount()) {
        m_serverName.clear();
        return;
    }
    const CServer& server = servers[std::size_t(m_serverNumber)];
    m_serverName = server.Name();
    int slotCount;
    {
        auto lock = server.Lock();
        if (server.m_portCount == 0 || server.m_portCount == kUnknown)
            return;
        slotCount = server.SlotCount();
    }
    for (int index = 0; index < slotCount; ++index)
        m_model->SetPortIndex(InsertPort(index), index);
}

int CPortsView::InsertPort(int index) {
    QString name, user, ip;
    qint64 start = 0;
    CServerList& servers = Doc().Servers();
    if (m_serverNumber >= 0 && std::size_t(m_serverNumber) < servers.GetCount() && index >= 0 &&
        index < kPortSlots) {
        const CServer& server = servers[std::size_t(m_serverNumber)];
        auto lock = server.Lock();
        const CRasPortSlot& slot = server.m_ports[index];
        name = CAnsi::ToQString(CAnsi::FieldText(slot.name));
        user = CAnsi::ToQString(CAnsi::FieldText(slot.user));
        start = qint32(slot.startTime);
        // Only Routing and RAS servers tell the client's address with the ports.
        if (m_routingAndRas && slot.second != 0)
            ip = DottedAddress(slot.second);
    }
    return InsertPort(name, user, ip, start);
}

int CPortsView::InsertPort(const QString& name, const QString& user, const QString& ip, qint64 start) {
    int row = m_model->FindPort(name);
    if (row >= 0) {
        m_model->SetCells(row, user, StartText(start), ip);
        return row;
    }
    row = m_model->AppendRow(name);
    if (start != 0)
        m_model->SetCells(row, user, StartText(start), ip);
    else
        m_model->SetCells(row, {}, {}, {});
    return row;
}

void CPortsView::SortList(int column, bool ascending) {
    if (column != CPortsModel::ColPort)
        return;
    QList<QPair<int, QString>> ports;
    for (int row = 0; row < m_model->rowCount(); ++row)
        ports.append({m_model->PortIndex(row), m_model->Text(row, CPortsModel::ColPort)});
    std::stable_sort(ports.begin(), ports.end(),
                     [](const auto& a, const auto& b) { return a.second < b.second; });
    if (!ascending)
        std::reverse(ports.begin(), ports.end());
    m_model->Clear();
    for (const auto& port : ports)
        m_model->SetPortIndex(InsertPort(port.first), port.first);
}

void CPortsView::OnHeaderClicked(int column) {
    if (column != CPortsModel::ColPort)
        return;
    m_sortAscending = m_sortColumn == column ? !m_sortAscending : true;
    m_sortColumn = column;
    SortList(column, m_sortAscending);
    QHeaderView* header = m_list->header();
    header->setSortIndicatorShown(true);
    header->setSortIndicator(column, m_sortAscending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

int CPortsView::TickCounter() {
    return g_tickCounter;
}

void CPortsView::OnTimer(int id) {
    if (id != TIMER_ID_PORTS_POLL)
        return;
    m_pollTimer.stop();
    if (!m_pollRunning && ++g_tickCounter > kTicksPerPoll) {
        g_tickCounter = 0;
        StartUpdateThread();
    }
    m_pollTimer.start(kTickMs);
    m_model->Animate();
}

int CPortsView::PortsViewUpdateThread(CRASFunc& rasFunc, CRrasLibrary& rras, OCL::IPrompter& prompter,
                                      const QString& server, bool routingAndRas, CPortsViewFile& file) {
    if (!server.isEmpty()) {
        if (routingAndRas)
            RRAS_PortsViewCheckPorts(rras, prompter, server, file);
        else
            PortsViewCheckPorts(rasFunc, server, file);
    }
    return kThreadExitCode;
}

bool CPortsView::StartUpdateThread() {
    if (m_pollRunning)
        return false;
    // The previous thread has handed back already; this only lets go of it.
    if (m_thread.joinable())
        m_thread.join();
    m_pollRunning = true;
    ++m_threadsStarted;
    m_thread = std::thread([this, &rasFunc = Doc().RasFunc(), &rras = Doc().Rras(),
                            &prompter = Doc().Environment().Prompter(), server = m_serverName,
                            routingAndRas = m_routingAndRas, file = m_file] {
        PortsViewUpdateThread(rasFunc, rras, prompter, server, routingAndRas, *file);
        QMetaObject::invokeMethod(this, &CPortsView::OnUpdateThreadDone, Qt::QueuedConnection);
    });
    return true;
}

void CPortsView::OnUpdateThreadDone() {
    if (m_thread.joinable())
        m_thread.join();
    m_model->Merge(*m_file, [this](qint64 start) { return StartText(start); });
    m_pollRunning = false;
    emit pollMerged();
}

QList<int> CPortsView::SelectedRows() const {
    QList<int> rows;
    for (const QModelIndex& index : m_list->selectionModel()->selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

int CPortsView::FirstSelectedRow() const {
    const QList<int> rows = SelectedRows();
    return rows.isEmpty() ? -1 : rows.first();
}

void CPortsView::OnDblClickPort() {
    OnServerExplorer();
}

void CPortsView::OnServerExplorer() {
    const int row = FirstSelectedRow();
    if (row < 0)
        return;
    Doc().m_selectionKind = NodeKind::Port;
    Doc().m_selectedPort = m_model->Text(row, CPortsModel::ColPort).left(50);
    // The tree's selection must arrange the right pane afresh.
    Frame().InvalidateShownKind();
    Doc().UpdateAllViews(this, Hint::SelectNode);
}

bool CPortsView::CanEditProperties() const {
    return FirstSelectedRow() >= 0;
}

void CPortsView::OnEditProperties() {
    for (int row : SelectedRows())
        ShowPortProperties(Doc(), m_serverName, m_model->Text(row, CPortsModel::ColPort), this);
}

void CPortsView::OnDisconnect() {
    const int row = FirstSelectedRow();
    if (row < 0 || m_model->Text(row, CPortsModel::ColUser).isEmpty())
        return;
    Doc().DisconnectPort(m_serverName, m_model->Text(row, CPortsModel::ColPort));
}

void CPortsView::OnContextMenu(const QPoint& pos) {
    const QModelIndex index = m_list->indexAt(pos);
    if (!index.isValid())
        return;
    if (!m_list->selectionModel()->isRowSelected(index.row(), {}))
        m_list->setCurrentIndex(index);
    QMenu menu(this);
    menu.addAction(m_explore);
    menu.setDefaultAction(m_explore);
    menu.addSeparator();
    menu.addAction(m_disconnect);
    menu.addAction(m_properties);
    menu.exec(m_list->viewport()->mapToGlobal(pos));
}
