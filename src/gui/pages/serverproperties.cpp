#include "gui/pages/serverproperties.h"

#include "core/doc/cwadmindoc.h"
#include "gui/pages/srvpropodbc.h"
#include "gui/pages/srvpropsettings.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/propertysheet.h"

using namespace Qt::StringLiterals;

std::unique_ptr<CPropertySheet> CreateServerProperties(CCwadminDoc& document, int number, QWidget* parent) {
    CServer& server = document.Servers()[std::size_t(number)];
    bool master = false;
    {
        auto lock = server.Lock();
        master = server.m_master != 0;
    }
    auto sheet = std::make_unique<CPropertySheet>(u"Properties for %1"_s.arg(server.Name()), true, parent);
    sheet->AddPage(new CSrvPropSettings(document, number));
    if (master)
        sheet->AddPage(new CSrvPropODBC(document, number));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}

bool ShowServerProperties(CCwadminDoc& document, const QString& server, QWidget* parent) {
    const int number = document.GetServerNumberByName(server);
    if (number < 0) {
        // Shows "Server %s not found in server list".
        document.GetServerByName(server);
        return false;
    }
    auto sheet = CreateServerProperties(document, number, parent);
    return sheet->exec() == QDialog::Accepted;
}
