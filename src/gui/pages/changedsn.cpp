#include "gui/pages/changedsn.h"

#include "core/pages/exportsettings.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QLineEdit* Edit(const QString& name, const QString& text, int length, QWidget* parent) {
    auto* edit = new QLineEdit(text, parent);
    edit->setObjectName(name);
    edit->setMaxLength(length);
    return edit;
}

} // namespace

CChangeDSN::CChangeDSN(const QString& server, const QString& dsn, const QString& account,
                       const QString& password, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(u"Database Login Information"_s);
    setObjectName(u"changeDsn"_s);
    auto* layout = new QVBoxLayout(this);
    auto* note =
        new QLabel(u"Specify Database login information below. Note that the DSN that you intend to "
                   u"utilize, must have been created as a \"System DSN\" on the %1 computer."_s.arg(server),
                   this);
    note->setObjectName(u"note"_s);
    note->setWordWrap(true);
    layout->addWidget(note);

    auto* form = new QFormLayout;
    m_dsn = Edit(u"dsn"_s, dsn, CExportSettings::kDsnLength, this);
    m_account = Edit(u"account"_s, account, CExportSettings::kAccountLength, this);
    m_password = Edit(u"password"_s, password, CExportSettings::kPasswordLength, this);
    m_password->setEchoMode(QLineEdit::Password);
    form->addRow(u"Data Source Name:"_s, m_dsn);
    form->addRow(u"User Account:"_s, m_account);
    form->addRow(u"Account Password:"_s, m_password);
    layout->addLayout(form);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    // Wide enough that the note wraps to a few lines, not a narrow column.
    setMinimumWidth(note->fontMetrics().horizontalAdvance(u'x') * 60);
    m_dsn->setFocus();
}

QString CChangeDSN::Dsn() const {
    return m_dsn->text();
}
QString CChangeDSN::Account() const {
    return m_account->text();
}
QString CChangeDSN::Password() const {
    return m_password->text();
}
