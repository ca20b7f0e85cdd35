#pragma once
// The sheet "Properties for %s" of one monitored server: the "General" page and,
// for the master server only, the "Database Export" page.

#include <QString>

#include <memory>

class CCwadminDoc;
class CPropertySheet;
class QWidget;

// Opens the sheet modally for the named server; returns whether it was accepted.
bool ShowServerProperties(CCwadminDoc& document, const QString& server, QWidget* parent);

// The sheet for server number, not yet shown.
std::unique_ptr<CPropertySheet> CreateServerProperties(CCwadminDoc& document, int number, QWidget* parent);
