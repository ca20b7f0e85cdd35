#pragma once
// What the window tests of the server area share: settings kept away from the
// user's own, and hosts that are on the network but not monitored yet.

#include "gui/frame/mainframe.h"
#include "gui/views/nodeview.h"
#include "support/testconsole.h"

#include <QCoreApplication>
#include <QSettings>
#include <QStandardPaths>

namespace GuiFixture {

// Column widths and placements go to a throwaway settings file.
inline void IsolateSettings() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("CallwardenTests"));
    QCoreApplication::setApplicationName(QStringLiteral("gui_servers"));
    QSettings().clear();
}

// The console's main window with its tree filled, as the application has it
// once started: every view-wide notice reaches the tree too.
inline CMainFrame& Frame(CTestConsole& console) {
    CMainFrame& frame = console.Frame();
    if (!frame.NodeView()->ServersRoot())
        frame.NodeView()->PopulateTree();
    return frame;
}

// A host the network knows but the console does not monitor: enough registry
// for the RAS kind check ("RAS Type" 1 for Routing and RAS).
inline void AddHost(CSiteWriter& writer, const QString& name, const QString& kind) {
    CSiteWriter::HostOptions options;
    options.rasKind = kind;
    options.majorVersion = 4;
    writer.AddHost(name, options);
    writer.SetRegString(name,
                        QStringLiteral("HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"),
                        QStringLiteral("CurrentVersion"), QStringLiteral("4.0"));
    writer.SetServiceDword(name, QStringLiteral("RAS Type"), kind == QStringLiteral("RRAS") ? 1 : 0);
}

} // namespace GuiFixture
