#pragma once
// The console's help: HTML topics, one per context number, beside the program
// in the folder "help" ("topic<N>.html", the contents "index.html"), opened in
// the desktop's browser through the shell.

#include "platform/shell.h"

#include <QString>

namespace CHelp {

inline constexpr int Contents = 0;

QString TopicPath(int context);
// The welcome page shown once to a new administrator.
QString IntroPath();
// Opens the topic; the contents when context is Contents.
void Open(OCL::IShell& shell, int context);

} // namespace CHelp
