// The System menu's save and print commands: each goes to the view shown.
#include "gui/frame/mainframe.h"

#include "gui/views/rightview.h"

#include <QPageSetupDialog>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>

using namespace Qt::StringLiterals;

QPrinter& CMainFrame::Printer() {
    if (!m_printer)
        m_printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    return *m_printer;
}

void CMainFrame::OnFileSave() {
    m_doc.UpdateAllViews(nullptr, Hint::SaveData);
}

void CMainFrame::OnFilePrint() {
    CRightView* view = RightView();
    if (!view || !view->CanPrint())
        return;
    QPrintDialog dialog(&Printer(), this);
    dialog.setWindowTitle(u"Print"_s);
    if (dialog.exec() == QDialog::Accepted && RightView() == view)
        view->Print(&Printer());
}

void CMainFrame::OnFilePrintPreview() {
    CRightView* view = RightView();
    if (!view || !view->CanPrint())
        return;
    QPrintPreviewDialog preview(&Printer(), this);
    preview.setObjectName(u"printPreview"_s);
    preview.setWindowTitle(u"Print Preview"_s);
    connect(&preview, &QPrintPreviewDialog::paintRequested, view, &CRightView::Print);
    preview.resize(qMax(640, width() * 4 / 5), qMax(480, height() * 9 / 10));
    preview.exec();
}

void CMainFrame::OnFilePrintSetup() {
    QPageSetupDialog dialog(&Printer(), this);
    dialog.exec();
}
