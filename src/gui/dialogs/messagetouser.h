#pragma once
// "Message to %s": sends a text to a connected user with the messenger command.
// The command is started and left to itself: nothing waits for it or checks it.

#include <QDialog>

class CCwadminDoc;
class QPlainTextEdit;
class QPushButton;

class CMessageToUser : public QDialog {
    Q_OBJECT
public:
    CMessageToUser(CCwadminDoc& document, const QString& user, QWidget* parent = nullptr);
    ~CMessageToUser() override;

    // Starts "NET SEND <user> <text>" hidden and closes the dialog.
    void OnSend();

    QPlainTextEdit* TextEdit() const { return m_text; }
    QPushButton* SendButton() const { return m_send; }
    QPushButton* CancelButton() const { return m_cancel; }

    static QString CommandLine(const QString& user, const QString& text);

private:
    CCwadminDoc& m_doc;
    QString m_user;
    QPlainTextEdit* m_text;
    QPushButton* m_send;
    QPushButton* m_cancel;
};
