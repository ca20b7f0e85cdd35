#pragma once
// Tests of the initialisation-file engine, through its public face: Files for
// what callers do, Document for the bulk read and Edit for the writer's bytes.

#include "ini/inifile.h"

#include <QByteArrayList>
#include <QObject>
#include <QTemporaryDir>

#include <filesystem>
#include <memory>

namespace IniTest {

// A byte string from a literal, embedded NULs included.
template <std::size_t N>
QByteArray B(const char (&text)[N]) {
    return QByteArray(text, qsizetype(N - 1));
}
inline QByteArray Q(std::string_view text) {
    return QByteArray(text.data(), qsizetype(text.size()));
}
inline std::string S(const QByteArray& bytes) {
    return bytes.toStdString();
}

QByteArray ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const QByteArray& bytes);
// Every file in a folder, sorted.
QStringList AllFiles(const std::filesystem::path& dir);
// An account file of `accounts` sections of profile and statistics keys.
QByteArray AccountFile(int accounts);

} // namespace IniTest

class TestIni : public QObject {
    Q_OBJECT

private slots:
    void init();

    // Reading (test_read.cpp)
    void read_data();
    void read();
    void readLarge_data();
    void readLarge();

    // Writing (test_write.cpp)
    void write_data();
    void write();
    void writeFailure_data();
    void writeFailure();
    void interruptedWrite();

    // The parse cache, other writers, threads and processes (test_files.cpp)
    void otherWriter_data();
    void otherWriter();
    void cacheLimitAndForget();
    void twoProcessesIncrement();
    void readersDuringWrites();

private:
    std::filesystem::path Path(const char* name) const;

    std::unique_ptr<QTemporaryDir> m_dir;
};
