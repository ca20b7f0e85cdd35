#pragma once
// What the window tests share: settings kept away from the user's own, the
// main window with its tree, a small network with a master, sessions put
// straight into a host's port table as the remote-access service records them,
// a service pipe that answers as told, and widgets driven as a user would.

#include "gui/frame/mainframe.h"
#include "gui/views/newport.h"
#include "gui/views/nodeview.h"
#include "gui/views/portsview.h"
#include "platform/site/sitedirectory.h"
#include "support/testconsole.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <cstring>
#include <functional>

namespace GuiTest {

// A session start: 2023-11-14 22:13:20 UTC, 23:13:20 in Berlin.
inline constexpr qint64 kStart = 1700000000;
inline const QString kMaster = QStringLiteral("PDC1");
inline const QString kMember = QStringLiteral("RAS2");

inline void IsolateSettings(const char* area) {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("CallwardenTests"));
    QCoreApplication::setApplicationName(QString::fromLatin1(area));
    QSettings().clear();
}

// The main window with its tree filled, as the application has it once started.
inline CMainFrame& Frame(CTestConsole& console) {
    CMainFrame& frame = console.Frame();
    if (!frame.NodeView()->ServersRoot())
        frame.NodeView()->PopulateTree();
    return frame;
}

// PDC1 (classic RAS, COM1-2, master) controls SALES, RAS2 (Routing and RAS,
// VPN1-1 to 3) controls MARKETING; LAB has no controller; OTHERNET belongs to
// another network provider.
inline void WriteNetwork(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, kMaster, QStringLiteral("RAS"), QStringLiteral("4.0"), 2, true);
    CTestConsole::AddServer(writer, kMember, QStringLiteral("RRAS"), QStringLiteral("5.0"), 3, false,
                            kMaster);
    const QString bob = QStringLiteral("bob");
    writer.AddDomain(QStringLiteral("SALES"), kMaster);
    writer.AddGroup(QStringLiteral("SALES"), QStringLiteral("Sales"), {bob});
    writer.AddGroup(QStringLiteral("SALES"), QStringLiteral("Remote Users"), {bob});
    writer.AddUser(QStringLiteral("SALES"), bob);
    writer.AddDomain(QStringLiteral("MARKETING"), kMember);
    writer.AddGroup(QStringLiteral("MARKETING"), QStringLiteral("Field Staff"), {});
    writer.AddUser(QStringLiteral("MARKETING"), QStringLiteral("ann"));
    writer.AddDomain(QStringLiteral("LAB"), QString());
    writer.AddDomain(QStringLiteral("OTHERNET"), QString(), QStringLiteral("Other Network"));
}

// Changes one port of a host's table; false when there is no such port.
inline bool EditPort(CTestConsole& console, const QString& host, const QString& port,
                     const std::function<void(OCL::Site::PortRecord&)>& change) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    const auto info = site.FindHost(host.toStdString());
    bool found = false;
    return info && site.EditPorts(*info, [&](std::vector<OCL::Site::PortRecord>& ports) {
        for (OCL::Site::PortRecord& record : ports)
            if (record.name == port.toStdString()) {
                change(record);
                found = true;
            }
        return found;
    }) && found;
}

inline bool RemovePort(CTestConsole& console, const QString& host, const QString& port) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    const auto info = site.FindHost(host.toStdString());
    return info && site.EditPorts(*info, [&](std::vector<OCL::Site::PortRecord>& ports) {
        return std::erase_if(ports, [&](const auto& p) { return p.name == port.toStdString(); }) > 0;
    });
}

// A session of CORP\<user> from WS-1 at <ip>.
inline bool Connect(CTestConsole& console, const QString& host, const QString& port, const QString& user,
                    const QString& ip) {
    return EditPort(console, host, port, [&](OCL::Site::PortRecord& p) {
        p.user = user.toStdString();
        p.domain = "CORP";
        p.computer = "WS-1";
        p.start = kStart;
        p.ip = ip.toStdString();
    });
}

inline bool HangUp(CTestConsole& console, const QString& host, const QString& port) {
    return EditPort(console, host, port, [](OCL::Site::PortRecord& p) { p.EndSession(); });
}

inline bool PortConnected(CTestConsole& console, const QString& host, const QString& port) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    const auto info = site.FindHost(host.toStdString());
    if (info)
        for (const OCL::Site::PortRecord& record : site.ReadPorts(*info))
            if (record.name == port.toStdString())
                return record.Connected();
    return false;
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
    return view.StartUpdateThread() && merged.wait(10000);
}

// The port detail view as the tree's notice opens it, its timer stopped.
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

// The service's pipe as the test tells it to answer: every call is recorded; with
// a reply set it is answered after delayMs on the test clock, else it goes on
// to the site (where nothing listens).
class CScriptedPipe final : public OCL::IServicePipe {
public:
    CScriptedPipe(CTestConsole& console, std::unique_ptr<OCL::IServicePipe> site)
        : m_console(console), m_site(std::move(site)) {}
    OCL::DWORD Call(const std::string& pipeName, const void* request, OCL::DWORD requestSize, void* reply,
                    OCL::DWORD replySize, OCL::DWORD* bytesRead, OCL::DWORD timeoutMs) override {
        pipes.append(QString::fromStdString(pipeName));
        requests.append(QByteArray(static_cast<const char*>(request), qsizetype(requestSize)));
        if (answer.isNull())
            return m_site->Call(pipeName, request, requestSize, reply, replySize, bytesRead, timeoutMs);
        if (m_console.Clock())
            m_console.Clock()->Advance(delayMs);
        *bytesRead = OCL::DWORD(std::min(answer.size(), qsizetype(replySize)));
        std::memcpy(reply, answer.constData(), *bytesRead);
        return 0;
    }
    QByteArray answer;
    int delayMs = 0;
    QStringList pipes;
    QList<QByteArray> requests;

private:
    CTestConsole& m_console;
    std::unique_ptr<OCL::IServicePipe> m_site;
};

inline CScriptedPipe& ScriptPipe(CTestConsole& console) {
    auto pipe = std::make_unique<CScriptedPipe>(console, std::move(console.Platform().pipe));
    CScriptedPipe& ref = *pipe;
    console.Platform().pipe = std::move(pipe);
    return ref;
}

template <typename T>
T* Child(QObject* parent, const QString& name) {
    T* child = parent->findChild<T*>(name);
    if (!child)
        qWarning("no %s", qPrintable(name));
    return child;
}

// Check boxes are clicked on their indicator, which a stretched box's middle misses.
inline void Click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

inline void Retype(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

inline QTreeWidgetItem* FindItem(QTreeWidget* tree, const QString& text) {
    const QList<QTreeWidgetItem*> found = tree->findItems(text, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? nullptr : found.first();
}

inline void ClickItem(QTreeWidget* tree, const QString& text, Qt::KeyboardModifiers modifiers = {}) {
    QTreeWidgetItem* item = FindItem(tree, text);
    tree->scrollToItem(item);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, modifiers, tree->visualItemRect(item).center());
}

// Runs step; every modal dialog or popup menu it opens is handed to action (if
// any) and then closed unless action closed it. Returns their titles.
inline QStringList WithModals(const std::function<void()>& step,
                              const std::function<void(QWidget*)>& action = {}) {
    QStringList titles;
    QPointer<QWidget> last;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        QWidget* shown = QApplication::activePopupWidget();
        if (!shown)
            shown = QApplication::activeModalWidget();
        if (!shown || shown == last)
            return;
        last = shown;
        titles.append(shown->windowTitle());
        if (action)
            action(shown);
        auto* dialog = qobject_cast<QDialog*>(shown);
        if (dialog && dialog->isVisible())
            dialog->reject();
        else if (!dialog && shown->isVisible())
            shown->close();
    });
    timer.start(10);
    step();
    return titles;
}

} // namespace GuiTest
