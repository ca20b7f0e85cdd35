#pragma once
// The console's top-level window: navigation, the container view with the tree
// and the right-hand view, toolbar and status bar. It turns the fetchers'
// notices into view updates.

#include "core/doc/cwadmindoc.h"
#include "core/ui/frame.h"

#include <QLabel>
#include <QMainWindow>
#include <QPointer>
#include <QSplitter>
#include <QTreeWidget>

class CSplash;

class CMainFrame : public QMainWindow, public IFrame {
    Q_OBJECT
public:
    explicit CMainFrame(CCwadminDoc& document, QWidget* parent = nullptr);
    ~CMainFrame() override;

    CCwadminDoc& Document() { return m_doc; }

    // IFrame.
    void SetStatus(const QString& text) override;
    void RefreshCaption() override;
    void ShowSplash(bool show) override;
    void BeginWait() override;
    void EndWait() override;

    QString StatusText() const;
    QLabel* StatusPane(int pane) const;

    // The fetchers' notices, handed over by the application object.
    void OnNewServerState(std::size_t index);
    void OnNewServerData(std::size_t index);

    void OnAppAbout();

private:
    void CreateMenus();
    // Lets go of a server's fetcher whose fetch has ended.
    void ReleaseFinishedFetch(std::size_t index);

    CCwadminDoc& m_doc;
    QSplitter* m_splitter = nullptr;
    QTreeWidget* m_tree = nullptr;
    QWidget* m_rightPane = nullptr;
    QLabel* m_panes[3] = {};
    QPointer<CSplash> m_splash;
    int m_waitDepth = 0;
};
