#include "testini.h"

#include <QFile>
#include <QTest>

namespace IniTest {

QByteArray ReadFile(const std::filesystem::path& path) {
    QFile file(QString::fromStdString(path.string()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteFile(const std::filesystem::path& path, const QByteArray& bytes) {
    QFile file(QString::fromStdString(path.string()));
    QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(file.errorString()));
    QCOMPARE(file.write(bytes), bytes.size());
}

QStringList AllFiles(const std::filesystem::path& dir) {
    QStringList names;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        names << QString::fromStdString(entry.path().filename().string());
    names.sort();
    return names;
}

QByteArray AccountFile(int accounts) {
    QByteArray out;
    for (int a = 0; a < accounts; ++a)
        out += "[DOMAIN\\user" + QByteArray::number(a) + "]\r\nMaxSessionTime=" + QByteArray::number(a * 60) +
               "\r\nNoDuplicate=1\r\nTotalConnects=" + QByteArray::number(a) + "\r\n\r\n";
    return out;
}

} // namespace IniTest

void TestIni::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

std::filesystem::path TestIni::Path(const char* name) const {
    return std::filesystem::path(m_dir->path().toStdString()) / name;
}

QTEST_GUILESS_MAIN(TestIni)
