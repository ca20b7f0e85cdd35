#include "gui/views/serversview.h"

#include "core/servers/server.h"
#include "gui/app/icons.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/serverproperties.h"
#include "gui/toolkit/consolesettings.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QTreeView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

const QString kSettingsSection = u"ServersView"_s;
const QString kSettingsEntry = u"Columns"_s;
const QString kUnknownCount = u"n/a"_s;

// State images of a row.
constexpr int kImageWorking = 1;
constexpr int kImageReady = 2;
constexpr int kImageFailed = 3;

} // namespace

CServersModel::CServersModel(QObject* parent)
    : CReportModel({{"Server", 160, Qt::AlignLeft | Qt::AlignVCenter},
                    {"Ports", 60, Qt::AlignRight | Qt::AlignVCenter},
                    {"Busy Ports", 90, Qt::AlignRight | Qt::AlignVCenter}},
                   {QIcon(), CIcons::ServerState(kImageWorking), CIcons::ServerState(kImageReady),
                    CIcons::ServerState(kImageFailed)},
                   parent) {}

QVariant CServersModel::ToolTip(int row, int column) const {
    return column == ColServer ? QVariant(Text(row, ColServer)) : QVariant();
}

CServersView::CServersView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent) {
    setObjectName(u"serversView"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    m_model = new CServersModel(this);
    m_list = new QTreeView(this);
    m_list->setObjectName(u"serversList"_s);
    SetUpReportView(m_list, m_model, QAbstractItemView::SingleSelection, kSettingsSection);
    layout->addWidget(m_list);

    m_explore = new QAction(u"&Explore"_s, this);
    m_properties = new QAction(u"&Properties"_s, this);
    connect(m_explore, &QAction::triggered, this, &CServersView::OnExplore);
    connect(m_properties, &QAction::triggered, this, &CServersView::OnProperties);

    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &CServersView::OnSelectionChanged);
    connect(m_list, &QTreeView::clicked, this, &CServersView::OnClicked);
    connect(m_list, &QTreeView::doubleClicked, this, &CServersView::OnExplore);
    connect(m_list, &QWidget::customContextMenuRequested, this, &CServersView::OnContextMenu);
}

CServersView::~CServersView() {
    CConsoleSettings::SaveHeader(kSettingsSection, kSettingsEntry, m_list->header());
}

void CServersView::OnInitialUpdate() {
    Rebuild();
}

void CServersView::OnUpdate(IView*, int hint, const CHintObject* hintObject) {
    switch (hint) {
    case Hint::ServerListChanged:
        Rebuild();
        break;
    case Hint::UPDATE_NEW_USERS:
        Doc().updateAllServersData();
        Doc().SetStatus(u"Ready"_s);
        Rebuild();
        break;
    case Hint::NewServerData:
        if (const auto* server = dynamic_cast<const CUpdateServerHint*>(hintObject))
            if (server->Index() < Doc().Servers().GetCount())
                UpdateListWithServer(Doc().Servers()[server->Index()]);
        break;
    case Hint::NewServerState:
        if (const auto* server = dynamic_cast<const CUpdateServerHint*>(hintObject))
            UpdateServerState(server->Index());
        break;
    default:
        break;
    }
}

void CServersView::Rebuild() {
    for (int row = 0; row < m_model->rowCount(); ++row)
        m_model->SetMark(row, 0);
    CServerList& servers = Doc().Servers();
    for (std::size_t i = 0; i < servers.GetCount(); ++i)
        UpdateListWithServer(servers[i]);
    for (int row = 0; row < m_model->rowCount();) {
        if (m_model->Mark(row) == 0)
            m_model->RemoveRow(row);
        else
            ++row;
    }
}

void CServersView::UpdateListWithServer(const CServer& server) {
    const QString name = server.Name();
    int row = FindServer(name);
    if (row == m_model->rowCount()) {
        row = 0;
        m_model->InsertRow(row, name);
    }
    SetServerStateIcon(row, server);
    DWORD ports, busy;
    {
        auto lock = server.Lock();
        ports = server.m_portCount;
        busy = server.m_busyPorts;
    }
    if (ports == kUnknown) {
        m_model->SetText(row, CServersModel::ColPorts, kUnknownCount);
        m_model->SetText(row, CServersModel::ColBusyPorts, kUnknownCount);
    } else {
        m_model->SetText(row, CServersModel::ColPorts, QString::number(qint32(ports)));
        m_model->SetText(row, CServersModel::ColBusyPorts, QString::number(qint32(busy)));
    }
    m_model->SetMark(row, 1);
}

int CServersView::FindServer(const QString& name) const {
    const int rows = m_model->rowCount();
    for (int row = 0; row < rows; ++row)
        if (m_model->Text(row, CServersModel::ColServer) == name)
            return row;
    return rows;
}

void CServersView::SetServerStateIcon(int row, const CServer& server) {
    const DWORD state = server.m_state.load();
    int image;
    if (state == ServerState::Ready)
        image = kImageReady;
    else if (ServerState::IsFailure(state))
        image = kImageFailed;
    // A new fetch of a ready server keeps it shown as ready: no flicker on refresh.
    else if (m_model->StateImage(row) == kImageReady)
        image = kImageReady;
    else
        image = kImageWorking;
    m_model->SetStateImage(row, image);
}

void CServersView::UpdateServerState(std::size_t index) {
    CServerList& servers = Doc().Servers();
    if (index >= servers.GetCount())
        return;
    const CServer& server = servers[index];
    const int row = FindServer(server.Name());
    if (row == m_model->rowCount())
        return;
    const int selected = FirstSelectedRow();
    if (selected >= 0)
        Doc().SetStatus(StatusOf(m_model->Text(selected, CServersModel::ColServer)));
    SetServerStateIcon(row, server);
}

int CServersView::FirstSelectedRow() const {
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    int first = -1;
    for (const QModelIndex& index : rows)
        if (first < 0 || index.row() < first)
            first = index.row();
    return first;
}

QString CServersView::StatusOf(const QString& name) const {
    const int number = Doc().GetServerNumberByName(name);
    if (number < 0)
        return u"Ready"_s;
    return Doc().Servers()[std::size_t(number)].Status();
}

void CServersView::OnSelectionChanged() {
    const int row = FirstSelectedRow();
    if (row < 0) {
        Doc().m_selectedServer = kNone;
    } else {
        const QString name = m_model->Text(row, CServersModel::ColServer);
        Doc().m_selectedServer = name.left(50);
        Doc().SetStatus(StatusOf(name));
    }
    Frame().UpdateServerCommands();
}

void CServersView::OnClicked() {
    const int row = FirstSelectedRow();
    Doc().SetStatus(row < 0 ? u"Ready"_s : StatusOf(m_model->Text(row, CServersModel::ColServer)));
}

void CServersView::OnExplore() {
    const int row = FirstSelectedRow();
    if (row < 0)
        return;
    Doc().m_selectionKind = NodeKind::Server;
    Doc().m_selectedServer = m_model->Text(row, CServersModel::ColServer).left(50);
    // The tree's selection must arrange the right pane afresh, even for the same kind.
    Frame().InvalidateShownKind();
    Doc().UpdateAllViews(nullptr, Hint::SelectNode);
}

void CServersView::OnProperties() {
    const int row = FirstSelectedRow();
    if (row < 0)
        return;
    const QString name = m_model->Text(row, CServersModel::ColServer);
    Doc().m_selectedServer = name.left(50);
    ShowServerProperties(Doc(), name, this);
}

bool CServersView::CanEditProperties() const {
    return FirstSelectedRow() >= 0;
}

void CServersView::OnEditProperties() {
    OnProperties();
}

void CServersView::OnContextMenu(const QPoint& pos) {
    const QModelIndex index = m_list->indexAt(pos);
    if (!index.isValid())
        return;
    m_list->setCurrentIndex(index);
    QMenu menu(this);
    menu.addAction(m_explore);
    menu.addAction(m_properties);
    menu.exec(m_list->viewport()->mapToGlobal(pos));
}
