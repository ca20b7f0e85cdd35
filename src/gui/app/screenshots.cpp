#include "gui/app/screenshots.h"

#include "core/log/logmodel.h"
#include "gui/app/cwadminapp.h"
#include "gui/dialogs/messagetouser.h"
#include "gui/frame/mainframe.h"
#include "gui/views/logview.h"
#include "gui/views/nodeview.h"
#include "gui/views/usersview.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QPrinter>
#include <QProcess>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTextStream>
#include <QTreeView>

using namespace Qt::StringLiterals;

CScreenshotTour::CScreenshotTour(CCwadminApp& app, const QString& folder) : m_app(app), m_folder(folder) {
    QDir().mkpath(folder);
    CMainFrame* frame = app.MainFrame();
    // Servers come alive on their first fetches.
    m_steps.push_back({9000, [this, frame] {
                           if (CNodeView* tree = frame->NodeView())
                               tree->setCurrentItem(tree->ServersRoot());
                       }});
    m_steps.push_back({1500, [this, frame] {
                           Save(frame, u"01-main-window-servers"_s);
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"02-refresh-rate"_s, [frame] { frame->OnViewRefreshRate(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"03-add-servers"_s, [frame] { frame->OnSystemAddServer(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CCwadminDoc& doc = frame->Document();
                           if (doc.Servers().MasterKnown())
                               doc.m_selectedServer = doc.Servers().MasterName();
                           doc.m_selectionKind = 1;
                           CaptureModal(
                               u"04-server-settings-general"_s, [frame] { frame->OnServerProperties(); },
                               [this](QWidget* sheet) {
                                   if (auto* tabs = sheet->findChild<QTabWidget*>();
                                       tabs && tabs->count() > 1) {
                                       tabs->setCurrentIndex(1);
                                       QApplication::processEvents();
                                       Save(sheet, u"05-server-settings-export"_s);
                                       tabs->setCurrentIndex(0);
                                   }
                               });
                       }});
    // A server's ports, after the view's first poll.
    m_steps.push_back({200, [frame] {
                           CCwadminDoc& doc = frame->Document();
                           doc.m_selectionKind = 1;
                           doc.m_selectedServer = doc.Servers().MasterKnown() ? doc.Servers().MasterName()
                                                                              : doc.Servers()[0].Name();
                           frame->InvalidateShownKind();
                           doc.UpdateAllViews(nullptr, 23);
                       }});
    m_steps.push_back({9000, [this, frame] {
                           Save(frame, u"06-ports-view"_s);
                       }});
    // The detail of a connected port.
    m_steps.push_back({200, [this, frame] {
                           CCwadminDoc& doc = frame->Document();
                           const int number = doc.GetServerNumberByName(doc.m_selectedServer);
                           if (number < 0)
                               return;
                           const CServer& server = doc.Servers()[std::size_t(number)];
                           QString port, user;
                           {
                               auto lock = server.Lock();
                               for (int i = 0; i < server.SlotCount() && port.isEmpty(); ++i)
                                   if (server.m_ports[i].user[0] != '\0') {
                                       port = QString::fromLatin1(server.m_ports[i].name);
                                       user = QString::fromLatin1(server.m_ports[i].user);
                                   }
                               if (port.isEmpty() && server.SlotCount() > 0)
                                   port = QString::fromLatin1(server.m_ports[0].name);
                           }
                           m_user = user.section(u'\\', 1);
                           doc.m_selectionKind = 3;
                           doc.m_selectedPort = port;
                           frame->InvalidateShownKind();
                           doc.UpdateAllViews(nullptr, 23);
                       }});
    m_steps.push_back({2500, [this, frame] {
                           Save(frame, u"07-port-detail"_s);
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"08-port-properties"_s, [frame] { frame->OnPortProperties(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"09-simulate-sessions"_s, [frame] { frame->OnToolsSimulate(); });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"10-message-to-user"_s, [this, frame] {
                               CMessageToUser dialog(frame->Document(),
                                                     m_user.isEmpty() ? u"alice"_s : m_user, frame);
                               dialog.exec();
                           });
                       }});
    // The accounts: all of them, then the first group of the first domain, and the printout.
    m_steps.push_back({200, [frame] {
                           if (CNodeView* tree = frame->NodeView())
                               tree->setCurrentItem(tree->AccountsRoot());
                       }});
    m_steps.push_back({1500, [this, frame] {
                           Save(frame, u"11-users-all"_s);
                           auto* users = qobject_cast<CUsersView*>(frame->RightView());
                           if (!users)
                               return;
                           users->SetLimitColumns(true);
                           QApplication::processEvents();
                           QScrollBar* across = users->List()->horizontalScrollBar();
                           across->setValue(across->maximum());
                           QApplication::processEvents();
                           Save(frame, u"12-users-limits"_s);
                           users->SetLimitColumns(false);
                           QPrinter printer(QPrinter::HighResolution);
                           printer.setOutputFileName(QDir(m_folder).filePath(u"14-users-print.pdf"_s));
                           users->Print(&printer);
                       }});
    m_steps.push_back({200, [this, frame] {
                           if (auto* users = qobject_cast<CUsersView*>(frame->RightView()))
                               CaptureModal(u"13-users-print-preview"_s,
                                            [users] { users->OnFilePrintPreview(); });
                       }});
    m_steps.push_back({200, [frame] {
                           CNodeView* tree = frame->NodeView();
                           QTreeWidgetItem* domain = tree ? tree->AccountsRoot()->child(0) : nullptr;
                           if (!domain)
                               return;
                           tree->expandItem(domain);
                           for (int i = 0; i < domain->childCount(); ++i)
                               if (CNodeView::Image(domain->child(i)) == 10) {
                                   tree->setCurrentItem(domain->child(i));
                                   break;
                               }
                       }});
    m_steps.push_back({1500, [this, frame] {
                           Save(frame, u"15-users-group"_s);
                       }});
    AddHistorySteps(frame);
    AddStatsSteps(frame);
    AddSettingsSteps(frame);
    AddSearchSteps(frame);
    AddProfileSteps(frame);
    m_steps.push_back({500, [this] {
                           QTextStream(stdout) << "Saved " << m_saved.size() << " pictures into "
                                               << QDir(m_folder).absolutePath() << "\n";
                           QApplication::quit();
                       }});
    QTimer::singleShot(0, this, &CScreenshotTour::Next);
}

void CScreenshotTour::Next() {
    if (m_next >= m_steps.size())
        return;
    const Step step = m_steps[m_next++];
    QTimer::singleShot(step.delayMs, this, [this, step] {
        step.action();
        Next();
    });
}

void CScreenshotTour::Save(QWidget* widget, const QString& name) {
    const QString path = QDir(m_folder).filePath(name + u".png"_s);
    if (widget->grab().save(path))
        m_saved << path;
}

void CScreenshotTour::CaptureModal(const QString& name, const std::function<void()>& open,
                                   const std::function<void(QWidget*)>& prepare) {
    // The dialog runs its own loop; a timer inside it takes the picture.
    auto* poll = new QTimer(this);
    auto waited = std::make_shared<int>(0);
    connect(poll, &QTimer::timeout, this, [this, poll, waited, name, prepare] {
        QWidget* modal = QApplication::activeModalWidget();
        *waited += 100;
        if (!modal && *waited < 5000)
            return;
        if (modal && *waited < 1500)
            return; // let it fill itself first
        poll->stop();
        poll->deleteLater();
        if (!modal)
            return;
        Save(modal, name);
        if (prepare)
            prepare(modal);
        if (auto* dialog = qobject_cast<QDialog*>(modal))
            dialog->reject();
        else
            modal->close();
    });
    poll->start(100);
    open();
}

void CScreenshotTour::AddHistorySteps(CMainFrame* frame) {
    // The day's history of the whole network.
    m_steps.push_back({200, [frame] {
                           if (CNodeView* tree = frame->NodeView())
                               tree->setCurrentItem(tree->ServersRoot());
                           frame->OnViewHistory();
                       }});
    m_steps.push_back({3000, [this, frame] {
                           Save(frame, u"21-log-view-all"_s);
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"22-customize-view"_s, [frame] {
                               if (auto* view = dynamic_cast<CLogView*>(frame->RightView()))
                                   view->OnCustomizeView();
                           });
                       }});
    m_steps.push_back({200, [this, frame] {
                           CaptureModal(u"23-log-print-preview"_s, [frame] { frame->OnFilePrintPreview(); });
                       }});
    // The same printout on paper, as a PDF and, where poppler is installed, its first page as a picture.
    m_steps.push_back({200, [this, frame] {
                           CRightView* view = frame->RightView();
                           if (!view || !view->CanPrint())
                               return;
                           const QString pdf = QDir(m_folder).filePath(u"24-log-print.pdf"_s);
                           {
                               QPrinter printer(QPrinter::HighResolution);
                               printer.setOutputFormat(QPrinter::PdfFormat);
                               printer.setOutputFileName(pdf);
                               view->Print(&printer);
                           }
                           m_saved << pdf;
                           const QString convert = QStandardPaths::findExecutable(u"pdftoppm"_s);
                           if (!convert.isEmpty() &&
                               QProcess::execute(convert, {u"-png"_s, u"-r"_s, u"100"_s, u"-f"_s, u"1"_s,
                                                           u"-l"_s, u"1"_s, u"-singlefile"_s, pdf,
                                                           QDir(m_folder).filePath(u"24-log-print"_s)}) == 0)
                               m_saved << QDir(m_folder).filePath(u"24-log-print.png"_s);
                       }});
    // One account's events: the first account the day logged.
    m_steps.push_back({200, [frame] {
                           auto* view = dynamic_cast<CLogView*>(frame->RightView());
                           if (!view || view->Model()->rowCount() == 0)
                               return;
                           const auto store = frame->Document().LogRecords();
                           const QString account = store->Record(view->Model()->RecordAt(0)).user;
                           CCwadminDoc& doc = frame->Document();
                           doc.m_selectionKind = NodeKind::User;
                           doc.m_selectedDomain = account.section(u'\\', 0, 0);
                           doc.m_selectedUser = account.section(u'\\', 1);
                           frame->ArrangeViews();
                       }});
    m_steps.push_back({2500, [this, frame] {
                           Save(frame, u"25-log-view-user"_s);
                       }});
}
