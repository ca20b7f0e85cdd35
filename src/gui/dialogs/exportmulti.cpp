#include "gui/dialogs/exportmulti.h"

#include "core/doc/cwadmindoc.h"
#include "core/ui/prompter.h"

#include <QButtonGroup>
#include <QCalendarWidget>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

CDatePicka::CDatePicka(const QDate& date, QWidget* parent) : QDateEdit(date, parent) {
    setCalendarPopup(true);
    auto* calendar = new QCalendarWidget(this);
    calendar->setFirstDayOfWeek(Qt::Sunday);
    calendar->setHorizontalHeaderFormat(QCalendarWidget::SingleLetterDayNames);
    calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    setCalendarWidget(calendar);
}

CExportMulti::CExportMulti(CCwadminDoc& document, QWidget* parent) : QDialog(parent), m_doc(document) {
    setWindowTitle(u"Export Session Data To File"_s);
    auto* layout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    auto* group = new QButtonGroup(this);
    const char* const names[3] = {"all", "lastDays", "range"};
    const QString texts[3] = {u"All Logged Sessions"_s, u"Logged Sessions during the last"_s,
                              u"Only Logged Sessions during:"_s};
    for (int i = 0; i < 3; ++i) {
        m_modes[i] = new QRadioButton(texts[i], this);
        m_modes[i]->setObjectName(QString::fromLatin1(names[i]));
        group->addButton(m_modes[i], i);
    }
    grid->addWidget(m_modes[0], 0, 0, 1, 5);
    grid->addWidget(m_modes[1], 1, 0);
    m_days = new QSpinBox(this);
    m_days->setObjectName(u"days"_s);
    m_days->setRange(0, 36500);
    m_days->setValue(7);
    grid->addWidget(m_days, 1, 1);
    grid->addWidget(new QLabel(u"days."_s, this), 1, 2);
    grid->addWidget(m_modes[2], 2, 0, 1, 5);
    // By default the shown day alone: To is the day after, which the range leaves out.
    const QDate shown(m_doc.ShownYear(), m_doc.ShownMonth(), m_doc.ShownDay());
    const QDate from = shown.isValid() ? shown : QDate::currentDate();
    m_from = new CDatePicka(from, this);
    m_from->setObjectName(u"from"_s);
    m_to = new CDatePicka(from.addDays(1), this);
    m_to->setObjectName(u"to"_s);
    grid->addWidget(new QLabel(u"From:"_s, this), 3, 0, Qt::AlignRight);
    grid->addWidget(m_from, 3, 1, 1, 2);
    grid->addWidget(new QLabel(u"To:"_s, this), 3, 3);
    grid->addWidget(m_to, 3, 4);
    layout->addLayout(grid);

    auto* fileRow = new QHBoxLayout;
    fileRow->addWidget(new QLabel(u"File:"_s, this));
    m_fileName = new QLineEdit(this);
    m_fileName->setObjectName(u"fileName"_s);
    m_fileName->setMinimumWidth(260);
    fileRow->addWidget(m_fileName, 1);
    auto* browse = new QPushButton(u"..."_s, this);
    browse->setObjectName(u"browse"_s);
    browse->setFixedWidth(32);
    connect(browse, &QPushButton::clicked, this, &CExportMulti::OnBrowse);
    fileRow->addWidget(browse);
    layout->addLayout(fileRow);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* exportButton = buttons->addButton(u"&Export"_s, QDialogButtonBox::AcceptRole);
    exportButton->setObjectName(u"export"_s);
    exportButton->setDefault(true);
    buttons->addButton(QDialogButtonBox::Cancel);
    connect(exportButton, &QPushButton::clicked, this, &CExportMulti::OnExport);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    const auto follow = [this] {
        m_days->setEnabled(m_modes[1]->isChecked());
        m_from->setEnabled(m_modes[2]->isChecked());
        m_to->setEnabled(m_modes[2]->isChecked());
    };
    connect(group, &QButtonGroup::idToggled, this, follow);
    m_modes[2]->setChecked(true);
    follow();
}

CSessionExportSettings CExportMulti::Settings() const {
    CSessionExportSettings settings;
    for (int i = 0; i < 3; ++i)
        if (m_modes[i]->isChecked())
            settings.mode = i;
    settings.days = m_days->value();
    settings.from = m_from->date();
    settings.to = m_to->date();
    settings.fileName = m_fileName->text().trimmed();
    return settings;
}

void CExportMulti::OnBrowse() {
    const QString name = m_doc.Environment().Prompter().SaveFileName(
        u"Select File"_s, m_fileName->text(), u"Comma Separated File (*.csv)"_s, u"csv"_s);
    if (!name.isEmpty())
        m_fileName->setText(name);
}

void CExportMulti::OnExport() {
    const CSessionExportSettings settings = Settings();
    if (const QString problem = settings.Problem(); !problem.isEmpty()) {
        m_doc.Environment().Prompter().Message(problem, {}, IPrompter::Icon::Information,
                                               IPrompter::Buttons::Ok);
        return;
    }
    CExportMultiProgress progress(m_doc, settings, this);
    progress.exec();
    m_result = progress.Result();
    QStringList notes = m_result.notes;
    // A header alone would otherwise pass for an export of quiet days.
    if (m_result.written && m_result.events == 0)
        notes << u"No sessions were logged on the chosen days: %1 holds only the header line."_s.arg(
            settings.fileName);
    if (m_result.written && !notes.isEmpty())
        m_doc.Environment().Prompter().Message(notes.join(u'\n'), {}, IPrompter::Icon::Information,
                                               IPrompter::Buttons::Ok);
    // A failed or cancelled export leaves the dialog open to try again.
    if (m_result.written)
        accept();
}

CExportMultiProgress::CExportMultiProgress(CCwadminDoc& document, CSessionExportSettings settings,
                                           QWidget* parent)
    : QDialog(parent), m_doc(document), m_settings(std::move(settings)) {
    setWindowTitle(u"Exporting, please wait..."_s);
    auto* layout = new QVBoxLayout(this);
    m_bar = new QProgressBar(this);
    m_bar->setObjectName(u"progress"_s);
    m_bar->setRange(0, 100);
    m_bar->setValue(0);
    m_bar->setMinimumWidth(300);
    layout->addWidget(m_bar);
    m_cancel = new QPushButton(u"Cancel"_s, this);
    m_cancel->setObjectName(u"cancel"_s);
    connect(m_cancel, &QPushButton::clicked, this, &CExportMultiProgress::Cancel);
    layout->addWidget(m_cancel, 0, Qt::AlignCenter);
}

void CExportMultiProgress::reject() {
    // Escape and the close box cancel a running export; it then closes itself.
    if (m_running)
        m_cancelled = true;
    else
        QDialog::reject();
}

void CExportMultiProgress::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!m_started) {
        m_started = true;
        QTimer::singleShot(0, this, &CExportMultiProgress::Run);
    }
}

void CExportMultiProgress::Run() {
    m_running = true;
    m_result = m_doc.ExportSessions(m_settings, [this](int percent) {
        m_bar->setValue(percent);
        emit progressed(percent);
        QCoreApplication::processEvents();
        return !m_cancelled;
    });
    m_running = false;
    done(m_result.written ? Accepted : Rejected);
}
