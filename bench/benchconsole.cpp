#include "benchconsole.h"

QApplication& CwBench::Application() {
    static int argc = 1;
    static char name[] = "cwbench";
    static char* argv[] = {name, nullptr};
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!application)
        application = new QApplication(argc, argv);
    return *application;
}
