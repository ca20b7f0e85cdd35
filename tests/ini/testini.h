#pragma once
// Tests of the initialisation-file engine, through its public face: Files for
// what callers do, Document for the bulk read and Edit for the writer's bytes.

#include "ini/inifile.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QTemporaryDir>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// One expected lookup: the value, or nullopt when the key must be missing.
struct Lookup {
    QByteArray section;
    QByteArray key;
    std::optional<QByteArray> value;
};
using Lookups = QList<Lookup>;
Q_DECLARE_METATYPE(Lookups)

enum class EditKind { Set, DeleteKey, DeleteSection };
Q_DECLARE_METATYPE(EditKind)

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

// Engine options for tests of interrupted writes.
inline OCL::Ini::FilesOptions WriteOptions(std::size_t writeChunk,
                                           std::function<bool(std::size_t)> crashAfter = {}) {
    OCL::Ini::FilesOptions options;
    options.writeChunk = writeChunk;
    options.crashAfter = std::move(crashAfter);
    return options;
}

QByteArray ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const QByteArray& bytes);
// The bulk read flattened: "[name]" per physical section, "name=value" per key.
QByteArrayList Flatten(const OCL::Ini::Document& document);
// Files in a folder other than the engine's temporaries.
QStringList VisibleFiles(const std::filesystem::path& dir);
// A day's log of the kind the service writes, CRLF, about `bytes` long.
QByteArray LogFile(std::size_t bytes, int servers, int ports);
// An account file of `accounts` sections of profile and statistics keys.
QByteArray AccountFile(int accounts);

} // namespace IniTest

class TestIni : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    // Reading (test_read.cpp)
    void read_data();
    void read();
    void readLarge_data();
    void readLarge();
    void getInt_data();
    void getInt();

    // Writing (test_write.cpp)
    void write_data();
    void write();
    void writeUnchanged_data();
    void writeUnchanged();
    void writeFailure_data();
    void writeFailure();
    void editInOrder();
    void interruptedWrite();

    // The parse cache and threads (test_files.cpp)
    void cacheReuse();
    void cacheSeesChange_data();
    void cacheSeesChange();
    void cacheFollowsOwnWrites();
    void cacheLimit();
    void forget();
    void readersDuringWrites();
    void concurrentWriters();

private:
    std::filesystem::path Path(const char* name) const;

    std::unique_ptr<QTemporaryDir> m_dir;
};
