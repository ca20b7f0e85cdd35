// The tour's pictures of the system settings: every page of the sheet and the
// archiving sheet.
#include "gui/app/screenshots.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/archiving.h"
#include "gui/toolkit/propertysheet.h"

#include <QApplication>
#include <QTabWidget>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

void CScreenshotTour::AddSettingsSteps(CMainFrame* frame) {
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(
                               u"51-system-settings-database"_s, [frame] { frame->OnSystemSettings(); },
                               [this](QWidget* sheet) {
                                   auto* tabs = sheet->findChild<QTabWidget*>();
                                   if (!tabs)
                                       return;
                                   // The database with the current day logs opened and one selected.
                                   if (auto* tree = sheet->findChild<QTreeWidget*>(u"databaseTree"_s);
                                       tree && tree->topLevelItem(0)) {
                                       for (int i = 0; i < tree->topLevelItem(0)->childCount(); ++i) {
                                           QTreeWidgetItem* folder = tree->topLevelItem(0)->child(i);
                                           if (folder->childCount() > 0) {
                                               folder->setExpanded(true);
                                               tree->setCurrentItem(folder->child(folder->childCount() - 1));
                                               break;
                                           }
                                       }
                                       QApplication::processEvents();
                                       Save(sheet, u"52-system-settings-database-day"_s);
                                   }
                                   for (int i = 1; i < tabs->count(); ++i) {
                                       tabs->setCurrentIndex(i);
                                       QApplication::processEvents();
                                       const QString title = tabs->tabText(i).toLower().replace(u' ', u'-');
                                       Save(sheet, u"5%1-system-settings-%2"_s.arg(i + 2).arg(title));
                                   }
                               });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"59-archiving"_s, [frame] {
                               auto sheet = CreateArchiving(frame->Document(), frame);
                               sheet->exec();
                           });
                       }});
}
