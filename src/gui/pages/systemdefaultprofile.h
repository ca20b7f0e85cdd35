#pragma once
// The "Default Profile" page of the system settings: whether users without a
// profile may dial in (and get one made from the default profile), and the
// button that edits the default profile.

#include "gui/toolkit/propertysheet.h"

class CCwadminDoc;
class QPushButton;
class QRadioButton;

class CSystemDefaultProfile : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 106;
    explicit CSystemDefaultProfile(CCwadminDoc& document, QWidget* parent = nullptr);

    QRadioButton* NotAllowed() const { return m_notAllowed; }
    QRadioButton* Allowed() const { return m_allowed; }
    QPushButton* DefaultProfileButton() const { return m_defaultProfile; }
    void OnDefaultProfile();

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();
    CCwadminDoc& m_doc;
    QRadioButton* m_notAllowed;
    QRadioButton* m_allowed;
    QPushButton* m_defaultProfile;
};
