#include "gui/app/dialogprompter.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QThread>

CDialogPrompter::Answer CDialogPrompter::Message(const QString& text, const QString& caption, Icon icon,
                                                 Buttons buttons) {
    if (QThread::currentThread() == thread())
        return Show(text, caption, icon, buttons);
    if (buttons == Buttons::Ok) {
        QMetaObject::invokeMethod(
            this, [this, text, caption, icon] { Show(text, caption, icon, Buttons::Ok); },
            Qt::QueuedConnection);
        return Ok;
    }
    Answer answer = Cancel;
    QMetaObject::invokeMethod(
        this, [&] { answer = Show(text, caption, icon, buttons); }, Qt::BlockingQueuedConnection);
    return answer;
}

CDialogPrompter::Answer CDialogPrompter::Show(const QString& text, const QString& caption, Icon icon,
                                              Buttons buttons) {
    QMessageBox box(m_window);
    box.setWindowTitle(caption.isEmpty() ? QApplication::applicationDisplayName() : caption);
    box.setText(text);
    switch (icon) {
    case Icon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    case Icon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case Icon::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case Icon::Error:
        box.setIcon(QMessageBox::Critical);
        break;
    case Icon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    }
    switch (buttons) {
    case Buttons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case Buttons::OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case Buttons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case Buttons::YesNoCancel:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        break;
    case Buttons::YesAllNoCancel:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No |
                               QMessageBox::Cancel);
        box.button(QMessageBox::Yes)->setText(QStringLiteral("&Yes"));
        box.button(QMessageBox::YesToAll)->setText(QStringLiteral("Yes to &All"));
        box.button(QMessageBox::No)->setText(QStringLiteral("&No"));
        box.button(QMessageBox::Cancel)->setText(QStringLiteral("&Cancel"));
        break;
    }
    switch (box.exec()) {
    case QMessageBox::YesToAll:
        return YesToAll;
    case QMessageBox::Yes:
        return Yes;
    case QMessageBox::No:
        return No;
    case QMessageBox::Cancel:
        return Cancel;
    default:
        return Ok;
    }
}

QString CDialogPrompter::SaveFileName(const QString& caption, const QString& fileName, const QString& filter,
                                      const QString& defaultSuffix) {
    QFileDialog dialog(m_window, caption, fileName, filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(defaultSuffix);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, false);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

QString CDialogPrompter::OpenFileName(const QString& caption, const QString& fileName,
                                      const QString& filter) {
    return QFileDialog::getOpenFileName(m_window, caption, fileName, filter);
}
