#pragma once
// "Network": browses the network's domains for dial-in servers and adds the
// chosen or typed server to the monitored list, fetching it at once.

#include <QDialog>
#include <QTimer>

class CCwadminDoc;
class CMainFrame;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace OCL {
struct NetResource;
}

class CAddServers : public QDialog {
    Q_OBJECT
public:
    // The tree items keep their image index here: 9 domain, 1 server, 0 placeholder.
    static constexpr int ImageRole = Qt::UserRole + 1;

    CAddServers(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CAddServers() override;
    // How many servers were added while the dialog was open.
    int AddedCount() const;

    // The delayed first filling (the timer fires once, 500 ms after opening).
    QTimer& FillTimer() { return m_fillTimer; }
    void OnFillTimer();
    void OnAdd();
    // Ends the dialog: accepted when at least one server was added.
    void OnClose();
    void reject() override;

    QTreeWidget* Tree() const { return m_tree; }
    QLineEdit* NameBox() const { return m_name; }
    QPushButton* AddButton() const { return m_add; }
    QPushButton* CloseButton() const { return m_close; }

private:
    void FillNetwork(const OCL::NetResource* container, QTreeWidgetItem* parent);
    void FillDomain(QTreeWidgetItem* domain);
    QTreeWidgetItem* AddItem(QTreeWidgetItem* parent, const QString& text, int image);
    void OnSelectionChanged();
    void OnItemExpanded(QTreeWidgetItem* item);
    void OnNameChanged(const QString& text);
    // Makes sure this computer can load the router administration library
    // before a Routing and RAS server is added.
    void ProvideRouterLibrary(const QString& serverPath);

    CCwadminDoc& m_doc;
    CMainFrame& m_frame;
    QTreeWidget* m_tree;
    QLineEdit* m_name;
    QPushButton* m_add;
    QPushButton* m_close;
    QTimer m_fillTimer;
    int m_added = 0;
    // Whether the container being enumerated belongs to the Microsoft Windows Network.
    bool m_microsoftNetwork = false;
};
