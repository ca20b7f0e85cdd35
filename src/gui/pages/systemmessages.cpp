#include "gui/pages/systemmessages.h"

#include "core/doc/cwadmindoc.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;

namespace {

bool Report(CCwadminDoc& document, const CApplyResult& result) {
    if (!result.applied)
        document.Environment().Prompter().Inform(result.text, result.icon);
    return result.applied;
}

QLineEdit* NamedEdit(const QString& name, int maxLength, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMaxLength(maxLength);
    return edit;
}

} // namespace

CSystemGreetings::CSystemGreetings(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Greetings"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"systemGreetings"_s);
    auto* layout = new QVBoxLayout(this);
    auto* about = new QLabel(u"Greeting Messages: when a user connects on a port, the service sends the text "
                             u"of the enabled rule that fits: the port's time limit first, then the user's "
                             u"time limits, then the message for everyone."_s,
                             this);
    about->setWordWrap(true);
    layout->addWidget(about);
    m_rules = new QTreeWidget(this);
    m_rules->setObjectName(u"rules"_s);
    m_rules->setHeaderLabels({u"Rules"_s});
    m_rules->setRootIsDecorated(false);
    m_rules->setUniformRowHeights(true);
    for (int rule = 0; rule < CGreetingSettings::kRules; ++rule) {
        auto* item = new QTreeWidgetItem(m_rules, {CGreetingSettings::RuleText(rule)});
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(0, Qt::Unchecked);
    }
    m_rules->setFixedHeight(m_rules->sizeHintForRow(0) * 3 + m_rules->header()->sizeHint().height() +
                            2 * m_rules->frameWidth() + 8);
    layout->addWidget(m_rules);
    layout->addWidget(new QLabel(u"Message Rule Text:"_s, this));
    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(u"ruleText"_s);
    layout->addWidget(m_text, 1);

    connect(m_rules, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* item) { ShowRule(item ? m_rules->indexOfTopLevelItem(item) : -1); });
    connect(m_rules, &QTreeWidget::itemChanged, this, [this] { SetModified(); });
    connect(m_text, &QPlainTextEdit::textChanged, this, [this] { SetModified(); });
}

void CSystemGreetings::ShowRule(int rule) {
    // The text typed for one rule stays with it while another is shown.
    if (m_shown >= 0)
        m_values.texts[std::size_t(m_shown)] = m_text->toPlainText();
    m_shown = rule;
    const bool modified = IsModified();
    m_text->setPlainText(rule >= 0 ? m_values.texts[std::size_t(rule)] : QString());
    m_text->setEnabled(rule >= 0);
    SetModified(modified);
}

void CSystemGreetings::OnLoad() {
    m_values = CGreetingSettings::Load(m_doc);
    m_shown = -1;
    for (int rule = 0; rule < CGreetingSettings::kRules; ++rule)
        m_rules->topLevelItem(rule)->setCheckState(0, m_values.enabled[std::size_t(rule)] ? Qt::Checked
                                                                                          : Qt::Unchecked);
    m_rules->setCurrentItem(m_rules->topLevelItem(0));
    ShowRule(0);
}

bool CSystemGreetings::OnApply() {
    if (m_shown >= 0)
        m_values.texts[std::size_t(m_shown)] = m_text->toPlainText();
    for (int rule = 0; rule < CGreetingSettings::kRules; ++rule)
        m_values.enabled[std::size_t(rule)] = m_rules->topLevelItem(rule)->checkState(0) == Qt::Checked;
    return Report(m_doc, m_values.Apply(m_doc));
}

CSystemNotifications::CSystemNotifications(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Notifications"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"systemNotifications"_s);
    auto* layout = new QVBoxLayout(this);
    auto* about = new QLabel(u"Notifications: the service can warn a user twice before it disconnects the "
                             u"user at the end of the time allowed."_s,
                             this);
    about->setWordWrap(true);
    layout->addWidget(about);
    for (int level = 0; level < 2; ++level) {
        const QString number = QString::number(level + 1);
        auto* box = new QGroupBox(u"Warning %1"_s.arg(number), this);
        auto* grid = new QGridLayout(box);
        m_on[level] = new QCheckBox(u"Send warning %1"_s.arg(number), box);
        m_on[level]->setObjectName(u"notify%1"_s.arg(number));
        m_seconds[level] = NamedEdit(u"notify%1Seconds"_s.arg(number), 99, box);
        m_seconds[level]->setAlignment(Qt::AlignRight);
        m_seconds[level]->setFixedWidth(m_seconds[level]->fontMetrics().horizontalAdvance(u"0000000"_s) + 12);
        m_text[level] = NamedEdit(u"notify%1Text"_s.arg(number), 599, box);
        grid->addWidget(m_on[level], 0, 0);
        grid->addWidget(m_seconds[level], 0, 1);
        grid->addWidget(new QLabel(u"seconds before disconnection"_s, box), 0, 2);
        grid->setColumnStretch(3, 1);
        grid->addWidget(new QLabel(u"Text:"_s, box), 1, 0);
        grid->addWidget(m_text[level], 1, 1, 1, 3);
        layout->addWidget(box);
        connect(m_on[level], &QCheckBox::toggled, this, [this] {
            UpdateWidgets();
            SetModified();
        });
        connect(m_seconds[level], &QLineEdit::textEdited, this, [this] { SetModified(); });
        connect(m_text[level], &QLineEdit::textEdited, this, [this] { SetModified(); });
    }
    layout->addStretch(1);
    UpdateWidgets();
}

void CSystemNotifications::UpdateWidgets() {
    for (int level = 0; level < 2; ++level) {
        m_seconds[level]->setEnabled(m_on[level]->isChecked());
        m_text[level]->setEnabled(m_on[level]->isChecked());
    }
}

void CSystemNotifications::OnLoad() {
    const CNotificationSettings values = CNotificationSettings::Load(m_doc);
    for (int level = 0; level < 2; ++level) {
        const auto& from = values.levels[std::size_t(level)];
        m_on[level]->setChecked(from.on);
        m_seconds[level]->setText(from.on ? from.seconds : QString());
        m_text[level]->setText(from.on ? from.text : QString());
        // The start of a long text, not its end.
        m_text[level]->setCursorPosition(0);
    }
    UpdateWidgets();
}

bool CSystemNotifications::OnApply() {
    CNotificationSettings values;
    for (int level = 0; level < 2; ++level)
        values.levels[std::size_t(level)] = {m_on[level]->isChecked(), m_seconds[level]->text(),
                                             m_text[level]->text()};
    return Report(m_doc, values.Apply(m_doc));
}

CSystemDailyReport::CSystemDailyReport(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Daily Report"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"systemDailyReport"_s);
    auto* layout = new QVBoxLayout(this);
    auto* about = new QLabel(u"The service can send a status report of the previous day's sessions by "
                             u"e-mail every day."_s,
                             this);
    about->setWordWrap(true);
    layout->addWidget(about);
    m_off = new QRadioButton(u"Send no daily report"_s, this);
    m_off->setObjectName(u"reportOff"_s);
    m_kind[0] = new QRadioButton(u"Send a short report: the day's totals"_s, this);
    m_kind[0]->setObjectName(u"reportShort"_s);
    m_kind[1] =
        new QRadioButton(u"Send a full report: the day's totals and the connections of every hour"_s, this);
    m_kind[1]->setObjectName(u"reportFull"_s);
    for (QRadioButton* option : {m_off, m_kind[0], m_kind[1]}) {
        layout->addWidget(option);
        connect(option, &QRadioButton::toggled, this, [this] {
            UpdateWidgets();
            SetModified();
        });
    }
    auto* form = new QFormLayout;
    m_hour = new QComboBox(this);
    m_hour->setObjectName(u"hour"_s);
    m_hour->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    for (int hour = 0; hour < 24; ++hour)
        m_hour->addItem(u"%1:00"_s.arg(hour, 2, 10, QChar(u'0')), QString::number(hour));
    m_to = NamedEdit(u"to"_s, 599, this);
    m_server = NamedEdit(u"server"_s, 599, this);
    m_from = NamedEdit(u"from"_s, 599, this);
    form->addRow(u"Send the report at:"_s, m_hour);
    form->addRow(u"Send to (e-mail address):"_s, m_to);
    form->addRow(u"SMTP mail server:"_s, m_server);
    form->addRow(u"Sender (e-mail address):"_s, m_from);
    layout->addLayout(form);
    layout->addStretch(1);
    connect(m_hour, &QComboBox::activated, this, [this] { SetModified(); });
    for (QLineEdit* edit : {m_to, m_server, m_from})
        connect(edit, &QLineEdit::textEdited, this, [this] { SetModified(); });
    m_off->setChecked(true);
}

void CSystemDailyReport::UpdateWidgets() {
    const bool on = !m_off->isChecked();
    for (QWidget* widget : std::initializer_list<QWidget*>{m_hour, m_to, m_server, m_from})
        widget->setEnabled(on);
}

void CSystemDailyReport::OnLoad() {
    const CDailyReportSettings values = CDailyReportSettings::Load(m_doc);
    int index = m_hour->findData(values.hour.trimmed());
    // An hour the list does not hold is offered as it is stored, so that it survives an apply.
    if (index < 0) {
        m_hour->addItem(values.hour, values.hour);
        index = m_hour->count() - 1;
    }
    m_hour->setCurrentIndex(index);
    (values.on ? m_kind[values.kind] : m_off)->setChecked(true);
    m_to->setText(values.to);
    m_server->setText(values.server);
    m_from->setText(values.from);
    UpdateWidgets();
}

bool CSystemDailyReport::OnApply() {
    CDailyReportSettings values;
    values.on = !m_off->isChecked();
    values.kind = m_kind[1]->isChecked() ? 1 : 0;
    values.hour = m_hour->currentData().toString();
    values.to = m_to->text();
    values.server = m_server->text();
    values.from = m_from->text();
    if (!Report(m_doc, values.Apply(m_doc)))
        return false;
    if (const auto note = CDailyReportSettings::TakeSmtpNote(m_doc))
        m_doc.Environment().Prompter().Message(*note, u"POP Server Information"_s, Icon::Information,
                                               OCL::IPrompter::Buttons::Ok);
    return true;
}
