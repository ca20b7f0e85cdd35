#pragma once
// The console's own per-user display settings that no part of the service
// fixes: list column widths and window placements. Kept with QSettings under
// the company's and the application's names.

#include <QByteArray>
#include <QString>

class QHeaderView;
class QWidget;

namespace CConsoleSettings {

// Column widths of a list, under "<section>/<entry>" (for example "PortsView"/"Columns").
void SaveHeader(const QString& section, const QString& entry, const QHeaderView* header);
bool RestoreHeader(const QString& section, const QString& entry, QHeaderView* header);

// A window's placement, under "<name>/Placement".
void SavePlacement(const QString& name, const QWidget* window);
bool RestorePlacement(const QString& name, QWidget* window);

} // namespace CConsoleSettings
