#pragma once
// The prompter of the running console: Qt message boxes and file dialogs. Boxes
// asked for from a worker thread are shown by the user-interface thread; one
// that only informs does not keep the worker waiting.

#include "core/ui/prompter.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

class CDialogPrompter final : public QObject, public OCL::IPrompter {
    Q_OBJECT
public:
    explicit CDialogPrompter(QObject* parent = nullptr) : QObject(parent) {}

    // The window boxes are shown over (the main window once it exists).
    void SetParentWindow(QWidget* window) { m_window = window; }

    Answer Message(const QString& text, const QString& caption, Icon icon, Buttons buttons) override;
    QString SaveFileName(const QString& caption, const QString& fileName, const QString& filter,
                         const QString& defaultSuffix) override;
    QString OpenFileName(const QString& caption, const QString& fileName, const QString& filter) override;

private:
    Answer Show(const QString& text, const QString& caption, Icon icon, Buttons buttons);

    QPointer<QWidget> m_window;
};
