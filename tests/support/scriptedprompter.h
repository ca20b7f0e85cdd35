#pragma once
// A prompter for tests: answers from a script, keeps a record of every box.

#include "core/ui/prompter.h"

#include <QList>
#include <QMutex>
#include <QString>

#include <functional>

class CScriptedPrompter final : public OCL::IPrompter {
public:
    struct Shown {
        QString text;
        QString caption;
        Icon icon;
        Buttons buttons;
    };

    // Answers given in order; when the script runs out, Ok/Yes... the first button.
    void Script(std::initializer_list<Answer> answers);

    Answer Message(const QString& text, const QString& caption, Icon icon, Buttons buttons) override;
    QString SaveFileName(const QString& caption, const QString& fileName, const QString& filter,
                         const QString& defaultSuffix) override;
    QString OpenFileName(const QString& caption, const QString& fileName, const QString& filter) override;

    QList<Shown> Boxes() const;
    // Paths the save-file dialogs answer, in order; then they are cancelled.
    QStringList saveFileNames;
    // The captions of the save-file dialogs shown.
    QStringList saveCaptions;
    // Runs with each box before it is answered, as a modal box's event loop would.
    std::function<void(const Shown&)> onMessage;
    QStringList Texts() const;
    void Clear();

private:
    mutable QMutex m_mutex;
    QList<Answer> m_answers;
    QList<Shown> m_shown;
};
