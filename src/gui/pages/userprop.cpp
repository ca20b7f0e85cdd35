#include "gui/pages/userprop.h"

#include "core/doc/cwadmindoc.h"
#include "gui/toolkit/help.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

namespace {

QLineEdit* NumberEdit(const QString& name, int maxLength, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMaxLength(maxLength);
    edit->setValidator(new QRegularExpressionValidator(QRegularExpression(u"[0-9]*"_s), edit));
    edit->setAlignment(Qt::AlignRight);
    edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(u"0000000000"_s) + 12);
    return edit;
}

QCheckBox* Box(const QString& text, const QString& name, QWidget* parent) {
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(name);
    return box;
}

QString Blank(const QString& text) {
    return text.isEmpty() ? u"0"_s : text;
}

} // namespace

CUserPropPage::CUserPropPage(CCwadminDoc& document, const QString& account, const QString& title,
                             int helpContext, QWidget* parent)
    : CPropertyPage(title, helpContext, parent), m_doc(document), m_account(account) {}

void CUserPropPage::RememberSection() {
    const CProfilePlace place = CProfilePlace::For(m_doc, m_account);
    m_existed = !place.isDefault && place.SectionExists(m_doc);
}

bool CUserPropPage::StillThere() {
    const CProfilePlace place = CProfilePlace::For(m_doc, m_account);
    if (!m_existed || !place.Reachable() || place.SectionExists(m_doc))
        return true;
    return Report(CApplyResult::Refused(
        u"The profile for %1 was deleted while this sheet was open; the changes were not saved."_s.arg(
            m_account),
        IPrompter::Icon::Warning));
}

bool CUserPropPage::Report(const CApplyResult& result) {
    if (!result.applied)
        m_doc.Environment().Prompter().Message(result.text, {}, result.icon, IPrompter::Buttons::Ok);
    return result.applied;
}

// Status.

CUserPropStatus::CUserPropStatus(CCwadminDoc& document, const QString& account, QWidget* parent)
    : CUserPropPage(document, account, u"Status"_s, kHelpContext, parent) {
    setObjectName(u"userPropStatus"_s);
    auto* layout = new QVBoxLayout(this);
    m_list = new QTreeWidget(this);
    m_list->setObjectName(u"list"_s);
    m_list->setHeaderLabels({u"Data"_s, u"Value"_s});
    m_list->setRootIsDecorated(false);
    m_list->setMinimumSize(360, 190);
    layout->addWidget(m_list);
    auto* row = new QHBoxLayout;
    m_reset = new QPushButton(u"&Reset"_s, this);
    m_reset->setObjectName(u"reset"_s);
    m_reset->setEnabled(false);
    row->addStretch(1);
    row->addWidget(m_reset);
    layout->addLayout(row);
    connect(m_list, &QTreeWidget::currentItemChanged, this, [this] {
        m_reset->setEnabled(
            CUserStatusValues::Resettable(m_list->indexOfTopLevelItem(m_list->currentItem())));
    });
    connect(m_reset, &QPushButton::clicked, this, &CUserPropStatus::OnReset);
}

void CUserPropStatus::OnLoad() {
    RememberSection();
    m_values = CUserStatusValues::Load(m_doc, m_account);
    Fill();
    const int half = m_list->viewport()->width() / 2;
    m_list->setColumnWidth(0, std::max(half, 170));
}

void CUserPropStatus::Fill() {
    const int current = m_list->indexOfTopLevelItem(m_list->currentItem());
    m_list->clear();
    for (const auto& [data, value] : m_values.Rows(m_doc))
        m_list->addTopLevelItem(new QTreeWidgetItem(QStringList{data, value}));
    if (current >= 0)
        m_list->setCurrentItem(m_list->topLevelItem(current));
}

void CUserPropStatus::OnReset() {
    const int row = m_list->indexOfTopLevelItem(m_list->currentItem());
    if (!CUserStatusValues::Resettable(row))
        return;
    m_values.Reset(row);
    SetModified();
    Fill();
}

bool CUserPropStatus::OnApply() {
    return StillThere() && Report(m_values.Apply(m_doc, m_account));
}

// Restrictions.

CUserPropRestrict::CUserPropRestrict(CCwadminDoc& document, const QString& account, QWidget* parent)
    : CUserPropPage(document, account, u"Restrictions"_s, CUserPropStatus::kHelpContext, parent) {
    setObjectName(u"userPropRestrict"_s);
    auto* grid = new QGridLayout(this);
    m_sessionOn = Box(u"Maximum Session Time allowed"_s, u"sessionOn"_s, this);
    m_totalOn = Box(u"Maximum Total Time allowed"_s, u"totalOn"_s, this);
    m_periodOn = Box(u"Maximum Total Time allowed per"_s, u"periodOn"_s, this);
    m_session = NumberEdit(u"session"_s, 20, this);
    m_total = NumberEdit(u"total"_s, 20, this);
    m_periodMax = NumberEdit(u"periodMax"_s, 20, this);
    m_period = new QComboBox(this);
    m_period->setObjectName(u"period"_s);
    m_period->addItems(CUserRestrictValues::PeriodNames());
    grid->addWidget(m_sessionOn, 0, 0, 1, 2);
    grid->addWidget(m_session, 0, 2);
    grid->addWidget(new QLabel(u"seconds"_s, this), 0, 3);
    grid->addWidget(m_totalOn, 1, 0, 1, 2);
    grid->addWidget(m_total, 1, 2);
    grid->addWidget(new QLabel(u"seconds"_s, this), 1, 3);
    grid->addWidget(m_periodOn, 2, 0);
    grid->addWidget(m_period, 2, 1);
    grid->addWidget(m_periodMax, 2, 2);
    grid->addWidget(new QLabel(u"seconds"_s, this), 2, 3);
    grid->setColumnStretch(4, 1);
    grid->setRowStretch(3, 1);
    for (QCheckBox* box : {m_sessionOn, m_totalOn, m_periodOn}) {
        connect(box, &QCheckBox::toggled, this, &CUserPropRestrict::UpdateWidgets);
        connect(box, &QCheckBox::clicked, this, [this] { SetModified(); });
    }
    for (QLineEdit* edit : {m_session, m_total, m_periodMax})
        connect(edit, &QLineEdit::textEdited, this, [this] { SetModified(); });
    connect(m_period, &QComboBox::activated, this, [this] { SetModified(); });
    UpdateWidgets();
}

void CUserPropRestrict::OnLoad() {
    RememberSection();
    const CUserRestrictValues v = CUserRestrictValues::Load(m_doc, m_account);
    m_sessionOn->setChecked(v.sessionOn);
    m_session->setText(v.session);
    m_totalOn->setChecked(v.totalOn);
    m_total->setText(v.total);
    m_periodOn->setChecked(v.periodOn);
    m_period->setCurrentIndex(v.periodIndex);
    m_periodMax->setText(v.periodMax);
    UpdateWidgets();
}

bool CUserPropRestrict::OnApply() {
    CUserRestrictValues v;
    v.sessionOn = m_sessionOn->isChecked();
    v.session = Blank(m_session->text());
    v.totalOn = m_totalOn->isChecked();
    v.total = Blank(m_total->text());
    v.periodOn = m_periodOn->isChecked();
    v.periodIndex = m_period->currentIndex();
    v.periodMax = Blank(m_periodMax->text());
    return StillThere() && Report(v.Apply(m_doc, m_account));
}

void CUserPropRestrict::UpdateWidgets() {
    m_session->setEnabled(m_sessionOn->isChecked());
    m_total->setEnabled(m_totalOn->isChecked());
    m_period->setEnabled(m_periodOn->isChecked());
    m_periodMax->setEnabled(m_periodOn->isChecked());
}

// Miscellaneous.

CUserPropMisc::CUserPropMisc(CCwadminDoc& document, const QString& account, QWidget* parent)
    : CUserPropPage(document, account, u"Misc"_s, CUserPropStatus::kHelpContext, parent),
      m_isDefault(account == QLatin1StringView(CProfilePlace::kDefaultAccount)) {
    setObjectName(u"userPropMisc"_s);
    auto* layout = new QVBoxLayout(this);
    auto* valid = new QGroupBox(this);
    auto* validLayout = new QGridLayout(valid);
    m_validOn = Box(u"Allowed to use RAS for a period of"_s, u"validOn"_s, valid);
    m_days = NumberEdit(u"days"_s, 30, valid);
    validLayout->addWidget(m_validOn, 0, 0);
    validLayout->addWidget(new QLabel(u"Valid For"_s, valid), 0, 1);
    validLayout->addWidget(m_days, 0, 2);
    validLayout->addWidget(new QLabel(u"days"_s, valid), 0, 3);
    auto* note = new QLabel(u"Note: This time will be counted from time of first connection."_s, valid);
    note->setWordWrap(true);
    validLayout->addWidget(note, 1, 0, 1, 5);
    validLayout->setColumnStretch(4, 1);
    layout->addWidget(valid);
    m_concurrent = Box(u"Allow multiple concurrent sessions."_s, u"concurrent"_s, this);
    layout->addWidget(m_concurrent);
    auto* addressRow = new QHBoxLayout;
    m_addressOn = Box(u"Assign this user account a pre-defined IP Address:"_s, u"addressOn"_s, this);
    m_address = new QLineEdit(this);
    m_address->setObjectName(u"address"_s);
    m_address->setMaxLength(15);
    m_address->setValidator(new QRegularExpressionValidator(QRegularExpression(u"[0-9.]*"_s), m_address));
    m_address->setFixedWidth(m_address->fontMetrics().horizontalAdvance(u"000.000.000.000"_s) + 16);
    auto* addressLabel = new QLabel(u"IP Address:"_s, this);
    addressRow->addWidget(m_addressOn);
    addressRow->addWidget(addressLabel);
    addressRow->addWidget(m_address);
    addressRow->addStretch(1);
    layout->addLayout(addressRow);
    layout->addStretch(1);
    // A static address belongs to one named account only.
    if (m_isDefault)
        for (QWidget* w : {static_cast<QWidget*>(m_addressOn), static_cast<QWidget*>(addressLabel),
                           static_cast<QWidget*>(m_address)})
            w->hide();
    for (QCheckBox* box : {m_validOn, m_concurrent, m_addressOn}) {
        connect(box, &QCheckBox::toggled, this, &CUserPropMisc::UpdateWidgets);
        connect(box, &QCheckBox::clicked, this, [this] { SetModified(); });
    }
    for (QLineEdit* edit : {m_days, m_address})
        connect(edit, &QLineEdit::textEdited, this, [this] { SetModified(); });
    UpdateWidgets();
}

void CUserPropMisc::OnLoad() {
    RememberSection();
    const CUserMiscValues v = CUserMiscValues::Load(m_doc, m_account);
    m_validOn->setChecked(v.validOn);
    m_days->setText(v.days);
    m_concurrent->setChecked(v.concurrent);
    m_addressOn->setChecked(v.addressOn);
    m_address->setText(v.address);
    UpdateWidgets();
}

bool CUserPropMisc::OnApply() {
    CUserMiscValues v;
    v.validOn = m_validOn->isChecked();
    v.days = Blank(m_days->text());
    v.concurrent = m_concurrent->isChecked();
    v.addressOn = m_addressOn->isChecked() && !m_isDefault;
    v.address = m_address->text();
    return StillThere() && Report(v.Apply(m_doc, m_account));
}

void CUserPropMisc::UpdateWidgets() {
    m_days->setEnabled(m_validOn->isChecked());
    m_addressOn->setEnabled(!m_isDefault);
    m_address->setEnabled(!m_isDefault && m_addressOn->isChecked());
}

// RAS permissions.

CUserPropRAS::CUserPropRAS(CCwadminDoc& document, const QString& account, QWidget* parent)
    : CUserPropPage(document, account, u"RAS Permissions"_s, CUserPropStatus::kHelpContext, parent) {
    setObjectName(u"userPropRAS"_s);
    auto* layout = new QVBoxLayout(this);
    auto* note =
        new QLabel(u"These are the ordinary Windows NT RAS permissions, that you can also modify using "
                   u"the standard User Manager."_s,
                   this);
    note->setWordWrap(true);
    layout->addWidget(note);
    m_dialIn = Box(u"Allowed to dialin through RAS."_s, u"dialIn"_s, this);
    layout->addWidget(m_dialIn);
    auto* callback = new QGroupBox(u"Call Back"_s, this);
    auto* grid = new QGridLayout(callback);
    m_noCallback = new QRadioButton(u"&No Call Back"_s, callback);
    m_noCallback->setObjectName(u"noCallback"_s);
    m_byCaller = new QRadioButton(u"&Set By Caller"_s, callback);
    m_byCaller->setObjectName(u"byCaller"_s);
    m_preset = new QRadioButton(u"&Preset To:"_s, callback);
    m_preset->setObjectName(u"preset"_s);
    m_number = new QLineEdit(callback);
    m_number->setObjectName(u"number"_s);
    m_number->setMaxLength(OCL::RasLen::PhoneNumber);
    grid->addWidget(m_noCallback, 0, 0);
    grid->addWidget(m_byCaller, 1, 0);
    grid->addWidget(m_preset, 2, 0);
    grid->addWidget(m_number, 2, 1);
    grid->setColumnStretch(2, 1);
    layout->addWidget(callback);
    layout->addStretch(1);
    for (QRadioButton* button : {m_noCallback, m_byCaller, m_preset})
        connect(button, &QRadioButton::clicked, this, [this] {
            UpdateWidgets();
            SetModified();
        });
    connect(m_dialIn, &QCheckBox::clicked, this, [this] { SetModified(); });
    connect(m_number, &QLineEdit::textEdited, this, [this] { SetModified(); });
    m_noCallback->setChecked(true);
    UpdateWidgets();
}

void CUserPropRAS::OnLoad() {
    m_controller = CRasPermission::Controller(m_doc, m_account);
    CRasPermission v;
    // Nothing read, nothing shown and nothing written back.
    if (m_controller.isEmpty() || !CRasPermission::Load(m_doc, m_controller, m_account, &v)) {
        m_controller.clear();
        setEnabled(false);
        return;
    }
    m_dialIn->setChecked(v.dialIn);
    m_noCallback->setChecked(v.callback == CRasPermission::NoCallback);
    m_byCaller->setChecked(v.callback == CRasPermission::SetByCaller);
    m_preset->setChecked(v.callback == CRasPermission::Preset);
    m_number->setText(v.number);
    UpdateWidgets();
}

bool CUserPropRAS::OnApply() {
    if (m_controller.isEmpty())
        return true;
    CRasPermission v;
    v.dialIn = m_dialIn->isChecked();
    v.callback = m_preset->isChecked()     ? CRasPermission::Preset
                 : m_byCaller->isChecked() ? CRasPermission::SetByCaller
                                           : CRasPermission::NoCallback;
    v.number = m_number->text();
    const bool applied = Report(v.Apply(m_doc, m_controller, m_account));
    if (!applied && v.callback == CRasPermission::Preset)
        m_number->setFocus();
    return applied;
}

void CUserPropRAS::UpdateWidgets() {
    m_number->setEnabled(m_preset->isChecked());
    if (!m_preset->isChecked())
        m_number->clear();
}

// The sheets.

std::unique_ptr<CPropertySheet> CreateUserProfileSheet(CCwadminDoc& document, const QString& account,
                                                       QWidget* parent) {
    auto sheet = std::make_unique<CPropertySheet>(u"Profile for: %1"_s.arg(account), true, parent);
    sheet->setObjectName(u"userProfileSheet"_s);
    sheet->AddPage(new CUserPropStatus(document, account));
    sheet->AddPage(new CUserPropRestrict(document, account));
    sheet->AddPage(new CUserPropMisc(document, account));
    sheet->AddPage(new CUserPropRAS(document, account));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}

std::unique_ptr<CPropertySheet> CreateDefaultProfileSheet(CCwadminDoc& document, QWidget* parent) {
    auto sheet = std::make_unique<CPropertySheet>(u"Properties for: Default Profile"_s, true, parent);
    sheet->setObjectName(u"defaultProfileSheet"_s);
    const QString account = QString::fromLatin1(CProfilePlace::kDefaultAccount);
    sheet->AddPage(new CUserPropRestrict(document, account));
    sheet->AddPage(new CUserPropMisc(document, account));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}

bool ShowUserProfile(CCwadminDoc& document, const QString& account, QWidget* parent) {
    auto sheet = CreateUserProfileSheet(document, account, parent);
    if (sheet->exec() != QDialog::Accepted)
        return false;
    document.m_usersReloadPending = 1;
    document.UpdateAllViews(nullptr, Hint::UPDATE_NEW_USERS);
    return true;
}
