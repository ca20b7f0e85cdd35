#pragma once
// The pages "Greetings", "Notifications" and "Daily Report" of the system
// settings: what the service tells dial-in users and the administrator.

#include "core/pages/systemmessages.h"
#include "gui/toolkit/propertysheet.h"

class CCwadminDoc;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QPlainTextEdit;
class QRadioButton;
class QTreeWidget;

class CSystemGreetings : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 174;
    explicit CSystemGreetings(CCwadminDoc& document, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void ShowRule(int rule);

    CCwadminDoc& m_doc;
    CGreetingSettings m_values;
    int m_shown = -1;
    QTreeWidget* m_rules;
    QPlainTextEdit* m_text;
};

class CSystemNotifications : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 173;
    explicit CSystemNotifications(CCwadminDoc& document, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    QCheckBox* m_on[2];
    QLineEdit* m_seconds[2];
    QLineEdit* m_text[2];
};

class CSystemDailyReport : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 171;
    explicit CSystemDailyReport(CCwadminDoc& document, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    QRadioButton* m_off;
    QRadioButton* m_kind[2];
    QComboBox* m_hour;
    QLineEdit* m_to;
    QLineEdit* m_server;
    QLineEdit* m_from;
};
