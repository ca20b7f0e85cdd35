#pragma once
// The shown day's figures: the "Connections by Hour" bar graph above a text
// panel of counts, the longest session and the most frequent user. The same
// drawing is shown, printed as a report and previewed; Save writes the hourly
// table.

#include "gui/views/drawlist.h"
#include "gui/views/rightview.h"

class QScrollArea;

class CStatView : public CRightView {
    Q_OBJECT
public:
    // The drawing's extent in logical units.
    static constexpr int kWidth = 460;
    static constexpr int kHeight = 340;

    CStatView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;
    bool CanPrint() const override { return true; }
    void Print(QPrinter* printer) override;

    // The drawing of the figures last generated, for the screen or the printer.
    CDrawList Drawing(bool printing) const;
    const CDrawList& Shown() const { return m_shown; }
    // Logical units to the canvas's pixels.
    qreal Scale() const;
    QWidget* Canvas() const { return m_canvas; }

private:
    void Regenerate();
    void Relayout();
    bool eventFilter(QObject* watched, QEvent* event) override;

    QScrollArea* m_scroll;
    QWidget* m_canvas;
    CDrawList m_shown;
};
