#include "gui/views/nodeview.h"

#include "core/accounts/userfile.h"
#include "core/app/ansitext.h"
#include "core/net/accountlists.h"
#include "gui/app/icons.h"
#include "gui/dialogs/copyprofile.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/groupprofile.h"
#include "gui/pages/userprop.h"
#include "gui/toolkit/help.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QMenu>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

const QString kServerPlaceholder = u"DUMMY.DUMMY"_s;
const QString kDomainPlaceholder = u"DUMMY"_s;

QString Cut50(const QString& text) {
    return text.left(50);
}

QString FromWide(const std::u16string& text) {
    return QString::fromStdU16String(text);
}
std::u16string ToWide(const QString& text) {
    return text.toStdU16String();
}

bool IsPortImage(int image) {
    return image >= 3 && image <= 5;
}

} // namespace

CNodeView::CNodeView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : QTreeWidget(parent), m_doc(document), m_frame(frame) {
    setObjectName(u"nodeTree"_s);
    setHeaderHidden(true);
    setIconSize(QSize(16, 16));
    setRootIsDecorated(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    m_doc.AddView(this);

    m_timer10.setInterval(400);
    m_timer11.setInterval(700);
    m_deleteProfile = new QAction(CIcons::CommandIcon(CIcons::Command::Delete), u"&Delete Profile"_s, this);
    m_deleteGroupProfile =
        new QAction(CIcons::CommandIcon(CIcons::Command::Delete), u"&Delete Group Profile"_s, this);
    connect(m_deleteProfile, &QAction::triggered, this, &CNodeView::OnPopupDeleteProfile);
    connect(m_deleteGroupProfile, &QAction::triggered, this, &CNodeView::OnPopupGroupDeleteProfile);
    const auto action = [this](const QString& text, void (CNodeView::*handler)()) {
        auto* a = new QAction(text, this);
        connect(a, &QAction::triggered, this, handler);
        return a;
    };
    m_newProfile = action(u"&Create Profile for User..."_s, &CNodeView::OnPopupNewProfile);
    m_modifyProfile = action(u"&Modify Profile..."_s, &CNodeView::OnPopupModifyProfile);
    m_copyProfile = action(u"&Copy Profile..."_s, &CNodeView::OnPopupCopyProfile);
    m_status = action(u"&Status"_s, &CNodeView::OnPopupModifyProfile);
    m_newGroupProfile = action(u"&Create New Profile for Group..."_s, &CNodeView::OnPopupGroupNewProfile);
    m_modifyGroupProfile = action(u"&Modify Group Profile..."_s, &CNodeView::OnPopupGroupModifyProfile);

    connect(&m_timer10, &QTimer::timeout, this, &CNodeView::OnTimer10);
    connect(&m_timer11, &QTimer::timeout, this, &CNodeView::OnTimer11);
    connect(this, &QTreeWidget::itemExpanded, this, &CNodeView::OnItemExpanded);
    connect(this, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* current, QTreeWidgetItem* previous) {
                if (previous)
                    previous->setIcon(0, CIcons::TreeImage(Image(previous)));
                if (current)
                    current->setIcon(0, CIcons::TreeImage(current->data(0, SelectedImageRole).toInt()));
                OnSelChanged(current);
            });
}

CNodeView::~CNodeView() {
    m_doc.RemoveView(this);
}

int CNodeView::Image(const QTreeWidgetItem* item) {
    return item ? item->data(0, ImageRole).toInt() : -1;
}

QTreeWidgetItem* CNodeView::AddItem(QTreeWidgetItem* parent, const QString& text, int image,
                                    int selectedImage) {
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(this);
    item->setText(0, text);
    SetImage(item, image, selectedImage);
    item->setData(0, DataRole, 0);
    return item;
}

void CNodeView::SetImage(QTreeWidgetItem* item, int image, int selectedImage) {
    item->setData(0, ImageRole, image);
    item->setData(0, SelectedImageRole, selectedImage);
    item->setIcon(0, CIcons::TreeImage(item == currentItem() ? selectedImage : image));
}

void CNodeView::DeleteChildren(QTreeWidgetItem* item) {
    while (item->childCount() > 0)
        delete item->takeChild(0);
}

void CNodeView::OnInitialUpdate() {
    m_firstTick = true;
    PopulateTree();
    m_doc.Splash(true);
    m_timer10.start();
    // The console opens on its servers.
    setCurrentItem(m_serversRoot);
}

void CNodeView::OnUpdate(IView*, int hint, const CHintObject*) {
    if (hint == Hint::ServerListChanged)
        PopulateTree_Servers();
    else if (hint == Hint::SelectNode)
        SelectNamedNode();
}

void CNodeView::PopulateTree() {
    clear();
    m_serversRoot = AddItem(nullptr, u"Servers"_s, 0, 0);
    m_accountsRoot = AddItem(nullptr, u"Accounts"_s, 6, 7);
    AddItem(m_serversRoot, kServerPlaceholder, 0, 0);
    PopulateTree_Domains();
}

bool CNodeView::PopulateTree_Servers() {
    if (!m_serversRoot)
        return false;
    CServerList& servers = m_doc.Servers();
    const bool any = servers.GetCount() > 0;
    if (any) {
        DeleteChildren(m_serversRoot);
        for (std::size_t i = 0; i < servers.GetCount(); ++i) {
            QTreeWidgetItem* item = AddItem(m_serversRoot, servers[i].Name(), 1, 1);
            AddItem(item, kServerPlaceholder, 0, 0);
        }
    } else {
        DeleteChildren(m_serversRoot);
        AddItem(m_serversRoot, kServerPlaceholder, 0, 0);
        collapseItem(m_serversRoot);
    }
    m_doc.SetStatus(u"Ready"_s);
    if (any)
        m_serversRoot->sortChildren(0, Qt::AscendingOrder);
    return any;
}

bool CNodeView::PopulateTree_Ports(QTreeWidgetItem* serverItem) {
    m_doc.SetStatus(u"Talking to %1"_s.arg(serverItem->text(0)));
    const int number = m_doc.GetServerNumberByName(serverItem->text(0));
    m_doc.SetStatus(u"Ready"_s);
    if (number < 0)
        return false;
    const CServer& server = m_doc.Servers()[std::size_t(number)];
    auto lock = server.Lock();
    if (server.m_portCount == kUnknown)
        return false;
    DeleteChildren(serverItem);
    for (int i = 0; i < server.SlotCount(); ++i) {
        const CRasPortSlot& slot = server.m_ports[i];
        QTreeWidgetItem* port = AddItem(serverItem, CAnsi::ToQString(CAnsi::FieldText(slot.name)), 3, 3);
        port->setData(0, DataRole, slot.connected ? 1 : 0);
    }
    return server.SlotCount() > 0;
}

void CNodeView::PopulateTree_Domains() {
    for (const QString& name : CAccountLists::MicrosoftDomains(m_doc.Environment().Network())) {
        QTreeWidgetItem* domain = AddItem(m_accountsRoot, name, 9, 9);
        AddItem(domain, kDomainPlaceholder, 0, 0);
    }
}

void CNodeView::PopulateTree_AccountGroups(QTreeWidgetItem* domainItem, const QString& domain) {
    DeleteChildren(domainItem);
    INetwork& network = m_doc.Environment().Network();
    std::u16string controller;
    if (network.GetDCName(u"", ToWide(domain), &controller) != Err::Success)
        return;
    QStringList groups;
    CAccountLists::GlobalGroups(network, FromWide(controller), &groups);
    for (const QString& group : groups)
        AddItem(domainItem, group, 10, 10);
    PopulateTree_AccountsUsers(domainItem, FromWide(controller));
}

void CNodeView::PopulateTree_AccountsUsers(QTreeWidgetItem* domainItem, const QString& controller) {
    QStringList users;
    CAccountLists::Users(m_doc.Environment().Network(), controller, &users);
    for (const QString& user : users)
        AddItem(domainItem, user, 8, 8);
}

void CNodeView::OnItemExpanded(QTreeWidgetItem* item) {
    if (m_expanding)
        return;
    m_expanding = true;
    bool refuse = false;
    switch (Image(item)) {
    case 0:
        if (item == m_serversRoot && !PopulateTree_Servers()) {
            const auto answer = m_doc.Environment().Prompter().Ask(
                u"No servers found. Do you want to add RAS servers\nto the list of monitored servers?"_s);
            refuse = answer != IPrompter::Yes || !m_frame.OnSystemAddServer();
        }
        break;
    case 1:
        refuse = !PopulateTree_Ports(item);
        break;
    case 9: {
        CWaitCursor wait(&m_frame);
        PopulateTree_AccountGroups(item, item->text(0));
        break;
    }
    default:
        break;
    }
    if (refuse)
        collapseItem(item);
    m_expanding = false;
}

void CNodeView::OnSelChanged(QTreeWidgetItem* current) {
    if (!current)
        return;
    const int kind = Image(current);
    m_doc.m_selectedPort = m_doc.m_selectedServer = m_doc.m_selectedDomain = m_doc.m_selectedGroup =
        m_doc.m_selectedUser = kNone;
    bool rearrange = kind != m_doc.m_selectionKind || !m_frame.ShownKindValid();
    m_doc.m_selectionKind = kind;
    int hint = Hint::NoHint;
    QTreeWidgetItem* parent = current->parent();

    switch (kind) {
    case 3:
    case 4:
    case 5:
        m_doc.m_selectedPort = Cut50(current->text(0));
        if (parent)
            m_doc.m_selectedServer = Cut50(parent->text(0));
        hint = Hint::UPDATE_NEW_PORTS;
        break;
    case 1:
    case 2:
        m_doc.m_selectedServer = Cut50(current->text(0));
        hint = Hint::UPDATE_NEW_PORTS;
        break;
    case 0:
        hint = Hint::ServerListChanged;
        break;
    case 8:
    case 14:
        if (m_doc.MasterKnown()) {
            m_doc.m_selectedUser = Cut50(current->text(0));
            if (parent)
                m_doc.m_selectedDomain = Cut50(parent->text(0));
            hint = Hint::UPDATE_NEW_USERS;
        } else {
            m_doc.ReportNoMasterServer(u"Can't display info for user %1\\%2"_s.arg(
                parent ? parent->text(0) : QString(), current->text(0)));
            rearrange = false;
        }
        break;
    case 12:
        m_doc.m_selectedUser = m_doc.m_selectedDomain = u"DEFAULT"_s;
        break;
    case 9:
        if (m_doc.MasterKnown()) {
            m_doc.m_selectedDomain = Cut50(current->text(0));
            hint = Hint::UPDATE_NEW_USERS;
        } else {
            m_doc.ReportNoMasterServer(u"Can't display domain info"_s);
            rearrange = false;
        }
        break;
    case 10:
        if (m_doc.MasterKnown()) {
            m_doc.m_selectedGroup = Cut50(current->text(0));
            if (parent)
                m_doc.m_selectedDomain = Cut50(parent->text(0));
            hint = Hint::UPDATE_NEW_USERS;
        } else {
            m_doc.ReportNoMasterServer(u"Can't display user group info"_s);
            rearrange = false;
        }
        break;
    default:
        break;
    }
    m_doc.m_allAccounts = 0;
    if (kind == 6 || kind == 7) {
        if (m_doc.MasterKnown()) {
            m_doc.m_allAccounts = 1;
            hint = Hint::UPDATE_NEW_USERS;
        } else {
            m_doc.ReportNoMasterServer(u"Can't display users info"_s);
            rearrange = false;
        }
    }
    if (!m_doc.m_busy && rearrange)
        m_frame.ArrangeViews();
    if (hint != Hint::NoHint)
        m_doc.UpdateAllViews(this, hint);
    m_frame.UpdateServerCommands();
}

void CNodeView::SelectNamedNode() {
    if (!m_serversRoot)
        return;
    // Expanding the root rebuilds its children; do it before picking one of them.
    if (!m_serversRoot->isExpanded())
        expandItem(m_serversRoot);
    QTreeWidgetItem* server = nullptr;
    for (int i = 0; i < m_serversRoot->childCount(); ++i)
        if (m_serversRoot->child(i)->text(0) == m_doc.m_selectedServer) {
            server = m_serversRoot->child(i);
            break;
        }
    if (!server)
        return;
    const int kind = m_doc.m_selectionKind;
    if (kind < 3 || kind > 5) {
        setCurrentItem(server);
        return;
    }
    expandItem(server);
    for (int i = 0; i < server->childCount(); ++i)
        if (server->child(i)->text(0) == m_doc.m_selectedPort) {
            setCurrentItem(server->child(i));
            return;
        }
    setCurrentItem(server);
}

void CNodeView::OnTimer10() {
    m_timer10.stop();
    PopulateTree_Servers();
    m_doc.UpdateAllViews(nullptr, Hint::ServerListChanged);
    m_timer11.start();
}

void CNodeView::OnTimer11() {
    if (m_firstTick) {
        m_firstTick = false;
        m_doc.Splash(false);
        DWORD intro = 0;
        m_doc.ReadRegDWORD({}, u"Client"_s, u"NewbieMessageIntro"_s, &intro);
        if (intro != 1) {
            CHelp::ShowFile(CHelp::IntroFile(), this);
            m_doc.SetRegDWORD({}, u"Client"_s, u"NewbieMessageIntro"_s, 1);
        }
    }
    // Connected ports blink by stepping through their three images.
    for (QTreeWidgetItemIterator it(this, QTreeWidgetItemIterator::NotHidden); *it; ++it) {
        QTreeWidgetItem* item = *it;
        if (item->parent() && !item->parent()->isExpanded())
            continue;
        const int image = Image(item);
        if (item->data(0, DataRole).toInt() == 1 && IsPortImage(image)) {
            const int next = image == 5 ? 3 : image + 1;
            SetImage(item, next, next);
        }
    }
}

QString CNodeView::MenuNameFor(const QTreeWidgetItem* item) const {
    switch (Image(item)) {
    case 0:
        return u"POP_SERVERS"_s;
    case 1:
        return u"POP_SERVER"_s;
    case 3:
    case 4:
    case 5:
        return u"POPUP_PORT"_s;
    case 8:
        return m_doc.UserProfileExists(ProfileSection(item)) ? u"POPUP_ACCOUNT_OLD"_s
                                                             : u"POPUP_ACCOUNT_NEW"_s;
    case 10:
        return m_doc.UserProfileExists(ProfileSection(item)) ? u"POPUP_OLD_GROUP"_s : u"POPUP_NEW_GROUP"_s;
    default:
        return {};
    }
}

QStringList CNodeView::MenuItemsFor(const QTreeWidgetItem* item) const {
    switch (Image(item)) {
    case 0:
        return {u"&Add RAS server..."_s, u"&System Settings..."_s};
    case 1:
        return {u"&Explore"_s,         u"St&art RAS"_s,     u"St&op RAS"_s,  u"S&tart Callwarden"_s,
                u"&Stop Callwarden"_s, u"&Remove Server"_s, u"&Properties"_s};
    case 3:
    case 4:
    case 5:
        return {u"&Disconnect"_s, u"&Properties"_s};
    case 8:
    case 10: {
        QStringList texts;
        for (const QAction* a : ActionsFor(item))
            texts.append(a->text());
        return texts;
    }
    default:
        return {};
    }
}

QList<QAction*> CNodeView::ActionsFor(const QTreeWidgetItem* item) const {
    const bool exists = m_doc.MasterKnown() && m_doc.UserProfileExists(ProfileSection(item));
    if (Image(item) == 8)
        return {exists ? m_modifyProfile : m_newProfile, m_deleteProfile, m_copyProfile, m_status};
    if (Image(item) == 10)
        return {exists ? m_modifyGroupProfile : m_newGroupProfile, m_deleteGroupProfile};
    return {};
}

void CNodeView::OnPopupNewProfile() {
    const QString domain = m_doc.m_selectedDomain, user = m_doc.m_selectedUser;
    if (user == kNone)
        return;
    const QString section = CUserFile::AccountSection(domain, user);
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't display info for user %1"_s.arg(section));
        return;
    }
    m_doc.TempUserReset();
    if (!m_doc.TempUserSave(section)) {
        m_doc.Environment().Prompter().Message(u"Can't display info for user %1"_s.arg(section), {},
                                               IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return;
    }
    m_doc.m_usersReloadPending = 1;
    ShowUserProfile(m_doc, section, this);
}

void CNodeView::OnPopupModifyProfile() {
    const QString domain = m_doc.m_selectedDomain, user = m_doc.m_selectedUser;
    if (user == kNone)
        return;
    const QString section = CUserFile::AccountSection(domain, user);
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't display info for user %1"_s.arg(section));
        return;
    }
    ShowUserProfile(m_doc, section, this);
}

void CNodeView::OnPopupCopyProfile() {
    if (m_doc.m_selectedUser == kNone)
        return;
    CCopyProfile dialog(m_doc, this);
    dialog.exec();
}

void CNodeView::OnPopupGroupNewProfile() {
    if (m_doc.m_selectedGroup == kNone)
        return;
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't display user group info"_s);
        return;
    }
    CreateGroupProfileSheet(m_doc, m_doc.m_selectedDomain, m_doc.m_selectedGroup, true, this)->exec();
}

void CNodeView::OnPopupGroupModifyProfile() {
    if (m_doc.m_selectedGroup == kNone)
        return;
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't display user group info"_s);
        return;
    }
    CreateGroupProfileSheet(m_doc, m_doc.m_selectedDomain, m_doc.m_selectedGroup, false, this)->exec();
}

QString CNodeView::ProfileSection(const QTreeWidgetItem* item) {
    const QString domain = item->parent() ? item->parent()->text(0) : QString();
    return Image(item) == 10 ? CUserFile::GroupSection(domain, item->text(0))
                             : CUserFile::AccountSection(domain, item->text(0));
}

bool CNodeView::ItemCommandsEnabled(const QTreeWidgetItem* item) const {
    switch (Image(item)) {
    case 1:
    case 2:
        return true;
    case 8:
    case 10:
    case 14:
        return m_doc.MasterKnown() && m_doc.UserProfileExists(ProfileSection(item));
    default:
        return false;
    }
}

void CNodeView::OnPopupDeleteProfile() {
    const QString domain = m_doc.m_selectedDomain, user = m_doc.m_selectedUser;
    if (user == kNone)
        return;
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't display info for user %1\\%2"_s.arg(domain, user));
        return;
    }
    const QString section = CUserFile::AccountSection(domain, user);
    const int result = m_doc.DeleteUser(section);
    if (result == IPrompter::No)
        return;
    if (result == 0) {
        m_doc.Environment().Prompter().Message(
            u"The profile for %1 could not be deleted; the account file is as it was."_s.arg(section), {},
            IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return;
    }
    m_doc.m_usersReloadPending = 1;
    m_doc.UpdateAllViews(this, Hint::UPDATE_NEW_USERS);
}

void CNodeView::OnPopupGroupDeleteProfile() {
    const QString domain = m_doc.m_selectedDomain, group = m_doc.m_selectedGroup;
    if (group == kNone)
        return;
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't display user group info"_s);
        return;
    }
    IPrompter& prompter = m_doc.Environment().Prompter();
    if (prompter.Ask(u"Permanently delete all data and settings for %1?"_s.arg(group)) != IPrompter::Yes)
        return;
    QString error;
    if (!m_doc.RemoveUserSections({CUserFile::GroupSection(domain, group)}, &error))
        prompter.Message(
            u"The profile of the group %1 could not be deleted; the account file is as it was.\n%2"_s.arg(
                group, error),
            {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
}

void CNodeView::contextMenuEvent(QContextMenuEvent* event) {
    QTreeWidgetItem* item = itemAt(event->pos());
    if (!item || Image(item) == 99)
        return;
    setCurrentItem(item);
    const QStringList items = MenuItemsFor(item);
    if (items.isEmpty())
        return;
    QMenu menu(this);
    menu.setObjectName(MenuNameFor(item));
    const int image = Image(item);
    if (image == 8 || image == 10) {
        const bool enabled = ItemCommandsEnabled(item);
        for (QAction* action : ActionsFor(item)) {
            // Creating needs only the master; the rest act on a profile that exists.
            action->setEnabled(action == m_newProfile || action == m_newGroupProfile ? m_doc.MasterKnown()
                                                                                     : enabled);
            menu.addAction(action);
        }
    } else {
        const bool port = IsPortImage(image);
        for (const QString& text : items)
            m_frame.AddCommand(menu, port && text == u"&Properties"_s ? u"Port &Properties"_s : text);
    }
    // The history of what the menu was opened on, across days.
    if (image == 1 || image == 8) {
        menu.addSeparator();
        m_frame.AddCommand(menu, u"&Find Sessions..."_s);
    }
    menu.exec(event->globalPos());
}
