#include "gui/pages/systemdatabase.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/database.h"
#include "core/pages/systemmessages.h"
#include "gui/pages/archiving.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;

namespace {

constexpr int kKindRole = Qt::UserRole;
constexpr int kInfoRole = Qt::UserRole + 1;

QIcon KindIcon(int kind) {
    QStyle* style = QApplication::style();
    switch (kind) {
    case DatabaseKind::Root:
        return style->standardIcon(QStyle::SP_DriveNetIcon);
    case DatabaseKind::Current:
        return style->standardIcon(QStyle::SP_DirOpenIcon);
    case DatabaseKind::Migrated:
        return style->standardIcon(QStyle::SP_DirClosedIcon);
    case DatabaseKind::Day:
        return style->standardIcon(QStyle::SP_FileIcon);
    default:
        return style->standardIcon(QStyle::SP_FileDialogDetailedView);
    }
}

QTreeWidgetItem* MakeItem(const CDatabaseItem& from, const QString& shownRoot) {
    auto* item = new QTreeWidgetItem({from.kind == DatabaseKind::Root ? shownRoot : from.title});
    item->setIcon(0, KindIcon(from.kind));
    item->setData(0, kKindRole, from.kind);
    item->setData(0, kInfoRole, from.InfoText(shownRoot));
    for (const CDatabaseItem& child : from.children)
        item->addChild(MakeItem(child, shownRoot));
    return item;
}

} // namespace

CSystemDatabase::CSystemDatabase(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Database"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"systemDatabase"_s);
    auto* layout = new QVBoxLayout(this);
    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(u"databaseTree"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setUniformRowHeights(true);
    layout->addWidget(m_tree, 1);
    m_info = new QLabel(this);
    m_info->setObjectName(u"info"_s);
    m_info->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_info);
    auto* buttons = new QHBoxLayout;
    m_delete = new QPushButton(u"&Delete"_s, this);
    m_delete->setObjectName(u"delete"_s);
    m_migrate = new QPushButton(u"&Migrate"_s, this);
    m_migrate->setObjectName(u"migrate"_s);
    m_archiving = new QPushButton(u"&Archiving..."_s, this);
    m_archiving->setObjectName(u"archiving"_s);
    buttons->addWidget(m_delete);
    buttons->addWidget(m_migrate);
    buttons->addStretch(1);
    buttons->addWidget(m_archiving);
    layout->addLayout(buttons);

    connect(m_tree, &QTreeWidget::currentItemChanged, this, &CSystemDatabase::UpdateWidgets);
    connect(m_delete, &QPushButton::clicked, this, &CSystemDatabase::OnDelete);
    connect(m_migrate, &QPushButton::clicked, this, &CSystemDatabase::OnMigrate);
    connect(m_archiving, &QPushButton::clicked, this, &CSystemDatabase::OnArchiving);
    UpdateWidgets();
}

void CSystemDatabase::OnLoad() {
    Rebuild();
}

void CSystemDatabase::Rebuild() {
    // The same item stays selected across a rebuild while it still exists.
    QStringList path;
    for (QTreeWidgetItem* item = m_tree->currentItem(); item; item = item->parent())
        path.prepend(item->text(0));
    m_tree->clear();
    QString why;
    const auto share = LocalDataShare(m_doc, &why);
    if (share.empty()) {
        m_info->setText(why);
        UpdateWidgets();
        return;
    }
    auto* root = MakeItem(CDatabase(share).Tree(), m_doc.Servers().MasterShare());
    m_tree->addTopLevelItem(root);
    root->setExpanded(true);
    QTreeWidgetItem* current = root;
    for (int level = 1; level < path.size(); ++level) {
        QTreeWidgetItem* next = nullptr;
        for (int i = 0; i < current->childCount() && !next; ++i)
            if (current->child(i)->text(0) == path[level])
                next = current->child(i);
        if (!next)
            break;
        current = next;
    }
    m_tree->setCurrentItem(current);
    UpdateWidgets();
}

int CSystemDatabase::SelectedKind(int* folderKind, QString* day) const {
    QTreeWidgetItem* item = m_tree->currentItem();
    if (!item)
        return -1;
    const int kind = item->data(0, kKindRole).toInt();
    *folderKind = kind;
    day->clear();
    if (kind == DatabaseKind::Day && item->parent()) {
        *folderKind = item->parent()->data(0, kKindRole).toInt();
        *day = item->text(0);
    }
    return kind;
}

void CSystemDatabase::UpdateWidgets() {
    QTreeWidgetItem* item = m_tree->currentItem();
    bool canChange = false;
    if (item) {
        m_info->setText(item->data(0, kInfoRole).toString());
        const int kind = item->data(0, kKindRole).toInt();
        canChange =
            kind == DatabaseKind::Day ||
            ((kind == DatabaseKind::Current || kind == DatabaseKind::Migrated) && item->childCount() > 0);
    }
    m_delete->setEnabled(canChange);
    m_migrate->setEnabled(canChange);
    // Archiving needs nothing selected, only the share.
    m_archiving->setEnabled(m_tree->topLevelItemCount() > 0);
}

std::filesystem::path CSystemDatabase::Confirmed(QString (*question)(int kind), int* folderKind,
                                                 QString* day) const {
    if (SelectedKind(folderKind, day) < 0)
        return {};
    QString why;
    const auto share = LocalDataShare(m_doc, &why);
    if (share.empty() ||
        (day->isEmpty() && m_doc.Environment().Prompter().Ask(question(*folderKind)) != OCL::IPrompter::Yes))
        return {};
    return share;
}

void CSystemDatabase::OnDelete() {
    int folder = 0;
    QString day;
    const auto share = Confirmed(&CDatabase::DeleteQuestion, &folder, &day);
    if (share.empty())
        return;
    CDatabase(share).Delete(folder, day);
    Rebuild();
}

void CSystemDatabase::OnMigrate() {
    int folder = 0;
    QString day;
    const auto share = Confirmed(&CDatabase::MigrateQuestion, &folder, &day);
    if (share.empty())
        return;
    const CDatabaseResult result = CDatabase(share).Migrate(folder, day);
    Rebuild();
    if (!result.Ok())
        m_doc.Environment().Prompter().Inform(result.Text(), Icon::Warning);
}

void CSystemDatabase::OnArchiving() {
    auto sheet = CreateArchiving(m_doc, this);
    sheet->exec();
}
