#include "gui/pages/systemsettings.h"

#include "core/doc/cwadmindoc.h"
#include "gui/pages/systemdatabase.h"
#include "gui/pages/systemdefaultprofile.h"
#include "gui/pages/systemmessages.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/propertysheet.h"

using namespace Qt::StringLiterals;

std::unique_ptr<CPropertySheet> CreateSystemSettings(CCwadminDoc& document, QWidget* parent) {
    auto sheet = std::make_unique<CPropertySheet>(u"System Settings"_s, true, parent);
    sheet->AddPage(new CSystemDatabase(document));
    sheet->AddPage(new CSystemDailyReport(document));
    sheet->AddPage(new CSystemDefaultProfile(document));
    sheet->AddPage(new CSystemNotifications(document));
    sheet->AddPage(new CSystemGreetings(document));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    // Room for the database tree and the greeting texts.
    sheet->resize(540, 500);
    return sheet;
}

bool ShowSystemSettings(CCwadminDoc& document, QWidget* parent) {
    if (!document.MasterKnown()) {
        document.ReportNoMasterServer(u"Can't access system settings"_s);
        return false;
    }
    auto sheet = CreateSystemSettings(document, parent);
    return sheet->exec() == QDialog::Accepted;
}
