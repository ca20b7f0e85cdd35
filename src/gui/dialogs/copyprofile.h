#pragma once
// "Copy User Profile": the targets are picked from a tree of the source
// domain's accounts and groups into the "Target List:", then "&Copy Now"
// copies with the "Copying User Profile" progress.

#include "core/pages/profilecopy.h"

#include <QDialog>

class CCwadminDoc;
class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// The progress while copying: "Copy To:" with the current target and a bar.
class CCopyProgress : public QDialog {
    Q_OBJECT
public:
    explicit CCopyProgress(QWidget* parent = nullptr);
    void SetTarget(const QString& target);
    void SetPercent(int percent);
    QString Target() const;

private:
    QLabel* m_target;
    QProgressBar* m_bar;
};

class CCopyProfile : public QDialog {
    Q_OBJECT
public:
    static constexpr int GroupRole = Qt::UserRole + 1;

    // The source is the document's selected domain and account.
    explicit CCopyProfile(CCwadminDoc& document, QWidget* parent = nullptr);

    QTreeWidget* Accounts() const { return m_tree; }
    QTreeWidget* Targets() const { return m_targets; }
    QCheckBox* NoRasCopy() const { return m_noRas; }
    QPushButton* CopyButton() const { return m_copy; }
    // The items of the tree chosen by name ("Users"/"Groups" branches).
    void OnAdd();
    void OnRemove();
    CProfileCopy::Outcome OnCopyNow();
    CProfileCopy::Outcome LastOutcome() const { return m_outcome; }

private:
    void Fill();
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    QString m_domain, m_account;
    QTreeWidget* m_tree;
    QTreeWidget* m_targets;
    QPushButton *m_add, *m_remove, *m_copy;
    QCheckBox* m_noRas;
    CProfileCopy::Outcome m_outcome = CProfileCopy::Outcome::Done;
};
