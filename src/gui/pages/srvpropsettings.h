#pragma once
// The "General" page of a server's properties: whether the server is the
// primary Callwarden server (or which one it talks to), the idle time-out,
// event logging, static IP assignment, and the service's status.

#include "gui/toolkit/propertysheet.h"

class CCwadminDoc;
class QCheckBox;
class QLabel;
class QLineEdit;
class QRadioButton;

class CSrvPropSettings : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 150;

    CSrvPropSettings(CCwadminDoc& document, int serverNumber, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    int m_number;
    QRadioButton* m_primary;
    QRadioButton* m_secondary;
    QLineEdit* m_masterComputer;
    QCheckBox* m_idleLimit;
    QLineEdit* m_idleMinutes;
    QCheckBox* m_logToEventLog;
    QCheckBox* m_staticIP;
    QLabel* m_computer;
    QLabel* m_version;
    QLabel* m_installed;
    QLabel* m_service;
};
