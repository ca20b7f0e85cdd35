#include "gui/toolkit/help.h"

#include "gui/toolkit/helpwindow.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {
QPointer<CHelpWindow> g_window;
}

QString CHelp::Folder() {
    const QDir program(QCoreApplication::applicationDirPath());
    for (const QString& candidate : {u"help"_s, u"../share/callwarden/help"_s})
        if (QFileInfo(program.filePath(candidate)).isDir())
            return QDir::cleanPath(program.filePath(candidate));
    return {};
}

QString CHelp::TopicFile(int context) {
    return context == Contents ? u"index.html"_s : u"topic%1.html"_s.arg(context);
}

QString CHelp::IntroFile() {
    return u"intro.htm"_s;
}

CHelpWindow* CHelp::Show(int context, QWidget* from) {
    return ShowFile(TopicFile(context), from);
}

CHelpWindow* CHelp::ShowFile(const QString& file, QWidget* from) {
    // Over the caller's window: a modal dialog blocks every window but its own.
    QWidget* host = from ? from->window() : QApplication::activeWindow();
    if (!g_window)
        g_window = new CHelpWindow(Folder(), host);
    else if (g_window->parentWidget() != host)
        g_window->setParent(host, g_window->windowFlags());
    g_window->Open(file);
    g_window->show();
    g_window->raise();
    g_window->activateWindow();
    return g_window;
}

CHelpWindow* CHelp::Window() {
    return g_window;
}
