#pragma once
// "Add Group": the network's domains, each expanding into its global groups, to
// choose the entries of a port's allowed list. A chosen group allows its
// members; a chosen domain allows every account of that domain.

#include "core/pages/portprofile.h"

#include <QDialog>

class CCwadminDoc;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace OCL {
struct NetResource;
}

class CAccountBrowser : public QDialog {
    Q_OBJECT
public:
    // The tree items keep their image index here: 9 domain, 10 group, 0 placeholder.
    static constexpr int ImageRole = Qt::UserRole + 1;

    explicit CAccountBrowser(CCwadminDoc& document, QWidget* parent = nullptr);
    ~CAccountBrowser() override;

    // The selected domains and groups, in the tree's order.
    QList<CAllowedAccount> Chosen() const;

    QTreeWidget* Tree() const { return m_tree; }
    QPushButton* OkButton() const { return m_ok; }

private:
    void FillNetwork();
    void FillDomain(QTreeWidgetItem* domain);
    QTreeWidgetItem* AddItem(QTreeWidgetItem* parent, const QString& text, int image);
    void OnItemExpanded(QTreeWidgetItem* item);
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    QTreeWidget* m_tree;
    QPushButton* m_ok;
};
