#pragma once
// The "Database Export" page of the master server's properties: what the
// service exports to the ODBC data source, and on which hours, weekdays and days
// of the month.

#include "core/pages/exportsettings.h"
#include "gui/toolkit/propertysheet.h"

class CCwadminDoc;
class QCheckBox;
class QGroupBox;
class QLineEdit;
class QListWidget;
class QPushButton;

class CSrvPropODBC : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 151;

    CSrvPropODBC(CCwadminDoc& document, int serverNumber, QWidget* parent = nullptr);

    // "Change...": edits the login in "Database Login Information"; the values
    // are written with the page.
    void OnChangeDsn();

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();
    void ShowLogin();

    CCwadminDoc& m_doc;
    int m_number;
    CExportSettings m_values;
    QCheckBox* m_exportUsers;
    QCheckBox* m_exportHistory;
    QGroupBox* m_schedule;
    QListWidget* m_hours;
    QListWidget* m_weekdays;
    QListWidget* m_dates;
    QGroupBox* m_database;
    QLineEdit* m_dsn;
    QLineEdit* m_account;
    QPushButton* m_change;
};
