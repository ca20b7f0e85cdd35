#pragma once
// The sheet "System Settings": the service's database, the daily report, the
// default profile, the notifications and the greetings, in this order.

#include <memory>

class CCwadminDoc;
class CPropertySheet;
class QWidget;

// The sheet, not yet shown.
std::unique_ptr<CPropertySheet> CreateSystemSettings(CCwadminDoc& document, QWidget* parent);

// Opens the sheet modally; without a known master server that is reported and
// nothing opens. Returns whether it was accepted.
bool ShowSystemSettings(CCwadminDoc& document, QWidget* parent);
