#include "core/pages/exportsettings.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/serversettings.h"

using namespace Qt::StringLiterals;
using OCL::DWORD;

namespace {

const QString kService = u"Service"_s;

} // namespace

QString CExportSettings::NoHourText() {
    return u"This scheduling criteria will never be fulfilled, because there are no\nselections made for the "
           u"'Hour of Day'.\n\nWith this schedule, Callwarden will never export any data."_s;
}

QString CExportSettings::NoDsnText() {
    return u"You have not specified a DSN."_s;
}

CExportSettings CExportSettings::Load(CCwadminDoc& document, int number) {
    const QString computer = CGeneralSettings::RemoteName(document.Servers()[std::size_t(number)].Name());
    CExportSettings values;
    DWORD users = 0, history = 0;
    document.ReadRegDWORD(computer, kService, u"ExportUsers"_s, &users);
    document.ReadRegDWORD(computer, kService, u"ExportHistory"_s, &history);
    document.ReadRegDWORD(computer, kService, u"ExportHours"_s, &values.hours);
    document.ReadRegDWORD(computer, kService, u"ExportDays"_s, &values.weekdays);
    document.ReadRegDWORD(computer, kService, u"ExportDates"_s, &values.dates);
    document.ReadRegString(computer, kService, u"ODBC_DSN"_s, &values.dsn);
    document.ReadRegString(computer, kService, u"ODBC_Account"_s, &values.account);
    document.ReadRegString(computer, kService, u"ODBC_Password"_s, &values.password);
    values.exportUsers = users != 0;
    values.exportHistory = history != 0;
    return values;
}

CApplyResult CExportSettings::Apply(CCwadminDoc& document, int number) const {
    if (!ScheduleEnabled())
        return CApplyResult::Applied();
    if (hours == 0)
        return CApplyResult::Refused(NoHourText(), OCL::IPrompter::Icon::Information);
    if (dsn.isEmpty())
        return CApplyResult::Refused(NoDsnText(), OCL::IPrompter::Icon::Warning);

    const QString computer = CGeneralSettings::RemoteName(document.Servers()[std::size_t(number)].Name());
    document.SetRegDWORD(computer, kService, u"ExportHistory"_s, exportHistory ? 1 : 0);
    document.SetRegDWORD(computer, kService, u"ExportUsers"_s, exportUsers ? 1 : 0);
    document.SetRegString(computer, kService, u"ODBC_Account"_s, account);
    document.SetRegString(computer, kService, u"ODBC_Password"_s, password);
    document.SetRegString(computer, kService, u"ODBC_DSN"_s, dsn);
    document.SetRegDWORD(computer, kService, u"ExportDates"_s, dates);
    document.SetRegDWORD(computer, kService, u"ExportHours"_s, hours);
    document.SetRegDWORD(computer, kService, u"ExportDays"_s, weekdays);
    return CApplyResult::Applied();
}
