#pragma once
// The database export settings of the service on the master server: the ODBC
// data source with its login, what to export, and the hours, weekdays and days
// of the month at which to export (bit sets, see exportschedule.h).

#include "core/pages/applyresult.h"
#include "platform/types.h"

#include <QString>

class CCwadminDoc;

struct CExportSettings {
    static constexpr int kDsnLength = 200;
    static constexpr int kAccountLength = 100;
    static constexpr int kPasswordLength = 100;

    bool exportUsers = false;
    bool exportHistory = false;
    QString dsn;
    QString account;
    QString password; // kept as plain text by the service
    OCL::DWORD hours = 0;
    OCL::DWORD weekdays = 0;
    OCL::DWORD dates = 0;

    // The schedule means something only while something is exported.
    bool ScheduleEnabled() const { return exportUsers || exportHistory; }

    static CExportSettings Load(CCwadminDoc& document, int number);
    // With neither export on, nothing is written and the stored settings stay:
    // turning both off does not switch the service's export off.
    CApplyResult Apply(CCwadminDoc& document, int number) const;

    static QString NoHourText();
    static QString NoDsnText();
};
