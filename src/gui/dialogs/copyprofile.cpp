#include "gui/dialogs/copyprofile.h"

#include "core/doc/cwadmindoc.h"
#include "core/net/accountlists.h"
#include "gui/app/icons.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

namespace {
constexpr int kUserImage = 8;
constexpr int kGroupImage = 10;
constexpr int kDomainImage = 9;
} // namespace

CCopyProgress::CCopyProgress(QWidget* parent) : QDialog(parent) {
    setWindowTitle(u"Copying User Profile"_s);
    setObjectName(u"copyProgress"_s);
    auto* layout = new QGridLayout(this);
    layout->addWidget(new QLabel(u"Copy To:"_s, this), 0, 0);
    m_target = new QLabel(this);
    m_target->setObjectName(u"target"_s);
    m_target->setMinimumWidth(260);
    layout->addWidget(m_target, 0, 1);
    m_bar = new QProgressBar(this);
    m_bar->setRange(0, 100);
    layout->addWidget(m_bar, 1, 0, 1, 2);
}

void CCopyProgress::SetTarget(const QString& target) {
    m_target->setText(target);
    m_target->repaint();
}

void CCopyProgress::SetPercent(int percent) {
    m_bar->setValue(percent);
    m_bar->repaint();
}

QString CCopyProgress::Target() const {
    return m_target->text();
}

CCopyProfile::CCopyProfile(CCwadminDoc& document, QWidget* parent)
    : QDialog(parent), m_doc(document), m_domain(document.m_selectedDomain),
      m_account(document.m_selectedUser) {
    setWindowTitle(u"Copy User Profile"_s);
    setObjectName(u"copyProfile"_s);
    auto* layout = new QVBoxLayout(this);
    auto* intro =
        new QLabel(u"By copying the Callwarden Profile of one user to multiple other users, you can save "
                   u"time when performing global changes."_s,
                   this);
    intro->setWordWrap(true);
    layout->addWidget(intro);
    auto* source = new QLabel(u"Copy Profile of %1\\%2"_s.arg(m_domain, m_account), this);
    source->setObjectName(u"source"_s);
    QFont bold = source->font();
    bold.setBold(true);
    source->setFont(bold);
    layout->addWidget(source);

    auto* lists = new QGridLayout;
    lists->addWidget(new QLabel(u"Accounts and Groups:"_s, this), 0, 0);
    lists->addWidget(new QLabel(u"Target List:"_s, this), 0, 2);
    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(u"accounts"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setMinimumSize(200, 220);
    m_targets = new QTreeWidget(this);
    m_targets->setObjectName(u"targets"_s);
    m_targets->setHeaderHidden(true);
    m_targets->setRootIsDecorated(false);
    m_targets->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_targets->setMinimumSize(200, 220);
    auto* buttons = new QVBoxLayout;
    m_add = new QPushButton(u">>"_s, this);
    m_add->setObjectName(u"add"_s);
    m_remove = new QPushButton(u"<<"_s, this);
    m_remove->setObjectName(u"remove"_s);
    buttons->addStretch(1);
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    lists->addWidget(m_tree, 1, 0);
    lists->addLayout(buttons, 1, 1);
    lists->addWidget(m_targets, 1, 2);
    layout->addLayout(lists);

    m_noRas = new QCheckBox(u"&Do not copy Windows NT RAS permissions"_s, this);
    m_noRas->setObjectName(u"noRas"_s);
    layout->addWidget(m_noRas);
    auto* box = new QDialogButtonBox(this);
    m_copy = box->addButton(u"&Copy Now"_s, QDialogButtonBox::ActionRole);
    m_copy->setObjectName(u"copyNow"_s);
    box->addButton(QDialogButtonBox::Close);
    layout->addWidget(box);

    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_add, &QPushButton::clicked, this, &CCopyProfile::OnAdd);
    connect(m_remove, &QPushButton::clicked, this, &CCopyProfile::OnRemove);
    connect(m_copy, &QPushButton::clicked, this, &CCopyProfile::OnCopyNow);
    connect(m_tree, &QTreeWidget::itemSelectionChanged, this, &CCopyProfile::UpdateWidgets);
    connect(m_targets, &QTreeWidget::itemSelectionChanged, this, &CCopyProfile::UpdateWidgets);
    Fill();
    UpdateWidgets();
}

void CCopyProfile::Fill() {
    OCL::INetwork& network = m_doc.Environment().Network();
    auto* domain = new QTreeWidgetItem(m_tree, {m_domain});
    domain->setIcon(0, CIcons::TreeImage(kDomainImage));
    domain->setFlags(Qt::ItemIsEnabled);
    std::u16string controller;
    if (const OCL::DWORD rc = network.GetDCName(u"", CRASFunc::Wide(m_domain, 35), &controller);
        rc != OCL::Err::Success) {
        m_doc.Environment().Prompter().Message(u"Error getting PDC (%1)"_s.arg(rc), {},
                                               IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        return;
    }
    QStringList users, groups;
    CAccountLists::Users(network, QString::fromStdU16String(controller), &users);
    CAccountLists::GlobalGroups(network, QString::fromStdU16String(controller), &groups);
    for (const QString& group : groups) {
        auto* item = new QTreeWidgetItem(domain, {group});
        item->setIcon(0, CIcons::TreeImage(kGroupImage));
        item->setData(0, GroupRole, true);
    }
    for (const QString& user : users) {
        auto* item = new QTreeWidgetItem(domain, {user});
        item->setIcon(0, CIcons::TreeImage(kUserImage));
        item->setData(0, GroupRole, false);
    }
    domain->setExpanded(true);
}

void CCopyProfile::OnAdd() {
    for (QTreeWidgetItem* item : m_tree->selectedItems()) {
        if (!item->parent())
            continue;
        const bool group = item->data(0, GroupRole).toBool();
        bool listed = false;
        for (int row = 0; row < m_targets->topLevelItemCount(); ++row) {
            const QTreeWidgetItem* target = m_targets->topLevelItem(row);
            listed =
                listed || (target->text(0) == item->text(0) && target->data(0, GroupRole).toBool() == group);
        }
        if (listed)
            continue;
        auto* target = new QTreeWidgetItem(m_targets, {item->text(0)});
        target->setIcon(0, item->icon(0));
        target->setData(0, GroupRole, group);
    }
    UpdateWidgets();
}

void CCopyProfile::OnRemove() {
    qDeleteAll(m_targets->selectedItems());
    UpdateWidgets();
}

CProfileCopy::Outcome CCopyProfile::OnCopyNow() {
    QList<CProfileCopy::Target> targets;
    for (int row = 0; row < m_targets->topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = m_targets->topLevelItem(row);
        targets.append({item->text(0), item->data(0, GroupRole).toBool()});
    }
    CProfileCopy copy(m_doc, m_domain, m_account);
    const QStringList members = copy.Members(targets);
    CCopyProgress progress(this);
    progress.show();
    copy.onTarget = [&progress](const QString& target) {
        progress.SetTarget(target);
    };
    copy.onProgress = [&progress](int percent) {
        progress.SetPercent(percent);
    };
    m_outcome = copy.Run(members, !m_noRas->isChecked());
    progress.close();
    m_doc.m_usersReloadPending = 1;
    m_doc.UpdateAllViews(nullptr, Hint::UPDATE_NEW_USERS);
    return m_outcome;
}

void CCopyProfile::UpdateWidgets() {
    bool account = false;
    for (const QTreeWidgetItem* item : m_tree->selectedItems())
        account = account || item->parent();
    m_add->setEnabled(account);
    m_remove->setEnabled(!m_targets->selectedItems().isEmpty());
    m_copy->setEnabled(m_targets->topLevelItemCount() > 0);
}
