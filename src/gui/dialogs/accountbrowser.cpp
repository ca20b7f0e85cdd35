#include "gui/dialogs/accountbrowser.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "core/net/accountlists.h"
#include "gui/app/icons.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr int kPlaceholderImage = 0;
constexpr int kDomainImage = 9;
constexpr int kGroupImage = 10;

} // namespace

CAccountBrowser::CAccountBrowser(CCwadminDoc& document, QWidget* parent) : QDialog(parent), m_doc(document) {
    setObjectName(u"accountBrowser"_s);
    setWindowTitle(u"Add Group"_s);
    auto* layout = new QVBoxLayout(this);
    auto* hint = new QLabel(
        u"Choose the groups whose members may use the port. Choosing a domain lets every account of that domain use it."_s,
        this);
    hint->setWordWrap(true);
    layout->addWidget(hint);

    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(u"accountTree"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setIconSize(QSize(16, 16));
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setMinimumSize(300, 280);
    layout->addWidget(m_tree, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_tree, &QTreeWidget::itemExpanded, this, &CAccountBrowser::OnItemExpanded);
    connect(m_tree, &QTreeWidget::itemSelectionChanged, this, &CAccountBrowser::UpdateWidgets);
    connect(m_tree, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        if (item->data(0, ImageRole).toInt() == kGroupImage)
            accept();
    });

    {
        CWaitCursor wait(m_doc.Frame());
        FillNetwork();
    }
    UpdateWidgets();
}

CAccountBrowser::~CAccountBrowser() = default;

QTreeWidgetItem* CAccountBrowser::AddItem(QTreeWidgetItem* parent, const QString& text, int image) {
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(m_tree);
    item->setText(0, text);
    item->setData(0, ImageRole, image);
    if (image == kPlaceholderImage)
        item->setFlags(Qt::NoItemFlags);
    else
        item->setIcon(0, CIcons::TreeImage(image));
    return item;
}

void CAccountBrowser::FillNetwork() {
    for (const QString& name : CAccountLists::MicrosoftDomains(m_doc.Environment().Network())) {
        QTreeWidgetItem* domain = AddItem(nullptr, name, kDomainImage);
        AddItem(domain, u"DUMMY"_s, kPlaceholderImage);
    }
}

void CAccountBrowser::FillDomain(QTreeWidgetItem* domain) {
    while (domain->childCount() > 0)
        delete domain->takeChild(0);
    INetwork& network = m_doc.Environment().Network();
    std::u16string controller;
    if (const DWORD rc = network.GetDCName(u"", domain->text(0).toStdU16String(), &controller);
        rc != Err::Success) {
        m_doc.Environment().Prompter().Message(u"Error getting PDC (%1)"_s.arg(rc), {},
                                               IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        // Left closed with its placeholder, so that expanding it again retries.
        AddItem(domain, u"DUMMY"_s, kPlaceholderImage);
        m_tree->collapseItem(domain);
        return;
    }
    QStringList groups;
    CAccountLists::GlobalGroups(network, QString::fromStdU16String(controller), &groups);
    for (const QString& group : groups)
        AddItem(domain, group, kGroupImage);
}

void CAccountBrowser::OnItemExpanded(QTreeWidgetItem* item) {
    // Filled once, on the first expansion.
    if (item->data(0, ImageRole).toInt() != kDomainImage || item->childCount() != 1 ||
        item->child(0)->data(0, ImageRole).toInt() != kPlaceholderImage)
        return;
    CWaitCursor wait(m_doc.Frame());
    FillDomain(item);
}

QList<CAllowedAccount> CAccountBrowser::Chosen() const {
    QList<CAllowedAccount> chosen;
    for (QTreeWidgetItemIterator it(m_tree, QTreeWidgetItemIterator::Selected); *it; ++it) {
        const int image = (*it)->data(0, ImageRole).toInt();
        if (image == kGroupImage)
            chosen.append({(*it)->text(0), CAllowedAccount::Group});
        else if (image == kDomainImage)
            chosen.append({(*it)->text(0), CAllowedAccount::Domain});
    }
    return chosen;
}

void CAccountBrowser::UpdateWidgets() {
    m_ok->setEnabled(!Chosen().isEmpty());
}
