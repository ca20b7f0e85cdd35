#include "gui/pages/portproperties.h"

#include "core/doc/cwadmindoc.h"
#include "gui/pages/propport.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/propertysheet.h"

using namespace Qt::StringLiterals;

std::unique_ptr<CPropertySheet> CreatePortProperties(CCwadminDoc& document, const QString& server,
                                                     const QString& port, QWidget* parent) {
    auto sheet = std::make_unique<CPropertySheet>(u"Properties for %1\\%2"_s.arg(server, port), true, parent);
    sheet->AddPage(new CPropPort(document, server, port));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}

bool ShowPortProperties(CCwadminDoc& document, const QString& server, const QString& port, QWidget* parent) {
    if (!document.MasterKnown()) {
        document.ReportNoMasterServer(u"Can't show port properties"_s);
        return false;
    }
    auto sheet = CreatePortProperties(document, server, port, parent);
    return sheet->exec() == QDialog::Accepted;
}
