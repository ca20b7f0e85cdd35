// The GUI part of the test console: the main window over the document.
#include "gui/frame/mainframe.h"
#include "support/testconsole.h"

CMainFrame& CTestConsole::Frame() {
    if (!m_frame) {
        m_frame = std::unique_ptr<CMainFrame, void (*)(CMainFrame*)>(new CMainFrame(Doc()),
                                                                     [](CMainFrame* frame) { delete frame; });
        CMainFrame* frame = m_frame.get();
        m_sink.forward = [frame](int message, std::size_t index) {
            if (message == 1045)
                frame->OnNewServerData(index);
            else
                frame->OnNewServerState(index);
        };
    }
    return *m_frame;
}
