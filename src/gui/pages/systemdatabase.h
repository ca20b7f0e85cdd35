#pragma once
// The "Database" page of the system settings: the service's database on the
// master's data share as a tree with sizes, and the deletions and moves of
// session data, whole or one day at a time.

#include "gui/toolkit/propertysheet.h"

#include <filesystem>

class CCwadminDoc;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

class CSystemDatabase : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 170;

    explicit CSystemDatabase(CCwadminDoc& document, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override { return true; }

private:
    void Rebuild();
    void UpdateWidgets();
    void OnDelete();
    void OnMigrate();
    void OnArchiving();
    // The selected item's kind and, for a day, its folder's kind and title.
    int SelectedKind(int* folderKind, QString* day) const;
    // The share's local path for an action on the selected folder or day, with
    // the folder's kind and the day; empty when there is nothing to act on or
    // the user answers No to question(kind), which a whole folder is asked.
    std::filesystem::path Confirmed(QString (*question)(int kind), int* folderKind, QString* day) const;

    CCwadminDoc& m_doc;
    QTreeWidget* m_tree;
    QLabel* m_info;
    QPushButton* m_delete;
    QPushButton* m_migrate;
    QPushButton* m_archiving;
};
