#include "gui/pages/srvpropodbc.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/exportschedule.h"
#include "gui/pages/changedsn.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// A list that shows all 24 hours at once; the others share its height.
QListWidget* ScheduleList(const QString& name, const QStringList& entries, const QString& widest,
                          QWidget* parent) {
    auto* list = new QListWidget(parent);
    list->setObjectName(name);
    // A little air between the rows, so a run of selected hours stays readable.
    const QSize row(list->fontMetrics().horizontalAdvance(widest) + 8, list->fontMetrics().height() + 3);
    for (const QString& entry : entries) {
        auto* item = new QListWidgetItem(entry, list);
        item->setSizeHint(row);
    }
    list->setSelectionMode(QAbstractItemView::MultiSelection);
    list->setUniformItemSizes(true);
    const int frame = 2 * list->frameWidth();
    list->setMinimumHeight(list->sizeHintForRow(0) * CExportSchedule::kHours + frame + 4);
    list->setMinimumWidth(list->fontMetrics().horizontalAdvance(widest) + 24 +
                          list->verticalScrollBar()->sizeHint().width() + frame);
    return list;
}

void Select(QListWidget* list, quint32 bits) {
    list->clearSelection();
    for (int entry : CExportSchedule::EntriesOf(bits, list->count()))
        list->item(entry)->setSelected(true);
}

quint32 BitsOf(const QListWidget* list) {
    QList<int> entries;
    for (int row = 0; row < list->count(); ++row)
        if (list->item(row)->isSelected())
            entries.append(row);
    return CExportSchedule::BitsOf(entries);
}

} // namespace

CSrvPropODBC::CSrvPropODBC(CCwadminDoc& document, int serverNumber, QWidget* parent)
    : CPropertyPage(u"Database Export"_s, kHelpContext, parent), m_doc(document), m_number(serverNumber) {
    setObjectName(u"srvPropOdbc"_s);
    auto* layout = new QVBoxLayout(this);

    auto* what = new QGroupBox(u"Export"_s, this);
    auto* whatLayout = new QHBoxLayout(what);
    m_exportUsers = new QCheckBox(u"Export User Account Data"_s, what);
    m_exportUsers->setObjectName(u"exportUsers"_s);
    m_exportHistory = new QCheckBox(u"Export Session Events"_s, what);
    m_exportHistory->setObjectName(u"exportHistory"_s);
    whatLayout->addWidget(m_exportUsers);
    whatLayout->addSpacing(24);
    whatLayout->addWidget(m_exportHistory);
    whatLayout->addStretch(1);
    layout->addWidget(what);

    m_schedule = new QGroupBox(u"Schedule"_s, this);
    auto* scheduleLayout = new QGridLayout(m_schedule);
    m_hours = ScheduleList(u"hours"_s, CExportSchedule::HourEntries(), u"00:00"_s, m_schedule);
    m_weekdays = ScheduleList(u"weekdays"_s, CExportSchedule::WeekdayEntries(), u"Wednesday"_s, m_schedule);
    m_dates = ScheduleList(u"dates"_s, CExportSchedule::DateEntries(), u"00"_s, m_schedule);
    const QList<QPair<QString, QListWidget*>> lists{
        {u"Hour of Day"_s, m_hours}, {u"Day of Week"_s, m_weekdays}, {u"Day of Month"_s, m_dates}};
    for (int column = 0; column < lists.size(); ++column) {
        auto* label = new QLabel(lists[column].first, m_schedule);
        label->setBuddy(lists[column].second);
        scheduleLayout->addWidget(label, 0, column);
        scheduleLayout->addWidget(lists[column].second, 1, column);
    }
    layout->addWidget(m_schedule, 1);

    m_database = new QGroupBox(u"Database"_s, this);
    auto* databaseLayout = new QGridLayout(m_database);
    m_dsn = new QLineEdit(m_database);
    m_dsn->setObjectName(u"dsn"_s);
    m_dsn->setReadOnly(true);
    m_account = new QLineEdit(m_database);
    m_account->setObjectName(u"account"_s);
    m_account->setReadOnly(true);
    m_change = new QPushButton(u"Change..."_s, m_database);
    m_change->setObjectName(u"change"_s);
    databaseLayout->addWidget(new QLabel(u"Data Source Name:"_s, m_database), 0, 0);
    databaseLayout->addWidget(m_dsn, 0, 1);
    databaseLayout->addWidget(m_change, 0, 2);
    databaseLayout->addWidget(new QLabel(u"User Account:"_s, m_database), 1, 0);
    databaseLayout->addWidget(m_account, 1, 1);
    layout->addWidget(m_database);

    const auto changed = [this] {
        UpdateWidgets();
        SetModified();
    };
    connect(m_exportUsers, &QCheckBox::toggled, this, changed);
    connect(m_exportHistory, &QCheckBox::toggled, this, changed);
    for (QListWidget* list : {m_hours, m_weekdays, m_dates})
        connect(list, &QListWidget::itemSelectionChanged, this, changed);
    connect(m_change, &QPushButton::clicked, this, &CSrvPropODBC::OnChangeDsn);
    UpdateWidgets();
}

void CSrvPropODBC::OnLoad() {
    m_values = CExportSettings::Load(m_doc, m_number);
    m_exportUsers->setChecked(m_values.exportUsers);
    m_exportHistory->setChecked(m_values.exportHistory);
    const bool enabled = m_values.ScheduleEnabled();
    Select(m_hours, enabled ? m_values.hours : 0);
    Select(m_weekdays, enabled ? m_values.weekdays : 0);
    Select(m_dates, enabled ? m_values.dates : 0);
    ShowLogin();
    UpdateWidgets();
}

bool CSrvPropODBC::OnApply() {
    m_values.exportUsers = m_exportUsers->isChecked();
    m_values.exportHistory = m_exportHistory->isChecked();
    m_values.hours = BitsOf(m_hours);
    m_values.weekdays = BitsOf(m_weekdays);
    m_values.dates = BitsOf(m_dates);
    const CApplyResult result = m_values.Apply(m_doc, m_number);
    if (!result.applied)
        m_doc.Environment().Prompter().Message(result.text, {}, result.icon, OCL::IPrompter::Buttons::Ok);
    return result.applied;
}

void CSrvPropODBC::OnChangeDsn() {
    CChangeDSN dialog(m_doc.Servers()[std::size_t(m_number)].Name(), m_values.dsn, m_values.account,
                      m_values.password, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_values.dsn = dialog.Dsn();
    m_values.account = dialog.Account();
    m_values.password = dialog.Password();
    ShowLogin();
    SetModified();
}

void CSrvPropODBC::ShowLogin() {
    m_dsn->setText(m_values.dsn);
    m_account->setText(m_values.account);
}

void CSrvPropODBC::UpdateWidgets() {
    // Only the schedule depends on exporting something; the login stays editable.
    m_schedule->setEnabled(m_exportUsers->isChecked() || m_exportHistory->isChecked());
}
