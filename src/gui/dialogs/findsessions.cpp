#include "gui/dialogs/findsessions.h"

#include "core/doc/cwadmindoc.h"
#include "core/log/logtexts.h"
#include "gui/frame/mainframe.h"
#include "gui/views/logview.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QThread>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

CFindSessions::CFindSessions(CCwadminDoc& document, CMainFrame& frame)
    : QDialog(&frame), m_doc(document), m_frame(frame),
      m_source(CHistorySource::Of(document, document.Environment())) {
    setObjectName(u"IDD_FIND_SESSIONS"_s);
    setWindowTitle(u"Find Sessions"_s);
    setAttribute(Qt::WA_DeleteOnClose);

    m_kind = new QComboBox(this);
    m_kind->addItems(
        {u"All accounts and servers"_s, u"Account"_s, u"Domain"_s, u"Group"_s, u"Server"_s, u"Port"_s});
    m_domain = new QLineEdit(this);
    m_name = new QLineEdit(this);
    m_port = new QLineEdit(this);
    const QDate today = QDate::currentDate();
    m_useFrom = new QCheckBox(u"&From"_s, this);
    m_useTo = new QCheckBox(u"&To"_s, this);
    m_from = new QDateEdit(today.addMonths(-1), this);
    m_to = new QDateEdit(today, this);
    for (QDateEdit* edit : {m_from, m_to}) {
        edit->setCalendarPopup(true);
        edit->setDisplayFormat(u"yyyy-MM-dd"_s);
    }
    m_useFrom->setChecked(true);
    m_action = new QComboBox(this);
    m_action->addItem(u"Any action"_s, -1);
    for (int action : {CwLog::Connect, CwLog::Disconnect, CwLog::Denied})
        m_action->addItem(LogText::ActionText(action), action);
    m_reason = new QSpinBox(this);
    m_reason->setRange(-1, 255);
    m_reason->setSpecialValueText(u"Any reason"_s);
    m_reason->setValue(-1);

    auto* form = new QFormLayout;
    form->addRow(u"Sessions &of:"_s, m_kind);
    form->addRow(u"&Domain:"_s, m_domain);
    form->addRow(u"&Name:"_s, m_name);
    form->addRow(u"&Port:"_s, m_port);
    form->addRow(m_useFrom, m_from);
    form->addRow(m_useTo, m_to);
    form->addRow(u"&Action:"_s, m_action);
    form->addRow(u"&Reason:"_s, m_reason);

    m_status = new QLabel(this);
    m_status->setWordWrap(true);
    m_progress = new QProgressBar(this);
    m_progress->setVisible(false);
    auto* buttons = new QDialogButtonBox(this);
    m_find = buttons->addButton(u"F&ind"_s, QDialogButtonBox::AcceptRole);
    m_find->setDefault(true);
    buttons->addButton(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    connect(m_find, &QPushButton::clicked, this, [this] { OnFind(); });
    connect(m_kind, &QComboBox::currentIndexChanged, this, [this] { UpdateFields(); });
    connect(m_useFrom, &QCheckBox::toggled, m_from, &QWidget::setEnabled);
    connect(m_useTo, &QCheckBox::toggled, m_to, &QWidget::setEnabled);
    m_to->setEnabled(false);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_status);
    layout->addWidget(m_progress);
    layout->addWidget(buttons);

    // Preset from the tree's selection, as the node's menu was opened on it.
    switch (m_doc.m_selectionKind) {
    case 1:
    case 2:
        m_kind->setCurrentIndex(Server);
        break;
    case 3:
    case 4:
    case 5:
        m_kind->setCurrentIndex(Port);
        break;
    case 8:
        m_kind->setCurrentIndex(Account);
        break;
    case 9:
        m_kind->setCurrentIndex(Domain);
        break;
    case 10:
    case 11:
        m_kind->setCurrentIndex(Group);
        break;
    default:
        break;
    }
    const auto named = [](const QString& text) {
        return text == u"*"_s ? QString() : text;
    };
    m_domain->setText(named(m_doc.m_selectedDomain));
    m_port->setText(named(m_doc.m_selectedPort));
    const int kind = m_kind->currentIndex();
    m_name->setText(named(kind == Account ? m_doc.m_selectedUser
                          : kind == Group ? m_doc.m_selectedGroup
                                          : m_doc.m_selectedServer));
    UpdateFields();
    StartIndexing();
}

CFindSessions::~CFindSessions() {
    StopIndexing();
}

void CFindSessions::UpdateFields() {
    const int kind = m_kind->currentIndex();
    m_domain->setEnabled(kind == Account || kind == Domain || kind == Group);
    m_name->setEnabled(kind == Account || kind == Group || kind == Server || kind == Port);
    m_port->setEnabled(kind == Port);
}

void CFindSessions::StartIndexing() {
    QString notice, error;
    m_indexOpen = m_index.Open(m_source.indexFile, &notice, &error);
    if (!notice.isEmpty())
        m_doc.Environment().Prompter().Message(notice, {}, IPrompter::Icon::Information,
                                               IPrompter::Buttons::Ok);
    if (!m_indexOpen) {
        m_status->setText(error);
        m_find->setEnabled(false);
        return;
    }
    if (m_source.logData.isEmpty()) {
        m_status->setText(
            u"The master server's log folder cannot be reached; the index answers as it stands."_s);
        return;
    }
    m_stop = std::make_shared<std::atomic<bool>>(false);
    m_progress->setVisible(true);
    m_status->setText(u"Indexing the day logs..."_s);
    QPointer<CFindSessions> self(this);
    m_worker = QThread::create([self, source = m_source, stop = m_stop] {
        CSessionIndex index;
        QString notice, error;
        CSessionIndex::Refreshed refreshed;
        if (!index.Open(source.indexFile, &notice, &error))
            refreshed.error = error;
        else
            refreshed = index.Refresh(source.Files(), [&](int done, int total) {
                QMetaObject::invokeMethod(
                    self, [self, done, total] { self->OnProgress(done, total); }, Qt::QueuedConnection);
                return !*stop;
            });
        QMetaObject::invokeMethod(
            self, [self, refreshed] { self->OnIndexed(refreshed); }, Qt::QueuedConnection);
    });
    m_worker->start();
}

void CFindSessions::StopIndexing() {
    if (!m_worker)
        return;
    *m_stop = true;
    m_worker->wait();
    delete m_worker;
    m_worker = nullptr;
}

void CFindSessions::OnProgress(int done, int total) {
    m_progress->setRange(0, total);
    m_progress->setValue(done);
    m_status->setText(u"Indexing the day logs: %1 of %2..."_s.arg(done).arg(total));
}

void CFindSessions::OnIndexed(const CSessionIndex::Refreshed& refreshed) {
    StopIndexing();
    m_progress->setVisible(false);
    if (!refreshed.error.isEmpty())
        m_status->setText(refreshed.error + u" Searches answer from the index as it stands."_s);
    else if (refreshed.unreadable)
        m_status->setText(
            u"The index is up to date; %1 day logs could not be read."_s.arg(refreshed.unreadable));
    else
        m_status->setText(u"The index is up to date: %1 events."_s.arg(m_index.Events()));
    emit IndexingDone();
}

CSessionQuery CFindSessions::Query(QString* problem) const {
    CSessionQuery query;
    CLogFilter::Selection selection{0, u"*"_s, u"*"_s, u"*"_s, u"*"_s, u"*"_s};
    const QString domain = m_domain->text().trimmed(), name = m_name->text().trimmed(),
                  port = m_port->text().trimmed();
    switch (m_kind->currentIndex()) {
    case Account:
    case Group:
        if (domain.isEmpty() || name.isEmpty())
            *problem = u"Please specify the domain and the name."_s;
        selection.domain = domain;
        (m_kind->currentIndex() == Account ? selection.user : selection.group) = name;
        selection.kind = m_kind->currentIndex() == Account ? 8 : 10;
        break;
    case Domain:
        if (domain.isEmpty())
            *problem = u"Please specify the domain."_s;
        selection.domain = domain;
        selection.kind = 9;
        break;
    case Server:
    case Port:
        if (name.isEmpty() || (m_kind->currentIndex() == Port && port.isEmpty()))
            *problem = u"Please specify the server and the port."_s;
        selection.server = name;
        selection.port = port;
        selection.kind = m_kind->currentIndex() == Port ? 3 : 1;
        break;
    default:
        break;
    }
    if (m_useFrom->isChecked())
        query.from = m_from->date();
    if (m_useTo->isChecked())
        query.to = m_to->date();
    if (query.from.isValid() && query.to.isValid() && query.to < query.from)
        *problem = u"Invalid date range selected."_s;
    query.action = m_action->currentData().toInt();
    query.reason = m_reason->value();
    if (problem->isEmpty())
        query.filter = CLogFilter::ForSelection(selection, m_doc.Environment().Network(),
                                                m_doc.Environment().Prompter());
    return query;
}

bool CFindSessions::OnFind() {
    IPrompter& prompter = m_doc.Environment().Prompter();
    QString problem;
    const CSessionQuery query = Query(&problem);
    if (!problem.isEmpty()) {
        prompter.Message(problem, {}, IPrompter::Icon::Information, IPrompter::Buttons::Ok);
        return false;
    }
    CSessionAnswer answer;
    {
        CWaitCursor wait(&m_frame);
        answer = m_index.Search(query, m_source.Files(), m_source.shifts);
    }
    if (!answer.error.isEmpty()) {
        prompter.Message(answer.error, {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return false;
    }
    QString caption = DescribeQuery(query);
    if (!answer.missing.empty())
        caption += u" - %1 days not indexed yet"_s.arg(answer.missing.size());
    m_frame.OnViewHistory();
    if (auto* view = qobject_cast<CLogView*>(m_frame.RightView()))
        view->ShowSearch(answer.store, caption);
    return true;
}

void CFindSessions::closeEvent(QCloseEvent* event) {
    StopIndexing();
    event->accept();
}

void ShowFindSessions(CCwadminDoc& document, CMainFrame& frame) {
    if (auto* open = frame.findChild<CFindSessions*>(QString(), Qt::FindDirectChildrenOnly)) {
        open->raise();
        open->activateWindow();
        return;
    }
    (new CFindSessions(document, frame))->show();
}
