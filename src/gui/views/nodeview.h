#pragma once
// The left pane: "Servers" with the monitored servers and their ports, and
// "Accounts" with the network's domains, groups and accounts. Children are
// filled when a node is expanded; until then a placeholder child gives the node
// its expand button. Selecting a node stores the selection in the document and
// has the main frame arrange the right pane.

#include "core/doc/cwadmindoc.h"
#include "core/doc/view.h"

#include <QTimer>
#include <QTreeWidget>

class CMainFrame;
class QAction;

class CNodeView : public QTreeWidget, public IView {
    Q_OBJECT
public:
    // Item roles: the image index (the node kind), the selected image and the
    // item data (1 for a port with a session).
    static constexpr int ImageRole = Qt::UserRole + 1;
    static constexpr int SelectedImageRole = Qt::UserRole + 2;
    static constexpr int DataRole = Qt::UserRole + 3;

    CNodeView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CNodeView() override;

    void OnInitialUpdate();
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;

    void PopulateTree();
    bool PopulateTree_Servers();
    bool PopulateTree_Ports(QTreeWidgetItem* serverItem);
    void PopulateTree_Domains();
    void PopulateTree_AccountGroups(QTreeWidgetItem* domainItem, const QString& domain);
    void PopulateTree_AccountsUsers(QTreeWidgetItem* domainItem, const QString& controller);

    QTreeWidgetItem* ServersRoot() const { return m_serversRoot; }
    QTreeWidgetItem* AccountsRoot() const { return m_accountsRoot; }
    static int Image(const QTreeWidgetItem* item);

    // The timers' work, also called directly by tests.
    void OnTimer10();
    void OnTimer11();
    QTimer& Timer10() { return m_timer10; }
    QTimer& Timer11() { return m_timer11; }

    // What a right-click on the item shows: the menu's name and its commands.
    QString MenuNameFor(const QTreeWidgetItem* item) const;
    QStringList MenuItemsFor(const QTreeWidgetItem* item) const;
    // Whether the item's own commands are enabled: for an account or a group,
    // only while the master server is known and the profile exists.
    bool ItemCommandsEnabled(const QTreeWidgetItem* item) const;

    // The account and group commands, on the selected node.
    void OnPopupDeleteProfile();
    void OnPopupGroupDeleteProfile();
    // Create writes a fresh profile first; both then open the account's sheet.
    void OnPopupNewProfile();
    void OnPopupModifyProfile();
    void OnPopupCopyProfile();
    void OnPopupGroupNewProfile();
    void OnPopupGroupModifyProfile();
    // The menu's actions for an account (image 8) or group (10) node, as shown.
    QList<QAction*> ActionsFor(const QTreeWidgetItem* item) const;
    QAction* DeleteProfileAction() const { return m_deleteProfile; }
    QAction* DeleteGroupProfileAction() const { return m_deleteGroupProfile; }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QTreeWidgetItem* AddItem(QTreeWidgetItem* parent, const QString& text, int image, int selectedImage);
    void SetImage(QTreeWidgetItem* item, int image, int selectedImage);
    void DeleteChildren(QTreeWidgetItem* item);
    void OnItemExpanded(QTreeWidgetItem* item);
    void OnSelChanged(QTreeWidgetItem* current);
    void SelectNamedNode();
    // The profile's section in the account file for an account or group node.
    static QString ProfileSection(const QTreeWidgetItem* item);

    CCwadminDoc& m_doc;
    CMainFrame& m_frame;
    QTreeWidgetItem* m_serversRoot = nullptr;
    QTreeWidgetItem* m_accountsRoot = nullptr;
    QTimer m_timer10;
    QTimer m_timer11;
    QAction* m_deleteProfile;
    QAction* m_deleteGroupProfile;
    QAction* m_newProfile;
    QAction* m_modifyProfile;
    QAction* m_copyProfile;
    QAction* m_status;
    QAction* m_newGroupProfile;
    QAction* m_modifyGroupProfile;
    bool m_firstTick = false;
    bool m_expanding = false;
};
