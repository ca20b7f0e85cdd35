#pragma once
// "Database Login Information": the data source name, account and password the
// service logs in with when it exports.

#include <QDialog>

class QLineEdit;

class CChangeDSN : public QDialog {
    Q_OBJECT
public:
    CChangeDSN(const QString& server, const QString& dsn, const QString& account, const QString& password,
               QWidget* parent = nullptr);

    QString Dsn() const;
    QString Account() const;
    QString Password() const;

private:
    QLineEdit* m_dsn;
    QLineEdit* m_account;
    QLineEdit* m_password;
};
