#pragma once
// What the document asks of the main window. The application's main frame
// implements it; tests record it.

#include <QString>

class IFrame {
public:
    virtual ~IFrame() = default;
    // The status bar's message pane.
    virtual void SetStatus(const QString& text) = 0;
    // The caption follows the view mode and the shown day.
    virtual void RefreshCaption() = 0;
    virtual void ShowSplash(bool show) = 0;
    // The wait cursor, nested.
    virtual void BeginWait() = 0;
    virtual void EndWait() = 0;
};

// Shows the wait cursor for a scope.
class CWaitCursor {
public:
    explicit CWaitCursor(IFrame* frame) : m_frame(frame) {
        if (m_frame)
            m_frame->BeginWait();
    }
    ~CWaitCursor() {
        if (m_frame)
            m_frame->EndWait();
    }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    IFrame* m_frame;
};
