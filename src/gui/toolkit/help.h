#pragma once
// The console's help: HTML topics, one per context number ("topic<N>.html", the
// contents "index.html"), shown in the console's own help window, so that help
// works on a machine without a web browser.

#include <QString>

class CHelpWindow;
class QWidget;

namespace CHelp {

inline constexpr int Contents = 0;

// The folder of the topics: "help" beside the program, or the installed
// "share/callwarden/help" beside its "bin"; empty when neither exists.
QString Folder();
// The file of a context number.
QString TopicFile(int context);
// The welcome page shown once to a new administrator.
QString IntroFile();

// Shows the one help window at the topic, over the window of from (so that it
// can be used beside a modal dialog); returns it.
CHelpWindow* Show(int context, QWidget* from);
CHelpWindow* ShowFile(const QString& file, QWidget* from);
// The help window, if one is open.
CHelpWindow* Window();

} // namespace CHelp
