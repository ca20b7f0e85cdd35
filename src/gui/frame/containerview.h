#pragma once
// The container beside the navigation bar: a caption bar over a flat splitter
// holding the node tree and the right-hand view, which ReplaceView swaps.

#include "gui/views/viewregistry.h"

#include <QPointer>
#include <QWidget>

class CCaptionBar;
class CFlatSplitter;
class CNodeView;
class CRightView;

class CCwadminView : public QWidget {
    Q_OBJECT
public:
    CCwadminView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);

    CNodeView* NodeView() const { return m_tree; }
    CRightView* RightView() const { return m_right; }
    CCaptionBar* Caption() const { return m_caption; }
    CFlatSplitter* Splitter() const { return m_splitter; }

    // Puts a new view of the class into the right pane, sends it its first-show
    // notice, and shows the caption with the icon of identifier iconId (932 to
    // 935 for the four view modes). False, with the old view kept, on failure.
    bool ReplaceView(const ViewFactory& factory, const QString& caption, int iconId);

protected:
    void showEvent(QShowEvent* event) override;

private:
    bool m_sized = false;
    CCwadminDoc& m_doc;
    CMainFrame& m_frame;
    CCaptionBar* m_caption;
    CFlatSplitter* m_splitter;
    CNodeView* m_tree;
    QPointer<CRightView> m_right;
};
