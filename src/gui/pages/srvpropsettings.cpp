#include "gui/pages/srvpropsettings.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/serversettings.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QLabel* StatusLabel(const QString& name, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

CSrvPropSettings::CSrvPropSettings(CCwadminDoc& document, int serverNumber, QWidget* parent)
    : CPropertyPage(u"General"_s, kHelpContext, parent), m_doc(document), m_number(serverNumber) {
    setObjectName(u"srvPropSettings"_s);
    auto* layout = new QVBoxLayout(this);

    auto* role = new QGroupBox(u"Primary Server"_s, this);
    auto* roleLayout = new QVBoxLayout(role);
    m_primary = new QRadioButton(u"This is the Primary Callwarden Server."_s, role);
    m_primary->setObjectName(u"primary"_s);
    m_secondary = new QRadioButton(
        u"This is not the Primary Callwarden Server. I communicate with the Primary Callwarden Server on:"_s,
        role);
    m_secondary->setObjectName(u"secondary"_s);
    m_masterComputer = new QLineEdit(role);
    m_masterComputer->setObjectName(u"masterComputer"_s);
    m_masterComputer->setMaxLength(100);
    auto* computerRow = new QHBoxLayout;
    // Indented under its radio button, as the button's own text is.
    computerRow->addSpacing(m_secondary->iconSize().width() + 8);
    computerRow->addWidget(m_masterComputer, 1);
    computerRow->addStretch(1);
    roleLayout->addWidget(m_primary);
    roleLayout->addWidget(m_secondary);
    roleLayout->addLayout(computerRow);
    layout->addWidget(role);

    auto* settings = new QGroupBox(u"Service Settings"_s, this);
    auto* settingsLayout = new QVBoxLayout(settings);
    auto* idleRow = new QHBoxLayout;
    m_idleLimit = new QCheckBox(u"Enforce idle time-out limit of"_s, settings);
    m_idleLimit->setObjectName(u"idleLimit"_s);
    m_idleMinutes = new QLineEdit(settings);
    m_idleMinutes->setObjectName(u"idleMinutes"_s);
    m_idleMinutes->setMaxLength(20);
    m_idleMinutes->setValidator(
        new QRegularExpressionValidator(QRegularExpression(u"[0-9]*"_s), m_idleMinutes));
    m_idleMinutes->setAlignment(Qt::AlignRight);
    m_idleMinutes->setFixedWidth(m_idleMinutes->fontMetrics().horizontalAdvance(u"000000"_s) + 12);
    idleRow->addWidget(m_idleLimit);
    idleRow->addWidget(m_idleMinutes);
    idleRow->addWidget(new QLabel(u"minutes"_s, settings));
    idleRow->addStretch(1);
    settingsLayout->addLayout(idleRow);
    m_logToEventLog = new QCheckBox(u"Log Session Events to the Event Log."_s, settings);
    m_logToEventLog->setObjectName(u"logToEventLog"_s);
    m_staticIP = new QCheckBox(u"Enable Callwarden assignment of Static IP addresses."_s, settings);
    m_staticIP->setObjectName(u"staticIP"_s);
    settingsLayout->addWidget(m_logToEventLog);
    settingsLayout->addWidget(m_staticIP);
    layout->addWidget(settings);

    auto* status = new QGroupBox(u"Status"_s, this);
    auto* statusLayout = new QFormLayout(status);
    m_computer = StatusLabel(u"computer"_s, status);
    m_version = StatusLabel(u"version"_s, status);
    m_installed = StatusLabel(u"installed"_s, status);
    m_service = StatusLabel(u"service"_s, status);
    statusLayout->addRow(u"Computer:"_s, m_computer);
    statusLayout->addRow(u"Version:"_s, m_version);
    statusLayout->addRow(u"Installed:"_s, m_installed);
    statusLayout->addRow(u"Service:"_s, m_service);
    layout->addWidget(status);
    layout->addStretch(1);

    const auto changed = [this] {
        UpdateWidgets();
        SetModified();
    };
    connect(m_primary, &QRadioButton::toggled, this, changed);
    connect(m_idleLimit, &QCheckBox::toggled, this, changed);
    connect(m_logToEventLog, &QCheckBox::toggled, this, changed);
    connect(m_staticIP, &QCheckBox::toggled, this, changed);
    connect(m_masterComputer, &QLineEdit::textEdited, this, changed);
    connect(m_idleMinutes, &QLineEdit::textEdited, this, changed);
    UpdateWidgets();
}

void CSrvPropSettings::OnLoad() {
    const CGeneralSettings values = CGeneralSettings::Load(m_doc, m_number);
    m_computer->setText(m_doc.Servers()[std::size_t(m_number)].Name());
    (values.primary ? m_primary : m_secondary)->setChecked(true);
    m_masterComputer->setText(values.masterComputer);
    m_idleLimit->setChecked(values.idleLimit);
    m_idleMinutes->setText(values.idleMinutes);
    m_logToEventLog->setChecked(values.logToEventLog);
    m_staticIP->setChecked(values.staticIP);
    m_version->setText(values.version);
    m_installed->setText(CGeneralSettings::InstalledText(m_doc, values.installed));
    m_service->setText(CGeneralSettings::ServiceStateText(values.serviceState));
    UpdateWidgets();
}

bool CSrvPropSettings::OnApply() {
    CGeneralSettings values;
    values.primary = m_primary->isChecked();
    values.masterComputer = m_masterComputer->text();
    values.idleLimit = m_idleLimit->isChecked();
    values.idleMinutes = m_idleMinutes->text();
    values.logToEventLog = m_logToEventLog->isChecked();
    values.staticIP = m_staticIP->isChecked();
    values.Apply(m_doc, m_number);
    return true;
}

void CSrvPropSettings::UpdateWidgets() {
    m_masterComputer->setEnabled(m_secondary->isChecked());
    m_idleMinutes->setEnabled(m_idleLimit->isChecked());
}
