#pragma once
// Everything known about one port of one server, refreshed every five seconds:
// the session, the device and line, traffic and compression, error counters and
// a small load graph, with buttons acting on the port's session.

#include "core/ports/portdetail.h"
#include "gui/views/rightview.h"

#include <QTimer>

class CLoadGraph;
class QBoxLayout;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

inline constexpr int TIMER_ID_PORT_DETAIL = 17;

class CNewPort : public CRightView {
    Q_OBJECT
public:
    CNewPort(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CNewPort() override;

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;

    // "Properties" on a port node: the port's profile.
    bool CanEditProperties() const override;
    void OnEditProperties() override;

    // Takes the document's selected port, fills the view and starts timer 17.
    void Activate();
    // One reading of the port; false (after the error box) when it could not be read.
    bool Refill();
    void OnTimer(int id);

    // The buttons.
    void OnDisconnectSession();
    void OnSendMessage();
    void OnResetStatistics();
    // The connected account's profile sheet.
    void OnViewUserProperties();

    QString Server() const { return m_server; }
    QString Port() const { return m_port; }
    bool UserConnected() const { return m_connected; }
    QString Account() const { return m_account; }
    // A row's text; empty before the tree is built.
    QString RowText(PortDetail::Row row) const;
    QTreeWidget* Tree() const { return m_tree; }
    QPushButton* DisconnectButton() const { return m_disconnect; }
    QPushButton* SendMessageButton() const { return m_sendMessage; }
    QPushButton* ResetStatisticsButton() const { return m_resetStatistics; }
    QPushButton* ViewUserButton() const { return m_viewUser; }
    CLoadGraph* Graph() const { return m_graph; }
    const PortDetail::CLoad& Load() const { return m_load; }
    QTimer& RefreshTimer() { return m_timer; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void ArrangePanel();
    void BuildTree();
    void UpdateButtons();
    bool IsRoutingAndRas() const;

    QBoxLayout* m_layout;
    QBoxLayout* m_panelLayout;
    QWidget* m_panel;
    QTreeWidget* m_tree;
    QTreeWidgetItem* m_rows[PortDetail::RowCount] = {};
    CLoadGraph* m_graph;
    QPushButton* m_disconnect;
    QPushButton* m_sendMessage;
    QPushButton* m_viewUser = nullptr;
    QPushButton* m_resetStatistics;
    QTimer m_timer;

    QString m_server;
    QString m_port;
    QString m_account;
    bool m_connected = false;
    bool m_activationPending = false;
    PortDetail::CLoad m_load;
};
