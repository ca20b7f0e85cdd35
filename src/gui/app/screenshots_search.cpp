// The screenshot tour's search steps: "Find Sessions" preset with the account
// the history steps chose, and its whole history in the log view.
#include "gui/app/screenshots.h"

#include "gui/dialogs/findsessions.h"
#include "gui/frame/mainframe.h"

#include <QCheckBox>

using namespace Qt::StringLiterals;

void CScreenshotTour::AddSearchSteps(CMainFrame* frame) {
    m_steps.push_back({200, [frame] {
                           ShowFindSessions(frame->Document(), *frame);
                       }});
    // The index of the demo's history is built behind the dialog meanwhile.
    m_steps.push_back({4000, [this, frame] {
                           auto* dialog = frame->findChild<CFindSessions*>();
                           if (!dialog)
                               return;
                           dialog->FromCheck()->setChecked(false);
                           Save(dialog, u"61-find-sessions"_s);
                       }});
    m_steps.push_back({200, [frame] {
                           if (auto* dialog = frame->findChild<CFindSessions*>()) {
                               dialog->OnFind();
                               dialog->close();
                           }
                       }});
    m_steps.push_back({1500, [this, frame] {
                           Save(frame, u"62-find-sessions-result"_s);
                       }});
}
