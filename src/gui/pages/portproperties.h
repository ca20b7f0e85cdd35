#pragma once
// The sheet "Properties for %s\%s" holding one port's profile page.

#include <QString>

#include <memory>

class CCwadminDoc;
class CPropertySheet;
class QWidget;

// Opens the sheet modally for the port of the server; returns whether it was accepted.
// Without a known master server the profiles cannot be reached: that is reported
// and nothing opens.
bool ShowPortProperties(CCwadminDoc& document, const QString& server, const QString& port, QWidget* parent);

// The sheet for the port of the server, not yet shown.
std::unique_ptr<CPropertySheet> CreatePortProperties(CCwadminDoc& document, const QString& server,
                                                     const QString& port, QWidget* parent);
