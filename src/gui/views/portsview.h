#pragma once
// The ports of the selected server in Status mode: who is connected on which
// port, since when and from which address, polled on a worker thread and merged
// into the rows; connected ports show an animated icon.
//
// Threading: at most one update thread runs at a time. It reads the server's
// ports into the view's ports file and then hands back to the view's thread,
// which merges the file into the rows; until then the thread counts as running
// and the poll timer starts no other. The view waits for a running thread when
// it is destroyed.

#include "gui/views/rightview.h"

#include <QTimer>

#include <memory>
#include <thread>

class CPortsModel;
class CPortsViewFile;
class CRASFunc;
class CRrasLibrary;
class QAction;
class QTreeView;

inline constexpr int TIMER_ID_PORTS_POLL = 12;

class CPortsView : public CRightView {
    Q_OBJECT
public:
    CPortsView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CPortsView() override;

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;

    bool CanEditProperties() const override;
    void OnEditProperties() override;

    // The rows.
    void PopulateListWithPorts();
    // The port in slot index of the server; returns the row.
    int InsertPort(int index);
    // Writes into the row of that port (found exactly), or appends one.
    int InsertPort(const QString& name, const QString& user, const QString& ip, qint64 start);
    // Only the "Port" column sorts (by name, as text); other columns are ignored.
    void SortList(int column, bool ascending);
    // A click on a header: "Port" sorts, a second click reverses.
    void OnHeaderClicked(int column);

    // The poll: timer 12 (300 ms first, then 700 ms). The tick counter is one for
    // the whole process and survives the view.
    void OnTimer(int id);
    static int TickCounter();
    // Starts an update thread unless one runs; false when one runs.
    bool StartUpdateThread();
    bool UpdateThreadRunning() const { return m_pollRunning; }
    int UpdateThreadsStarted() const { return m_threadsStarted; }
    // One run of the update thread: the server's ports into the file. Returns 666.
    static int PortsViewUpdateThread(CRASFunc& rasFunc, CRrasLibrary& rras, OCL::IPrompter& prompter,
                                     const QString& server, bool routingAndRas, CPortsViewFile& file);

    // Row commands.
    void OnDblClickPort();
    void OnServerExplorer();
    void OnDisconnect();
    QAction* ExploreAction() const { return m_explore; }
    QAction* DisconnectAction() const { return m_disconnect; }
    QAction* PropertiesAction() const { return m_properties; }

    QTreeView* List() const { return m_list; }
    CPortsModel* Model() const { return m_model; }
    QTimer& PollTimer() { return m_pollTimer; }
    CPortsViewFile& PortsFile() { return *m_file; }
    QString ServerName() const { return m_serverName; }

signals:
    // The rows have taken in a poll.
    void pollMerged();

private:
    void OnUpdateThreadDone();
    int FirstSelectedRow() const;
    QList<int> SelectedRows() const;
    QString StartText(qint64 start) const;
    void OnContextMenu(const QPoint& pos);

    QTreeView* m_list;
    CPortsModel* m_model;
    QAction* m_explore;
    QAction* m_disconnect;
    QAction* m_properties;
    QTimer m_pollTimer;

    int m_serverNumber = -1;
    bool m_routingAndRas = false;
    QString m_serverName;
    std::shared_ptr<CPortsViewFile> m_file;
    std::thread m_thread;
    bool m_pollRunning = false;
    int m_threadsStarted = 0;
    int m_sortColumn = -1;
    bool m_sortAscending = true;
};
