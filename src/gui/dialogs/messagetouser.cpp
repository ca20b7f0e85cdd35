#include "gui/dialogs/messagetouser.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// ShowWindow's SW_HIDE: the command runs without a window.
constexpr int kHidden = 0;

} // namespace

CMessageToUser::CMessageToUser(CCwadminDoc& document, const QString& user, QWidget* parent)
    : QDialog(parent), m_doc(document), m_user(user) {
    setObjectName(u"messageToUser"_s);
    setWindowTitle(u"Message to %1"_s.arg(user));
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(u"&Message:"_s, this);
    layout->addWidget(label);
    m_text = new QPlainTextEdit(this);
    label->setBuddy(m_text);
    m_text->setObjectName(u"message"_s);
    m_text->setTabChangesFocus(true);
    m_text->setMinimumSize(340, 120);
    layout->addWidget(m_text, 1);

    auto* buttons = new QDialogButtonBox(this);
    m_send = buttons->addButton(u"&Send"_s, QDialogButtonBox::AcceptRole);
    m_send->setObjectName(u"send"_s);
    m_cancel = buttons->addButton(u"&Cancel"_s, QDialogButtonBox::RejectRole);
    m_cancel->setObjectName(u"cancel"_s);
    layout->addWidget(buttons);
    connect(m_send, &QPushButton::clicked, this, &CMessageToUser::OnSend);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    m_text->setFocus();
}

CMessageToUser::~CMessageToUser() = default;

QString CMessageToUser::CommandLine(const QString& user, const QString& text) {
    return u"NET SEND %1 %2"_s.arg(user, text);
}

void CMessageToUser::OnSend() {
    m_doc.Environment().Shell().Exec(CAnsi::FromQString(CommandLine(m_user, m_text->toPlainText())), kHidden);
    accept();
}
