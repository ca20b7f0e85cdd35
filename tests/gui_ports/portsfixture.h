#pragma once
// What the port window tests share: settings kept away from the user's own,
// the main window with its tree, and sessions put straight into a host's port
// table, as the remote-access service would record them.

#include "gui/frame/mainframe.h"
#include "gui/views/newport.h"
#include "gui/views/nodeview.h"
#include "gui/views/portsview.h"
#include "platform/site/sitedirectory.h"
#include "support/testconsole.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDialog>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <functional>

namespace PortsFixture {

// A session start: 2023-11-14 22:13:20 UTC, 23:13:20 in Berlin.
inline constexpr qint64 kStart = 1700000000;

inline void IsolateSettings(const char* area) {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("CallwardenTests"));
    QCoreApplication::setApplicationName(QString::fromLatin1(area));
    QSettings().clear();
}

inline CMainFrame& Frame(CTestConsole& console) {
    CMainFrame& frame = console.Frame();
    if (!frame.NodeView()->ServersRoot())
        frame.NodeView()->PopulateTree();
    return frame;
}

// Changes one port of a host's table; false when there is no such port.
inline bool EditPort(CTestConsole& console, const QString& host, const QString& port,
                     const std::function<void(OCL::Site::PortRecord&)>& change) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    const auto info = site.FindHost(host.toStdString());
    if (!info)
        return false;
    bool found = false;
    const bool written = site.EditPorts(*info, [&](std::vector<OCL::Site::PortRecord>& ports) {
        for (OCL::Site::PortRecord& record : ports)
            if (record.name == port.toStdString()) {
                change(record);
                found = true;
            }
        return found;
    });
    return found && written;
}

inline bool RemovePort(CTestConsole& console, const QString& host, const QString& port) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    const auto info = site.FindHost(host.toStdString());
    return info && site.EditPorts(*info, [&](std::vector<OCL::Site::PortRecord>& ports) {
        return std::erase_if(ports, [&](const auto& p) { return p.name == port.toStdString(); }) > 0;
    });
}

// A session of CORP\<user> from <computer> at <ip>.
inline bool Connect(CTestConsole& console, const QString& host, const QString& port, const QString& user,
                    const QString& ip, qint64 start = kStart,
                    const QString& computer = QStringLiteral("WS-1")) {
    return EditPort(console, host, port, [&](OCL::Site::PortRecord& p) {
        p.user = user.toStdString();
        p.domain = "CORP";
        p.computer = computer.toStdString();
        p.start = start;
        p.ip = ip.toStdString();
    });
}

inline bool HangUp(CTestConsole& console, const QString& host, const QString& port) {
    return EditPort(console, host, port, [](OCL::Site::PortRecord& p) { p.EndSession(); });
}

inline OCL::Site::PortRecord PortOf(CTestConsole& console, const QString& host, const QString& port) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    const auto info = site.FindHost(host.toStdString());
    if (info)
        for (const OCL::Site::PortRecord& record : site.ReadPorts(*info))
            if (record.name == port.toStdString())
                return record;
    return {};
}

// A ports view showing server, its own timer stopped so that tests drive it.
inline std::unique_ptr<CPortsView> OpenView(CTestConsole& console, const QString& server) {
    auto view = std::make_unique<CPortsView>(console.Doc(), Frame(console));
    view->OnInitialUpdate();
    view->PollTimer().stop();
    console.Doc().m_selectedServer = server;
    view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
    return view;
}

// One poll of the view, merged.
inline bool Poll(CPortsView& view) {
    QSignalSpy merged(&view, &CPortsView::pollMerged);
    if (!view.StartUpdateThread())
        return false;
    return merged.wait(10000);
}

// The port detail view of a port, as the tree's notice opens it; its timer
// stopped so that tests drive it.
inline std::unique_ptr<CNewPort> OpenDetail(CTestConsole& console, const QString& server,
                                            const QString& port) {
    auto view = std::make_unique<CNewPort>(console.Doc(), Frame(console));
    console.Doc().m_selectionKind = NodeKind::Port;
    console.Doc().m_selectedServer = server;
    console.Doc().m_selectedPort = port;
    view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
    view->RefreshTimer().stop();
    return view;
}

// Answers the next modal dialogs: records each title, then closes it.
class CModalCloser : public QObject {
public:
    explicit CModalCloser(QObject* parent = nullptr) : QObject(parent) { startTimer(20); }
    QStringList titles;
    QStringList classes;
    QList<QPointer<QWidget>> dialogs;

protected:
    void timerEvent(QTimerEvent*) override {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || (!m_last.isNull() && m_last.data() == modal))
            return;
        m_last = modal;
        dialogs.append(modal);
        titles.append(modal->windowTitle());
        classes.append(QString::fromLatin1(modal->metaObject()->className()));
        if (auto* dialog = qobject_cast<QDialog*>(modal))
            dialog->reject();
        else
            modal->close();
    }

private:
    QPointer<QWidget> m_last;
};

} // namespace PortsFixture
