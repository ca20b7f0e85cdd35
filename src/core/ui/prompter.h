#pragma once
// Everything the console says to the user goes through one prompter: the
// application shows real dialogs, tests script the answers and keep a record.

#include <QString>
#include <QStringList>

namespace OCL {

class IPrompter {
public:
    enum class Icon { None, Information, Warning, Error, Question };
    // YesAllNoCancel: "&Yes", "Yes to &All", "&No", "&Cancel".
    enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel, YesAllNoCancel };
    // The system's answer codes, so callers can compare with them directly.
    enum Answer { Ok = 1, Cancel = 2, Yes = 6, No = 7, YesToAll = 20 };

    virtual ~IPrompter() = default;

    // A message box. An empty caption means the application's name. Safe to call
    // from any thread: a box that only informs (Buttons::Ok) does not wait there.
    virtual Answer Message(const QString& text, const QString& caption, Icon icon, Buttons buttons) = 0;

    // File dialogs: the chosen path, or an empty string when cancelled.
    virtual QString SaveFileName(const QString& caption, const QString& fileName, const QString& filter,
                                 const QString& defaultSuffix) = 0;
    virtual QString OpenFileName(const QString& caption, const QString& fileName, const QString& filter) = 0;

    // Shorthands for the common boxes.
    void Inform(const QString& text, Icon icon = Icon::None) { Message(text, {}, icon, Buttons::Ok); }
    Answer Ask(const QString& text, const QString& caption = {}, Icon icon = Icon::Question) {
        return Message(text, caption, icon, Buttons::YesNo);
    }
};

} // namespace OCL
