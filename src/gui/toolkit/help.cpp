#include "gui/toolkit/help.h"

#include <QCoreApplication>
#include <QDir>

using namespace Qt::StringLiterals;

QString CHelp::TopicPath(int context) {
    const QDir folder(QCoreApplication::applicationDirPath() + u"/help"_s);
    return folder.filePath(context == Contents ? u"index.html"_s : u"topic%1.html"_s.arg(context));
}

QString CHelp::IntroPath() {
    return QDir(QCoreApplication::applicationDirPath() + u"/help"_s).filePath(u"intro.htm"_s);
}

void CHelp::Open(OCL::IShell& shell, int context) {
    shell.Open("open", QDir::toNativeSeparators(TopicPath(context)).toStdString());
}
