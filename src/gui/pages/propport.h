#pragma once
// The "Settings" page of a port's properties: the longest session, a static IP
// address for whoever uses the port, the groups and domains whose accounts
// alone may use it, and an idle time-out.

#include "core/pages/portprofile.h"
#include "gui/toolkit/propertysheet.h"

class CCwadminDoc;
class QCheckBox;
class QLineEdit;
class QPushButton;
class QTreeWidget;

class CPropPort : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 140;
    // The list's items keep their entry's kind here.
    static constexpr int KindRole = Qt::UserRole + 1;

    CPropPort(CCwadminDoc& document, const QString& server, const QString& port, QWidget* parent = nullptr);

    QTreeWidget* Accounts() const { return m_accounts; }
    // The list's entries in the order they are written (bottom of the list first).
    QList<CAllowedAccount> Entries() const;

    void OnAddGroup();
    void OnRemove();

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void InsertEntry(const CAllowedAccount& entry);
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    QString m_server;
    QString m_port;
    QCheckBox* m_sessionLimit;
    QLineEdit* m_sessionMinutes;
    QCheckBox* m_staticAddress;
    QLineEdit* m_address;
    QCheckBox* m_restricted;
    QTreeWidget* m_accounts;
    QPushButton* m_addGroup;
    QPushButton* m_remove;
    QCheckBox* m_idleLimit;
    QLineEdit* m_idleMinutes;
};
