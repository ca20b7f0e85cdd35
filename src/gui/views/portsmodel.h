#pragma once
// The rows of the ports view: one per port with its user, the start of the
// session and the user's address, the port's index in the server's slots and
// the image of its row icon. The poll's findings are merged in by Merge.

#include "gui/toolkit/reportmodel.h"

#include <functional>

class CPortsViewFile;

class CPortsModel final : public CReportModel {
    Q_OBJECT
public:
    enum Column { ColPort, ColUser, ColConnected, ColIp, ColumnCount };
    static constexpr int PortIndexRole = ItemDataRole;

    explicit CPortsModel(QObject* parent = nullptr);

    // The row's item data is the port's index in the server's slots.
    int PortIndex(int row) const { return int(ItemData(row)); }
    void SetPortIndex(int row, int index) { SetItemData(row, index); }
    // The first row whose port name is name (exactly), or -1.
    int FindPort(const QString& name) const { return FindRow(name); }
    // Writes the user, the session start's text and the address.
    void SetCells(int row, const QString& user, const QString& connected, const QString& ip);

    // Merges a poll: each row whose user or start differs from its port's section
    // is rewritten (the start as formatStart(seconds) when nonzero, else empty).
    // Returns the rows rewritten.
    QList<int> Merge(const CPortsViewFile& file, const std::function<QString(qint64)>& formatStart);

    // One step of the row icons: a row whose "Connected" cell begins with a
    // nonzero number shows the next image of three, every other row image 0.
    void Animate();

protected:
    // The start's date and time are often wider than their column.
    QVariant ToolTip(int row, int column) const override;
};
