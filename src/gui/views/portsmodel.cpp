#include "gui/views/portsmodel.h"

#include "core/ports/portsviewfile.h"
#include "gui/app/icons.h"

using namespace Qt::StringLiterals;

CPortsModel::CPortsModel(QObject* parent)
    : CReportModel({{"Port", 120, Qt::AlignLeft | Qt::AlignVCenter},
                    {"User", 150, Qt::AlignLeft | Qt::AlignVCenter},
                    {"Connected", 100, Qt::AlignRight | Qt::AlignVCenter},
                    {"IP Address", 100, Qt::AlignRight | Qt::AlignVCenter}},
                   {CIcons::PortRow(0), CIcons::PortRow(1), CIcons::PortRow(2)}, parent) {}

QVariant CPortsModel::ToolTip(int row, int column) const {
    const QString text = Text(row, column);
    return text.trimmed().isEmpty() ? QVariant() : QVariant(text);
}

void CPortsModel::SetCells(int row, const QString& user, const QString& connected, const QString& ip) {
    Cell(row, ColUser) = user;
    Cell(row, ColConnected) = connected;
    Cell(row, ColIp) = ip;
    CellsChanged(row, ColUser, ColIp);
}

QList<int> CPortsModel::Merge(const CPortsViewFile& file, const std::function<QString(qint64)>& formatStart) {
    QList<int> rewritten;
    for (int row = 0; row < rowCount(); ++row) {
        const CPortsViewFile::Entry entry = file.Read(Text(row, ColPort));
        if (!PortRowDiffers(Text(row, ColUser), Text(row, ColConnected), entry))
            continue;
        const qint64 start = ProfileNumber(entry.start);
        SetCells(row, entry.user, start != 0 ? formatStart(start) : QString(), entry.ip);
        rewritten.append(row);
    }
    return rewritten;
}

void CPortsModel::Animate() {
    for (int row = 0; row < rowCount(); ++row)
        SetImage(row, ProfileNumber(Text(row, ColConnected)) != 0 ? (Image(row) + 1) % 3 : 0);
}
