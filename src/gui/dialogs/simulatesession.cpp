#include "gui/dialogs/simulatesession.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "core/pipe/servicepipeclient.h"
#include "gui/toolkit/help.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

CSimulateSession::CSimulateSession(CCwadminDoc& document, QWidget* parent)
    : QDialog(parent), m_doc(document) {
    setObjectName(u"simulateSession"_s);
    setWindowTitle(u"Simulate Activity"_s);
    auto* layout = new QHBoxLayout(this);

    auto* left = new QVBoxLayout;
    auto* form = new QFormLayout;
    m_servers = new QComboBox(this);
    m_servers->setObjectName(u"servers"_s);
    m_ports = new QComboBox(this);
    m_ports->setObjectName(u"ports"_s);
    m_account = new QLineEdit(this);
    m_account->setObjectName(u"account"_s);
    m_account->setPlaceholderText(u"DOMAIN\\Account"_s);
    m_account->setMinimumWidth(220);
    form->addRow(u"&Server:"_s, m_servers);
    form->addRow(u"&Port:"_s, m_ports);
    form->addRow(u"&Account:"_s, m_account);
    left->addLayout(form);

    auto* response = new QGroupBox(u"Server Response"_s, this);
    auto* responseLayout = new QVBoxLayout(response);
    m_outcome = new QLabel(response);
    m_outcome->setObjectName(u"outcome"_s);
    QFont bold = m_outcome->font();
    bold.setBold(true);
    m_outcome->setFont(bold);
    m_outcome->setMinimumHeight(m_outcome->fontMetrics().height());
    m_timing = new QLabel(response);
    m_timing->setObjectName(u"timing"_s);
    m_timing->setMinimumHeight(m_timing->fontMetrics().height());
    responseLayout->addWidget(m_outcome);
    responseLayout->addWidget(m_timing);
    left->addWidget(response);
    left->addStretch(1);
    layout->addLayout(left, 1);

    auto* buttons = new QVBoxLayout;
    m_connect = new QPushButton(u"&Connect"_s, this);
    m_connect->setObjectName(u"connect"_s);
    m_connect->setDefault(true);
    m_hangUp = new QPushButton(u"&Hang Up"_s, this);
    m_hangUp->setObjectName(u"hangUp"_s);
    m_close = new QPushButton(u"Close"_s, this);
    m_close->setObjectName(u"close"_s);
    m_help = new QPushButton(u"&Help"_s, this);
    m_help->setObjectName(u"help"_s);
    buttons->addWidget(m_connect);
    buttons->addWidget(m_hangUp);
    buttons->addSpacing(12);
    buttons->addWidget(m_close);
    buttons->addWidget(m_help);
    buttons->addStretch(1);
    layout->addLayout(buttons);

    CServerList& servers = m_doc.Servers();
    for (std::size_t i = 0; i < servers.GetCount(); ++i)
        m_servers->addItem(servers[i].Name());
    m_servers->setCurrentIndex(m_servers->count() > 0 ? 0 : -1);
    FillPorts();

    connect(m_servers, &QComboBox::currentIndexChanged, this, &CSimulateSession::FillPorts);
    connect(m_connect, &QPushButton::clicked, this, &CSimulateSession::OnConnect);
    connect(m_hangUp, &QPushButton::clicked, this, &CSimulateSession::OnHangUp);
    connect(m_close, &QPushButton::clicked, this, &CSimulateSession::reject);
    connect(m_help, &QPushButton::clicked, this, [this] { CHelp::Show(kHelpContext, this); });
    UpdateWidgets();
}

CSimulateSession::~CSimulateSession() = default;

QString CSimulateSession::OutcomeText() const {
    return m_outcome->text();
}
QString CSimulateSession::TimingText() const {
    return m_timing->text();
}

QString CSimulateSession::ClosingQuestion() {
    return u"If you have connected a user to a port, but forgotten to also\n"
           u"disconnect that user, you should disconnect the user from within this\n"
           u"simulation dialog.\n\n"
           u"Otherwise, Callwarden will still believe this user is connected\n"
           u"and may therefore possibly deny that user to connect if you have\n"
           u"assigned that user a profile which does not allow multiple logins.\n\n"
           u"Do you still want to exit the Simulation?"_s;
}

void CSimulateSession::FillPorts() {
    m_ports->clear();
    const int number = m_doc.GetServerNumberByName(m_servers->currentText());
    QStringList names;
    if (number >= 0) {
        const CServer& server = m_doc.Servers()[std::size_t(number)];
        auto lock = server.Lock();
        if (server.m_portCount != 0 && server.m_portCount != kUnknown)
            for (int i = 0; i < server.SlotCount(); ++i)
                names.append(CAnsi::ToQString(CAnsi::FieldText(server.m_ports[i].name)));
    }
    m_ports->addItems(names);
    m_ports->setCurrentIndex(names.isEmpty() ? -1 : 0);
    m_ports->setEnabled(!names.isEmpty());
}

void CSimulateSession::UpdateWidgets() {
    const bool anyServer = m_servers->count() > 0;
    m_connect->setEnabled(anyServer);
    m_hangUp->setEnabled(anyServer);
}

void CSimulateSession::OnConnect() {
    Send(Action::Connect);
}
void CSimulateSession::OnHangUp() {
    Send(Action::HangUp);
}

void CSimulateSession::Send(Action action) {
    const CEnvironment& env = m_doc.Environment();
    const QString account = m_account->text();
    if (!account.contains(u'\\')) {
        env.Prompter().Message(u"Please specify the account name in the form of DOMAIN\\Account."_s, {},
                               IPrompter::Icon::Information, IPrompter::Buttons::Ok);
        return;
    }
    const QString port = m_ports->currentText();
    const QString server = m_servers->currentText();
    const QString console = CAnsi::ToQString(env.System().ComputerName());
    const QByteArray request =
        action == Action::Connect
            ? CServicePipeClient::ConnectRequest(port, account, console)
            : CServicePipeClient::HangUpRequest(port, account, console, env.Clock().Now());

    CServicePipeClient::Result result;
    {
        CWaitCursor wait(m_doc.Frame());
        result = m_doc.Pipe().Request(CServicePipeClient::PipeName(server, console), request,
                                      CServicePipeClient::kSimulatorReplySize);
    }
    if (result.error != OCL::Err::Success) {
        env.Prompter().Message(CServicePipeClient::FailureText(server, result.error), {},
                               IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        m_timing->clear();
        return;
    }
    if (action == Action::Connect) {
        switch (CServicePipeClient::ConnectOutcome(result.reply)) {
        case CServicePipeClient::Outcome::Accepted:
            m_outcome->setText(u"Session Accepted."_s);
            ++m_connectsAccepted;
            break;
        case CServicePipeClient::Outcome::NotAccepted:
            m_outcome->setText(u"Session Not Accepted."_s);
            break;
        case CServicePipeClient::Outcome::Unchanged:
            break;
        }
    } else {
        m_outcome->setText(u"Session Disconnected."_s);
        ++m_hangUpsSent;
    }
    m_timing->setText(u"(Server processed request in %1 msec)"_s.arg(qint32(result.elapsedMs)));
}

void CSimulateSession::reject() {
    if (m_connectsAccepted != m_hangUpsSent &&
        m_doc.Environment().Prompter().Message(ClosingQuestion(), u"Warning!"_s, IPrompter::Icon::Warning,
                                               IPrompter::Buttons::YesNo) != IPrompter::Yes)
        return;
    QDialog::reject();
}
