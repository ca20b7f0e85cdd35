#pragma once
// The list of monitored servers in Status mode with the "Servers" root selected:
// one row per server with its port counts and a state icon, kept current from
// the fetchers' notices without rewriting what did not change.

#include "gui/views/rightview.h"

#include "gui/toolkit/reportmodel.h"

class CServer;
class QAction;
class QTreeView;

// The rows of the servers view: the name, the port counts and the state image
// (0 none yet, 1 working, 2 ready, 3 failed); the item data is the row's mark
// (1 = confirmed by the current server list) while the list is rebuilt.
class CServersModel final : public CReportModel {
    Q_OBJECT
public:
    enum Column { ColServer, ColPorts, ColBusyPorts, ColumnCount };
    static constexpr int StateImageRole = ImageRole;
    static constexpr int MarkRole = ItemDataRole;

    explicit CServersModel(QObject* parent = nullptr);

    int StateImage(int row) const { return Image(row); }
    bool SetStateImage(int row, int image) { return SetImage(row, image); }
    int Mark(int row) const { return int(ItemData(row)); }
    void SetMark(int row, int mark) { SetItemData(row, mark); }

protected:
    // Long names do not fit the server column.
    QVariant ToolTip(int row, int column) const override;
};

class CServersView : public CRightView {
    Q_OBJECT
public:
    CServersView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CServersView() override;

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;
    // Called by the main frame on every state notice.
    void UpdateServerState(std::size_t index);

    bool CanEditProperties() const override;
    void OnEditProperties() override;

    // Marks every row, updates a row per listed server and drops the rows no
    // server confirmed.
    void Rebuild();
    void UpdateListWithServer(const CServer& server);
    // The row whose name is name (first from the top), or the row count.
    int FindServer(const QString& name) const;
    void SetServerStateIcon(int row, const CServer& server);

    // The row commands and their menu.
    void OnExplore();
    void OnProperties();
    QAction* ExploreAction() const { return m_explore; }
    QAction* PropertiesAction() const { return m_properties; }

    QTreeView* List() const { return m_list; }
    CServersModel* Model() const { return m_model; }

private:
    int FirstSelectedRow() const;
    // The server's state text, or "Ready" when the name is not monitored.
    QString StatusOf(const QString& name) const;
    void OnSelectionChanged();
    void OnClicked();
    void OnContextMenu(const QPoint& pos);

    QTreeView* m_list;
    CServersModel* m_model;
    QAction* m_explore;
    QAction* m_properties;
};
