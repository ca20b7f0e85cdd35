// The tour's pictures of the day's figures: statistics, the usage graph, their
// printouts, the calendar and the export with its progress.
#include "gui/app/screenshots.h"

#include "gui/dialogs/exportmulti.h"
#include "gui/frame/mainframe.h"
#include "gui/views/nodeview.h"
#include "gui/views/rightview.h"

#include <QDir>
#include <QPrinter>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

void CScreenshotTour::PrintToPicture(CMainFrame* frame, const QString& name) {
    CRightView* view = frame->RightView();
    if (!view || !view->CanPrint())
        return;
    const QString pdf = QDir(m_folder).filePath(name + u".pdf"_s);
    {
        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        view->Print(&printer);
    }
    m_saved << pdf;
    const QString convert = QStandardPaths::findExecutable(u"pdftoppm"_s);
    if (!convert.isEmpty() &&
        QProcess::execute(convert, {u"-png"_s, u"-r"_s, u"100"_s, u"-f"_s, u"1"_s, u"-l"_s, u"1"_s,
                                    u"-singlefile"_s, pdf, QDir(m_folder).filePath(name)}) == 0)
        m_saved << QDir(m_folder).filePath(name + u".png"_s);
}

void CScreenshotTour::AddStatsSteps(CMainFrame* frame) {
    m_steps.push_back({200, [frame] {
                           if (CNodeView* tree = frame->NodeView())
                               tree->setCurrentItem(tree->ServersRoot());
                           frame->OnViewStatistics();
                       }});
    m_steps.push_back({2000, [this, frame] {
                           Save(frame, u"31-statistics-view"_s);
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"32-statistics-print-preview"_s,
                                        [frame] { frame->OnFilePrintPreview(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           PrintToPicture(frame, u"33-statistics-print"_s);
                       }});
    m_steps.push_back({200, [frame] {
                           frame->OnViewUsage();
                       }});
    m_steps.push_back({2000, [this, frame] {
                           Save(frame, u"34-usage-view"_s);
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"35-usage-print-preview"_s,
                                        [frame] { frame->OnFilePrintPreview(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           PrintToPicture(frame, u"36-usage-print"_s);
                       }});
    // Yesterday: on a site made with --big-day, the server with 250 ports.
    m_steps.push_back({200, [frame] {
                           frame->OnGoBack();
                       }});
    m_steps.push_back({6000, [this, frame] {
                           Save(frame, u"37-usage-view-yesterday"_s);
                       }});
    m_steps.push_back({200, [frame] {
                           frame->OnGoForward();
                       }});
    m_steps.push_back({3000, [this, frame] {
                           CaptureModal(u"38-calendar"_s, [frame] { frame->OnGoCalendar(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"39-export-dialog"_s, [frame] { frame->OnToolsExport(); });
                       }});
    // The progress as it runs: the picture is taken at the first day done.
    m_steps.push_back({200, [this, frame] {
                           CSessionExportSettings settings;
                           settings.mode = SessionExportMode::LastDays;
                           settings.days = 7;
                           settings.fileName = QDir(m_folder).filePath(u"tour-export.csv"_s);
                           CExportMultiProgress progress(frame->Document(), settings, frame);
                           bool taken = false;
                           connect(&progress, &CExportMultiProgress::progressed, this, [&] {
                               if (!std::exchange(taken, true))
                                   Save(&progress, u"3a-export-progress"_s);
                           });
                           progress.exec();
                           QFile::remove(settings.fileName);
                       }});
}
