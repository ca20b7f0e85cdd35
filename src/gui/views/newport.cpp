#include "gui/views/newport.h"
#include "gui/pages/userprop.h"

#include "core/app/ansitext.h"
#include "core/servers/server.h"
#include "gui/app/icons.h"
#include "gui/dialogs/messagetouser.h"
#include "gui/frame/containerview.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/portproperties.h"
#include "gui/toolkit/captionbar.h"
#include "gui/views/loadgraph.h"
#include "ini/inifile.h"

#include <QBoxLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace PortDetail;
using OCL::IPrompter;

namespace {

constexpr int kRefreshMs = 5000;
// The port file's values are read into buffers of 200 characters.
constexpr std::size_t kFileValueBuffer = 200;

const QString kReadFailure =
    u"Error when retrieving data from RAS port.\nNo data will be available for this port."_s;

QIcon GroupIcon(int group) {
    switch (group) {
    case 0:
        return CIcons::TreeImage(8);
    case 1:
        return CIcons::TreeImage(3);
    case 2:
        return CIcons::ViewMode(3);
    default:
        return CIcons::ServerState(3);
    }
}

} // namespace

CNewPort::CNewPort(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : CRightView(document, frame, parent) {
    setObjectName(u"portStatusView"_s);
    m_layout = new QBoxLayout(QBoxLayout::LeftToRight, this);
    m_layout->setContentsMargins(0, 0, 0, 0);

    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(u"portStatusTree"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setColumnCount(1);
    m_tree->setIconSize(QSize(16, 16));
    m_tree->setSelectionMode(QAbstractItemView::SingleSelection);
    m_tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tree->setUniformRowHeights(true);
    // Rows are as wide as their texts; a narrow pane scrolls rather than cuts them.
    m_tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_tree->header()->setStretchLastSection(false);
    m_layout->addWidget(m_tree, 1);

    // The graph and the buttons: beside the tree in a wide pane, under it in a
    // narrow one.
    m_panel = new QWidget(this);
    m_panel->setObjectName(u"portStatusPanel"_s);
    m_panelLayout = new QBoxLayout(QBoxLayout::TopToBottom, m_panel);
    m_panelLayout->setContentsMargins(6, 6, 6, 6);
    auto* loadBox = new QGroupBox(u"Line load"_s, m_panel);
    auto* loadLayout = new QVBoxLayout(loadBox);
    m_graph = new CLoadGraph(loadBox);
    loadLayout->addWidget(m_graph);
    m_panelLayout->addWidget(loadBox);

    auto* buttons = new QWidget(m_panel);
    auto* buttonLayout = new QVBoxLayout(buttons);
    buttonLayout->setContentsMargins(0, 0, 0, 0);
    auto button = [&](const QString& text, const char* name, void (CNewPort::*handler)()) {
        auto* b = new QPushButton(text, buttons);
        b->setObjectName(QString::fromLatin1(name));
        connect(b, &QPushButton::clicked, this, handler);
        buttonLayout->addWidget(b);
        return b;
    };
    m_disconnect = button(u"Disconnect Session"_s, "disconnectSession", &CNewPort::OnDisconnectSession);
    m_sendMessage = button(u"Send Message"_s, "sendMessage", &CNewPort::OnSendMessage);
    m_viewUser = button(u"View User Properties"_s, "viewUserProperties", &CNewPort::OnViewUserProperties);
    m_resetStatistics = button(u"Reset Statistics"_s, "resetStatistics", &CNewPort::OnResetStatistics);
    m_viewUser->setToolTip(u"Opens the profile of the user connected on this port"_s);
    m_disconnect->setToolTip(u"Ends the session of the user connected on this port"_s);
    m_sendMessage->setToolTip(u"Sends a message to the user connected on this port"_s);
    m_resetStatistics->setToolTip(u"Sets the port's traffic and error counters back to zero"_s);
    buttonLayout->addStretch(1);
    m_panelLayout->addWidget(buttons);
    m_layout->addWidget(m_panel);
    ArrangePanel();

    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { OnTimer(TIMER_ID_PORT_DETAIL); });
    UpdateButtons();
}

CNewPort::~CNewPort() {
    m_timer.stop();
}

void CNewPort::resizeEvent(QResizeEvent* event) {
    CRightView::resizeEvent(event);
    ArrangePanel();
}

void CNewPort::ArrangePanel() {
    constexpr int kPanelWidth = 200;
    constexpr int kNarrow = 600;
    const bool narrow = width() < kNarrow;
    m_layout->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    m_panelLayout->setDirection(narrow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    if (narrow) {
        m_panel->setMinimumWidth(0);
        m_panel->setMaximumWidth(QWIDGETSIZE_MAX);
        m_panel->setFixedHeight(m_panel->sizeHint().height());
    } else {
        m_panel->setMinimumHeight(0);
        m_panel->setMaximumHeight(QWIDGETSIZE_MAX);
        m_panel->setFixedWidth(kPanelWidth);
    }
}

void CNewPort::OnInitialUpdate() {
    // The frame puts its own caption up after this notice; the port's caption and
    // the first reading follow, unless the tree's notice brings them first.
    m_activationPending = true;
    QTimer::singleShot(0, this, [this] {
        if (m_activationPending)
            Activate();
    });
}

void CNewPort::OnUpdate(IView*, int hint, const CHintObject*) {
    switch (hint) {
    case Hint::UPDATE_NEW_PORTS:
        if (Doc().m_selectionKind >= NodeKind::Port && Doc().m_selectionKind <= 5)
            Activate();
        break;
    case Hint::UPDATE_NEW_USERS:
        if (m_activationPending)
            Activate();
        else if (!m_port.isEmpty())
            Refill();
        break;
    default:
        break;
    }
}

void CNewPort::Activate() {
    m_activationPending = false;
    if (m_server != Doc().m_selectedServer || m_port != Doc().m_selectedPort) {
        // Another port: its load starts afresh.
        m_load = CLoad();
        m_graph->SetHistory({}, {}, CLoad::kHistory);
    }
    m_server = Doc().m_selectedServer;
    m_port = Doc().m_selectedPort;
    if (CCwadminView* container = Frame().Container())
        container->Caption()->SetCaption(u"%1 on %2"_s.arg(m_port, m_server));
    m_timer.stop();
    Refill();
    m_timer.start(kRefreshMs);
}

void CNewPort::OnTimer(int id) {
    if (id != TIMER_ID_PORT_DETAIL)
        return;
    // Stopped while reading, so that an error box cannot pile up readings.
    m_timer.stop();
    Refill();
    m_timer.start(kRefreshMs);
}

void CNewPort::BuildTree() {
    if (m_rows[0])
        return;
    for (std::size_t g = 0; g < kGroups.size(); ++g) {
        auto* group = new QTreeWidgetItem(m_tree, {QString::fromLatin1(kGroups[g].title)});
        group->setIcon(0, GroupIcon(int(g)));
        for (int row = kGroups[g].first; row <= kGroups[g].last; ++row)
            m_rows[row] = new QTreeWidgetItem(group, {InitialText(Row(row))});
        group->setExpanded(true);
    }
}

QString CNewPort::RowText(Row row) const {
    return m_rows[row] ? m_rows[row]->text(0) : QString();
}

bool CNewPort::IsRoutingAndRas() const {
    const int number = Doc().GetServerNumberByName(m_server);
    return number >= 0 && Doc().Servers()[std::size_t(number)].m_rasKind == RasKindValue::Rras;
}

bool CNewPort::Refill() {
    BuildTree();
    const int number = Doc().GetServerNumberByName(m_server);
    if (number < 0 || !Doc().Update_ServerPortDataTemp(number, m_port)) {
        Doc().Environment().Prompter().Message(kReadFailure, {}, IPrompter::Icon::Error,
                                               IPrompter::Buttons::Ok);
        return false;
    }

    Reading reading;
    if (IsRoutingAndRas()) {
        OCL::Ini::Files& files = Doc().Environment().Files();
        const std::string path = CAnsi::FromQString(Doc().PortDetailFile());
        reading = FromPortFile(
            [&](const char* key) {
                const std::string_view name(key);
                std::string value = files.GetString(path, "PS", name, name == "UserName" ? "*" : "");
                if (value.size() >= kFileValueBuffer)
                    value.resize(kFileValueBuffer - 1);
                return CAnsi::ToQString(value);
            },
            Doc().m_portStatistics);
    } else {
        reading = FromRasRecords(Doc().m_port1, Doc().m_portStatistics);
    }

    for (int row = 0; row < RowCount; ++row)
        if (reading.texts[row] && m_rows[row]->text(0) != *reading.texts[row])
            m_rows[row]->setText(0, *reading.texts[row]);
    m_load.Add(reading.bytesOut, reading.bytesIn, reading.lineSpeed);
    m_graph->SetHistory(m_load.OutgoingHistory(), m_load.IncomingHistory(), CLoad::kHistory);
    m_account = reading.account;
    m_connected = reading.connected;
    UpdateButtons();
    return true;
}

void CNewPort::UpdateButtons() {
    m_disconnect->setEnabled(m_connected);
    m_sendMessage->setEnabled(m_connected);
    m_viewUser->setEnabled(m_connected);
    m_resetStatistics->setEnabled(m_connected);
}

void CNewPort::OnDisconnectSession() {
    if (!m_connected)
        return;
    Doc().DisconnectPort(m_server, m_port);
    Refill();
}

void CNewPort::OnSendMessage() {
    if (!m_connected)
        return;
    CMessageToUser dialog(Doc(), m_account, this);
    dialog.exec();
}

void CNewPort::OnResetStatistics() {
    if (!m_connected)
        return;
    // The router's administration offers no such call; the failure is told as a
    // failed reading is, and the rows stay as they are.
    if (IsRoutingAndRas()) {
        Doc().Environment().Prompter().Message(
            u"The statistics of port %1 could not be reset.\nRouting and RAS servers offer no way to reset "
            u"a port's counters."_s.arg(m_port),
            {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return;
    }
    Doc().RasFunc().Init();
    const DWORD rc = Doc().RasFunc().PortClearStatistics(m_server, m_port);
    if (rc != OCL::Err::Success) {
        Doc().Environment().Prompter().Message(
            u"Error %1 when attempting to reset the statistics of port %2."_s.arg(rc).arg(m_port), {},
            IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return;
    }
    Refill();
}

void CNewPort::OnViewUserProperties() {
    if (!m_connected)
        return;
    // The row shows "DOMAIN\account" as the server reports it.
    const QString account = RowText(PortDetail::UserAccount).section(u':', 1).trimmed();
    if (!Doc().MasterKnown()) {
        Doc().ReportNoMasterServer(u"Can't display info for user %1"_s.arg(account));
        return;
    }
    ShowUserProfile(Doc(), account, this);
}

bool CNewPort::CanEditProperties() const {
    return !m_server.isEmpty() && !m_port.isEmpty();
}

void CNewPort::OnEditProperties() {
    ShowPortProperties(Doc(), m_server, m_port, this);
}
