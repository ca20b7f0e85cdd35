#pragma once
// The sheet "Profile for: %s" of one account and its four pages: status,
// restrictions, miscellaneous and RAS permissions. The restrictions and
// miscellaneous pages also edit the default profile, given the account name
// "DEFAULT_PROFILE_CALLWARDEN".

#include "core/pages/userprofile.h"
#include "gui/toolkit/propertysheet.h"

#include <memory>

class CCwadminDoc;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTreeWidget;

// What the account pages share: the document, the account, and the check that
// the profile was not deleted by someone else while the sheet was open.
class CUserPropPage : public CPropertyPage {
    Q_OBJECT
public:
    CUserPropPage(CCwadminDoc& document, const QString& account, const QString& title, int helpContext,
                  QWidget* parent);

protected:
    void RememberSection();
    // Shows the result's message; false when refused.
    bool Report(const CApplyResult& result);
    // False, with a message, when the account's section existed at load and is gone now.
    bool StillThere();

    CCwadminDoc& m_doc;
    QString m_account;
    bool m_existed = false;
};

class CUserPropStatus : public CUserPropPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 106;
    CUserPropStatus(CCwadminDoc& document, const QString& account, QWidget* parent = nullptr);
    QTreeWidget* List() const { return m_list; }
    QPushButton* ResetButton() const { return m_reset; }
    void OnReset();

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void Fill();
    QTreeWidget* m_list;
    QPushButton* m_reset;
    CUserStatusValues m_values;
};

class CUserPropRestrict : public CUserPropPage {
    Q_OBJECT
public:
    CUserPropRestrict(CCwadminDoc& document, const QString& account, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();
    QCheckBox *m_sessionOn, *m_totalOn, *m_periodOn;
    QLineEdit *m_session, *m_total, *m_periodMax;
    QComboBox* m_period;
};

class CUserPropMisc : public CUserPropPage {
    Q_OBJECT
public:
    CUserPropMisc(CCwadminDoc& document, const QString& account, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();
    bool m_isDefault;
    QCheckBox *m_validOn, *m_concurrent, *m_addressOn;
    QLineEdit *m_days, *m_address;
};

class CUserPropRAS : public CUserPropPage {
    Q_OBJECT
public:
    CUserPropRAS(CCwadminDoc& document, const QString& account, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();
    QString m_controller;
    QCheckBox* m_dialIn;
    QRadioButton *m_noCallback, *m_byCaller, *m_preset;
    QLineEdit* m_number;
};

// The account's sheet, not yet shown; account is "DOMAIN\name".
std::unique_ptr<CPropertySheet> CreateUserProfileSheet(CCwadminDoc& document, const QString& account,
                                                       QWidget* parent);
// "Properties for: Default Profile": restrictions and miscellaneous of section "Default".
std::unique_ptr<CPropertySheet> CreateDefaultProfileSheet(CCwadminDoc& document, QWidget* parent);
// Opens the account's sheet modally; the users list is read again when it was accepted.
bool ShowUserProfile(CCwadminDoc& document, const QString& account, QWidget* parent);
