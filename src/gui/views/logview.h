#pragma once
// The session history of the shown day: one row per logged event, narrowed to
// what the node selected in the tree stands for. The rows are the log model's
// numbers over the document's store, never widgets, so a day of a million
// events opens, sorts and follows its file without freezing.
//
// The view follows the day's file while the service writes it: every five
// seconds it looks at the file's size and, when it changed, reloads and
// refills, keeping the order, the current row, the selection and the scroll
// position by each event's server, port and time.

#include "core/log/logfilter.h"
#include "gui/views/rightview.h"

#include <QTimer>

#include <array>
#include <memory>

class CLogModel;
class CLogStore;
class QAction;
class QTableView;

inline constexpr int TIMER_ID_LOGVIEW = 16;

class CLogView : public CRightView {
    Q_OBJECT
public:
    static constexpr int kTimerMs = 5000;
    static constexpr int kDefaultWidth = 50;
    // Auto-size sizes this many columns from the left.
    static constexpr int kAutoSizedColumns = 8;

    CLogView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CLogView() override;

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;

    // Fills the rows from the document's records under the selection's filter,
    // or under none.
    void LoadEvents();
    void LoadEventsAll();
    // Shows a search's events in place of the day's, with what was searched as
    // the caption, until the next selection or day; the poll rests meanwhile.
    void ShowSearch(std::shared_ptr<const CLogStore> store, const QString& caption);
    bool ShowingSearch() const { return !m_search.isEmpty(); }
    // The five-second poll of the day's file.
    void OnTimer(int id);
    void OnHeaderClicked(int section);

    bool CanEditCopy() const override;
    void OnEditCopy() override;
    bool CanPrint() const override { return true; }
    void Print(QPrinter* printer) override;
    // Saves all rows, or the selected ones, as a comma-separated file.
    bool Save();
    void OnCustomizeView();

    QTableView* List() const { return m_list; }
    CLogModel* Model() const { return m_model; }
    QTimer& Timer() { return m_timer; }
    QAction* CopyAction() const { return m_copy; }
    QAction* CustomizeAction() const { return m_customize; }
    // The filter's caption: "(all available records)", "(Server %s)", ...
    QString FilterCaption() const;
    // The first tick of the poll has seen the file.
    bool Polling() const { return m_sizeKnown; }

    // The page text of the printout: the banner and a page's heading.
    static QString PrintBanner();
    QString PrintHeading(int page, int count) const;

private:
    struct Kept;
    bool Reload();
    void Fill(const CLogFilter& filter, bool keepState);
    void RebuildColumns();
    void TakeWidths();
    void ApplyWidths();
    void AutoSize();
    int TemplateWidth(int id) const;
    Kept Keep() const;
    void Restore(const Kept& kept);
    void OnContextMenu(const QPoint& pos);

    QTableView* m_list;
    CLogModel* m_model;
    QAction* m_copy;
    QAction* m_customize;
    QTimer m_timer;
    CLogFilter m_filter;
    // The store the rows show, for the keys of a reload.
    std::shared_ptr<const CLogStore> m_shown;
    std::array<int, 12> m_widths{};
    QString m_path;
    qint64 m_lastSize = 0;
    bool m_sizeKnown = false;
    bool m_columnsBuilt = false;
    // The last sort: the column id and the direction it was made with; -1 none.
    int m_sortId = -1;
    int m_sortDirection = 1;
    // What the shown search looked for; empty while the day is shown.
    QString m_search;
};
