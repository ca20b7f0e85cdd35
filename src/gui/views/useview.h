#pragma once
// When each port of each server was in use on the shown day: a 24-hour axis
// over one lane per server and one per port, a red bar for every session.
// The graph scrolls when the lanes outgrow the pane, and prints over as many
// pages as its lanes need, the axis repeated on each.

#include "gui/views/drawlist.h"
#include "gui/views/rightview.h"

class QScrollArea;

class CUseView : public CRightView {
    Q_OBJECT
public:
    static constexpr int kWidth = 820; // the time axis ends here, in logical units
    static constexpr int kLaneHeight = 15;
    static constexpr int kTop = 50; // the first lane's top
    static const QColor kBarColor;

    CUseView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;
    bool CanPrint() const override { return true; }
    void Print(QPrinter* printer) override;

    int LaneCount() const;
    // The axis and the lanes first to first + count - 1, the first drawn at the top.
    CDrawList Drawing(int first, int count) const;
    const CDrawList& Shown() const { return m_shown; }
    qreal Scale() const;
    QWidget* Canvas() const { return m_canvas; }

private:
    void Rebuild();
    void Relayout();
    bool eventFilter(QObject* watched, QEvent* event) override;

    QScrollArea* m_scroll;
    QWidget* m_canvas;
    CDrawList m_shown;
};
