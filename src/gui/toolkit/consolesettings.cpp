#include "gui/toolkit/consolesettings.h"

#include <QHeaderView>
#include <QSettings>
#include <QWidget>

using namespace Qt::StringLiterals;

void CConsoleSettings::SaveHeader(const QString& section, const QString& entry, const QHeaderView* header) {
    QList<QVariant> widths;
    for (int i = 0; i < header->count(); ++i)
        widths.append(header->sectionSize(i));
    QSettings().setValue(section + u'/' + entry, widths);
}

bool CConsoleSettings::RestoreHeader(const QString& section, const QString& entry, QHeaderView* header) {
    const QList<QVariant> widths = QSettings().value(section + u'/' + entry).toList();
    if (widths.size() != header->count())
        return false;
    for (int i = 0; i < widths.size(); ++i)
        header->resizeSection(i, qMax(2, widths[i].toInt()));
    return true;
}

void CConsoleSettings::SavePlacement(const QString& name, const QWidget* window) {
    QSettings().setValue(name + u"/Placement"_s, window->saveGeometry());
}

bool CConsoleSettings::RestorePlacement(const QString& name, QWidget* window) {
    const QByteArray geometry = QSettings().value(name + u"/Placement"_s).toByteArray();
    return !geometry.isEmpty() && window->restoreGeometry(geometry);
}
