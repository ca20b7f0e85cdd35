#pragma once
// The text of a list as it is copied and saved (every cell followed by a
// comma, an empty cell as one blank, each row ended by CR LF), and saving a
// file the user named: written beside it and renamed over it, so a failed
// save leaves the old file, with the console's messages when it fails.

#include "core/ui/prompter.h"

#include <QIODevice>
#include <QString>

#include <functional>
#include <vector>

namespace CListFile {

using Cell = std::function<QString(int row, int column)>;

// The rows given that are below rowCount: the clipboard's text.
QString Text(const std::vector<int>& rows, int rowCount, int columns, const Cell& cell);

// The header line, then the rows (all of them when rows is null) in the file's
// code page, a piece at a time; false when a write fails.
bool Write(QIODevice& out, const QString& header, const std::vector<int>* rows, int rowCount, int columns,
           const Cell& cell);

// write fills the new file and answers false when a write failed.
bool Save(const QString& path, OCL::IPrompter& prompter, const std::function<bool(QIODevice&)>& write);

} // namespace CListFile
