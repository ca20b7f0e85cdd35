#include "gui/dialogs/servicestartstop.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "gui/app/icons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr int kTickMs = 1000;
// A server at this index ends the dialog at once; kept as the console always did.
constexpr int kOddIndex = 66;

} // namespace

CServiceStartStop::CServiceStartStop(CCwadminDoc& document, const QString& server, bool trackingService,
                                     bool start, QWidget* parent)
    : QDialog(parent), m_doc(document), m_server(server), m_trackingService(trackingService), m_start(start) {
    setObjectName(u"serviceStartStop"_s);
    setWindowTitle(start ? u"Start Service"_s : u"Stop Service"_s);

    const int number = m_doc.GetServerNumberByName(server);
    const bool classicRas = number < 0 || m_doc.Servers()[std::size_t(number)].m_rasKind == RasKindValue::Ras;
    QString action;
    if (trackingService)
        action = start ? u"Starting Callwarden on %1"_s : u"Stopping Callwarden on %1"_s;
    else if (start)
        action = classicRas ? u"Starting RAS on %1"_s : u"Starting RRAS on %1"_s;
    else
        action = !classicRas ? u"Stopping RRAS on %1"_s : u"Stopping RAS on %1"_s;

    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(14);
    auto* icon = new QLabel(this);
    using Command = CIcons::Command;
    const Command command = trackingService ? (start ? Command::StartService : Command::StopService)
                                            : (start ? Command::StartRas : Command::StopRas);
    icon->setPixmap(CIcons::CommandIcon(command).pixmap(32, 32));
    icon->setAlignment(Qt::AlignTop);
    layout->addWidget(icon);
    auto* texts = new QVBoxLayout;
    m_action = new QLabel(action.arg(server), this);
    m_action->setObjectName(u"actionText"_s);
    m_elapsed = new QLabel(u"0 seconds elapsed..."_s, this);
    m_elapsed->setObjectName(u"elapsedText"_s);
    texts->addWidget(m_action);
    texts->addWidget(m_elapsed);
    texts->addStretch(1);
    layout->addLayout(texts, 1);
    setMinimumWidth(320);

    m_timer.setObjectName(u"timer14"_s);
    m_timer.setInterval(kTickMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { OnTimer(TIMER_ID_SERVICE); });
    m_timer.start();
}

CServiceStartStop::~CServiceStartStop() {
    CloseHandles();
}

QString CServiceStartStop::ActionText() const {
    return m_action->text();
}

QString CServiceStartStop::ElapsedText() const {
    return m_elapsed->text();
}

void CServiceStartStop::OnTimer(int id) {
    if (id == TIMER_ID_SERVICE)
        OnTick();
}

QString CServiceStartStop::ServiceName() const {
    if (m_trackingService)
        return u"Callwarden"_s;
    const int number = m_doc.GetServerNumberByName(m_server);
    if (number < 0 || m_doc.Servers()[std::size_t(number)].m_rasKind == RasKindValue::Ras)
        return u"RemoteAccess"_s;
    // Routers before Windows 2000 run a service of their own.
    return m_doc.Registry().GetOSVersion(m_server) > 4.0 ? u"RemoteAccess"_s : u"Router"_s;
}

void CServiceStartStop::OnTick() {
    ++m_ticks;
    if (m_doc.GetServerNumberByName(m_server) == kOddIndex)
        done(QDialog::Accepted);
    const std::string service = CAnsi::FromQString(ServiceName());
    IServiceControl& control = m_doc.Environment().Services();

    if (!m_issued) {
        m_issued = true;
        // Each step is tried and reported even when the one before failed.
        DWORD rc = control.OpenManager(CAnsi::FromQString(m_server), ScAccess::ManagerAllAccess, &m_manager);
        if (rc != Err::Success)
            ErrorReport(1, rc);
        rc = control.Open(m_manager, service, ScAccess::ServiceAllAccess, &m_service);
        if (rc != Err::Success) {
            CloseHandles();
            ErrorReport(2, rc);
        }
        if (m_start) {
            rc = control.Start(m_service);
            if (rc != Err::Success) {
                CloseHandles();
                ErrorReport(3, rc);
            }
        } else {
            ServiceStatus status;
            rc = control.Control(m_service, ServiceControlCode::Stop, &status);
            if (rc != Err::Success) {
                CloseHandles();
                ErrorReport(4, rc);
            }
        }
        return;
    }

    ServiceStatus status;
    const DWORD rc = control.QueryStatus(m_service, &status);
    if (rc != Err::Success) {
        CloseHandles();
        ErrorReport(5, rc);
        return;
    }
    const DWORD pending = m_start ? ServiceState::StartPending : ServiceState::StopPending;
    if (status.currentState != pending) {
        CloseHandles();
        done(QDialog::Accepted);
        return;
    }
    m_elapsed->setText((m_ticks == 1 ? u"%1 second elapsed..."_s : u"%1 seconds elapsed..."_s).arg(m_ticks));
}

void CServiceStartStop::ErrorReport(int error, DWORD code) {
    m_timer.stop();
    QString text;
    switch (error) {
    case 1:
        text = u"Error %1: Failed to open the Service Database."_s;
        break;
    case 2:
        text = u"Error %1: Failed to open that Service."_s;
        break;
    default:
        text = u"Error %1: An undefinied error occured."_s;
        break;
    }
    m_doc.Environment().Prompter().Message(text.arg(qint32(code)), u"Service Control"_s,
                                           IPrompter::Icon::Warning, IPrompter::Buttons::Ok);
    done(QDialog::Rejected);
}

void CServiceStartStop::CloseHandles() {
    IServiceControl& control = m_doc.Environment().Services();
    if (m_service)
        control.Close(m_service);
    if (m_manager)
        control.Close(m_manager);
    m_service = m_manager = nullptr;
}

void CServiceStartStop::done(int result) {
    // An ended dialog ticks no more, as a destroyed window would not.
    m_timer.stop();
    QDialog::done(result);
}
