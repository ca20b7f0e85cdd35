#include "gui/pages/propport.h"

#include "core/doc/cwadmindoc.h"
#include "gui/app/icons.h"
#include "gui/dialogs/accountbrowser.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAccountsColumnWidth = 195;
// Tree images of the two kinds of entries.
constexpr int kGroupImage = 10;
constexpr int kDomainImage = 9;

QLineEdit* MinutesEdit(const QString& name, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMaxLength(9);
    edit->setValidator(new QRegularExpressionValidator(QRegularExpression(u"[0-9]*"_s), edit));
    edit->setAlignment(Qt::AlignRight);
    edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(u"0000000"_s) + 12);
    return edit;
}

QCheckBox* Box(const QString& text, const QString& name, QWidget* parent) {
    auto* box = new QCheckBox(text, parent);
    box->setObjectName(name);
    return box;
}

// "<box> <edit> minutes" on one row.
QHBoxLayout* MinutesRow(QCheckBox* box, QLineEdit* edit, QWidget* parent) {
    auto* row = new QHBoxLayout;
    row->addWidget(box);
    row->addWidget(edit);
    row->addWidget(new QLabel(u"minutes"_s, parent));
    row->addStretch(1);
    return row;
}

} // namespace

CPropPort::CPropPort(CCwadminDoc& document, const QString& server, const QString& port, QWidget* parent)
    : CPropertyPage(u"Settings"_s, kHelpContext, parent), m_doc(document), m_server(server), m_port(port) {
    setObjectName(u"propPort"_s);
    auto* layout = new QVBoxLayout(this);

    m_sessionLimit = Box(u"Sessions may not last longer than"_s, u"sessionLimit"_s, this);
    m_sessionMinutes = MinutesEdit(u"sessionMinutes"_s, this);
    layout->addLayout(MinutesRow(m_sessionLimit, m_sessionMinutes, this));

    auto* addressBox = new QGroupBox(u"Static IP Address"_s, this);
    auto* addressRow = new QHBoxLayout(addressBox);
    m_staticAddress = Box(u"Give whoever uses this port the address"_s, u"staticAddress"_s, addressBox);
    m_address = new QLineEdit(addressBox);
    m_address->setObjectName(u"address"_s);
    m_address->setMaxLength(15);
    m_address->setFixedWidth(m_address->fontMetrics().horizontalAdvance(u"000.000.000.000"_s) + 16);
    addressRow->addWidget(m_staticAddress);
    addressRow->addWidget(m_address);
    addressRow->addStretch(1);
    layout->addWidget(addressBox);

    auto* accessBox = new QGroupBox(u"Access"_s, this);
    auto* accessLayout = new QVBoxLayout(accessBox);
    m_restricted =
        Box(u"Only accounts of these groups and domains may use this port:"_s, u"restricted"_s, accessBox);
    accessLayout->addWidget(m_restricted);
    auto* listRow = new QHBoxLayout;
    m_accounts = new QTreeWidget(accessBox);
    m_accounts->setObjectName(u"accounts"_s);
    m_accounts->setColumnCount(1);
    m_accounts->setHeaderLabels({u"Accounts"_s});
    m_accounts->setRootIsDecorated(false);
    m_accounts->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_accounts->setIconSize(QSize(16, 16));
    m_accounts->header()->setStretchLastSection(false);
    m_accounts->setColumnWidth(0, kAccountsColumnWidth);
    m_accounts->setFixedWidth(kAccountsColumnWidth + 2 * m_accounts->frameWidth() +
                              m_accounts->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 2);
    m_accounts->setMinimumHeight(120);
    listRow->addWidget(m_accounts);
    auto* buttons = new QVBoxLayout;
    m_addGroup = new QPushButton(u"A&dd Group..."_s, accessBox);
    m_addGroup->setObjectName(u"addGroup"_s);
    m_remove = new QPushButton(u"Remove"_s, accessBox);
    m_remove->setObjectName(u"remove"_s);
    buttons->addWidget(m_addGroup);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    listRow->addLayout(buttons);
    listRow->addStretch(1);
    accessLayout->addLayout(listRow);
    layout->addWidget(accessBox);

    m_idleLimit = Box(u"Enforce idle time-out limit of"_s, u"idleLimit"_s, this);
    m_idleMinutes = MinutesEdit(u"idleMinutes"_s, this);
    layout->addLayout(MinutesRow(m_idleLimit, m_idleMinutes, this));
    layout->addStretch(1);

    // Loading sets the boxes too; only the administrator's clicks change the page.
    const std::pair<QCheckBox*, QWidget*> toggles[] = {{m_sessionLimit, m_sessionMinutes},
                                                       {m_staticAddress, m_address},
                                                       {m_restricted, m_accounts},
                                                       {m_idleLimit, m_idleMinutes}};
    for (const auto& [box, edit] : toggles) {
        connect(box, &QCheckBox::toggled, this, &CPropPort::UpdateWidgets);
        connect(box, &QCheckBox::clicked, this, [this, edit = edit](bool on) {
            if (on)
                edit->setFocus();
            SetModified();
        });
    }
    for (QLineEdit* edit : {m_sessionMinutes, m_address, m_idleMinutes})
        connect(edit, &QLineEdit::textEdited, this, [this] { SetModified(); });
    connect(m_accounts, &QTreeWidget::itemSelectionChanged, this, &CPropPort::UpdateWidgets);
    connect(m_addGroup, &QPushButton::clicked, this, &CPropPort::OnAddGroup);
    connect(m_remove, &QPushButton::clicked, this, &CPropPort::OnRemove);
    UpdateWidgets();
}

void CPropPort::OnLoad() {
    const CPortProfileSettings values = CPortProfileSettings::Load(m_doc, m_server, m_port);
    m_sessionLimit->setChecked(values.sessionLimit);
    m_sessionMinutes->setText(values.sessionMinutes);
    m_staticAddress->setChecked(values.staticAddress);
    m_address->setText(values.address);
    m_restricted->setChecked(values.restricted);
    m_accounts->clear();
    for (const CAllowedAccount& entry : values.allowed)
        InsertEntry(entry);
    m_idleLimit->setChecked(values.idleLimit);
    m_idleMinutes->setText(values.idleMinutes);
    UpdateWidgets();
}

bool CPropPort::OnApply() {
    CPortProfileSettings values;
    values.sessionLimit = m_sessionLimit->isChecked();
    values.sessionMinutes = m_sessionMinutes->text();
    values.staticAddress = m_staticAddress->isChecked();
    values.address = m_address->text();
    values.restricted = m_restricted->isChecked();
    values.allowed = Entries();
    values.idleLimit = m_idleLimit->isChecked();
    values.idleMinutes = m_idleMinutes->text();
    const CPortApplyResult result = values.Apply(m_doc, m_server, m_port);
    if (result.applied && !result.text.isEmpty())
        m_doc.Environment().Prompter().Message(result.text, result.caption, result.icon,
                                               OCL::IPrompter::Buttons::Ok);
    if (!result.applied) {
        m_doc.Environment().Prompter().Message(result.text, result.caption, result.icon,
                                               OCL::IPrompter::Buttons::Ok);
        if (result.text == CPortProfileSettings::InvalidAddressText()) {
            m_address->setFocus();
            m_address->selectAll();
        }
    }
    return result.applied;
}

QList<CAllowedAccount> CPropPort::Entries() const {
    QList<CAllowedAccount> entries;
    for (int row = m_accounts->topLevelItemCount() - 1; row >= 0; --row) {
        const QTreeWidgetItem* item = m_accounts->topLevelItem(row);
        entries.append({item->text(0), CAllowedAccount::Kind(item->data(0, KindRole).toInt())});
    }
    return entries;
}

void CPropPort::InsertEntry(const CAllowedAccount& entry) {
    auto* item = new QTreeWidgetItem;
    item->setText(0, entry.name);
    item->setData(0, KindRole, int(entry.kind));
    item->setIcon(0, CIcons::TreeImage(entry.kind == CAllowedAccount::Domain ? kDomainImage : kGroupImage));
    m_accounts->insertTopLevelItem(0, item);
}

void CPropPort::OnAddGroup() {
    CAccountBrowser browser(m_doc, this);
    if (browser.exec() != QDialog::Accepted)
        return;
    for (const CAllowedAccount& entry : browser.Chosen())
        InsertEntry(entry);
    SetModified();
    UpdateWidgets();
}

void CPropPort::OnRemove() {
    const QList<QTreeWidgetItem*> selected = m_accounts->selectedItems();
    if (selected.isEmpty())
        return;
    qDeleteAll(selected);
    m_remove->setEnabled(false);
    SetModified();
}

void CPropPort::UpdateWidgets() {
    m_sessionMinutes->setEnabled(m_sessionLimit->isChecked());
    m_address->setEnabled(m_staticAddress->isChecked());
    const bool restricted = m_restricted->isChecked();
    m_accounts->setEnabled(restricted);
    m_addGroup->setEnabled(restricted);
    m_remove->setEnabled(restricted && !m_accounts->selectedItems().isEmpty());
    m_idleMinutes->setEnabled(m_idleLimit->isChecked());
}
