#include "core/ui/listfile.h"

#include "core/app/ansitext.h"

#include <QSaveFile>

#include <string>

using namespace Qt::StringLiterals;

namespace CListFile {

namespace {

void AppendLine(int row, int columns, const Cell& cell, QString* text) {
    for (int column = 0; column < columns; ++column) {
        const QString value = cell(row, column);
        *text += value.isEmpty() ? u" "_s : value;
        *text += u',';
    }
}

} // namespace

QString Text(const std::vector<int>& rows, int rowCount, int columns, const Cell& cell) {
    QString text;
    text.reserve(qsizetype(rows.size()) * 220);
    for (const int row : rows) {
        if (row < 0 || row >= rowCount)
            continue;
        AppendLine(row, columns, cell, &text);
        text += u"\r\n"_s;
    }
    return text;
}

bool Write(QIODevice& out, const QString& header, const std::vector<int>* rows, int rowCount, int columns,
           const Cell& cell) {
    std::string bytes = CAnsi::FromQString(header) + "\r\n";
    const int count = rows ? int(rows->size()) : rowCount;
    QString line;
    for (int i = 0; i < count; ++i) {
        const int row = rows ? (*rows)[std::size_t(i)] : i;
        if (row < 0 || row >= rowCount)
            continue;
        line.clear();
        AppendLine(row, columns, cell, &line);
        bytes += CAnsi::FromQString(line);
        bytes += "\r\n";
        if (bytes.size() >= (1u << 16)) {
            if (out.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size()))
                return false;
            bytes.clear();
        }
    }
    return out.write(bytes.data(), qint64(bytes.size())) == qint64(bytes.size());
}

bool Save(const QString& path, OCL::IPrompter& prompter, const std::function<bool(QIODevice&)>& write) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        prompter.Message(u"Error opening file for output."_s, {}, OCL::IPrompter::Icon::Error,
                         OCL::IPrompter::Buttons::Ok);
        return false;
    }
    if (!write(file) || !file.commit()) {
        prompter.Message(u"Error writing %1: %2"_s.arg(path, file.errorString()), {},
                         OCL::IPrompter::Icon::Error, OCL::IPrompter::Buttons::Ok);
        return false;
    }
    return true;
}

} // namespace CListFile
