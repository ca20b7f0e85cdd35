#include "testini.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace IniTest {

QByteArray ReadFile(const std::filesystem::path& path) {
    QFile file(QString::fromStdString(path.string()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void WriteFile(const std::filesystem::path& path, const QByteArray& bytes) {
    QFile file(QString::fromStdString(path.string()));
    QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(file.errorString()));
    QCOMPARE(file.write(bytes), bytes.size());
}

QByteArrayList Flatten(const OCL::Ini::Document& document) {
    QByteArrayList out;
    for (std::size_t s = 0; s < document.SectionCount(); ++s) {
        out << QByteArray("[" + Q(document.SectionName(s)) + "]");
        for (std::size_t k = 0; k < document.KeyCount(s); ++k)
            out << QByteArray(Q(document.KeyName(s, k)) + "=" + Q(document.Value(s, k)));
    }
    return out;
}

QStringList VisibleFiles(const std::filesystem::path& dir) {
    QStringList names;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        const std::string name = entry.path().filename().string();
        if (!name.ends_with(".cwtmp"))
            names << QString::fromStdString(name);
    }
    names.sort();
    return names;
}

QByteArray LogFile(std::size_t bytes, int servers, int ports) {
    QByteArray out;
    out.reserve(qsizetype(bytes + 4096));
    const int sections = servers * ports;
    const std::size_t perSection = bytes / std::size_t(sections);
    std::uint32_t random = 12345;
    for (int s = 0; s < sections; ++s) {
        out += QByteArray("[SERVER" + QByteArray::number(s / ports).rightJustified(2, '0') + "\\COM" +
                          QByteArray::number(s % ports + 1) + "]\r\n");
        const qsizetype end = out.size() + qsizetype(perSection);
        long long time = 1700000000;
        while (out.size() < end) {
            random = random * 1103515245u + 12345u;
            const QByteArray user = "DOMAIN\\user" + QByteArray::number((random >> 8) % 500);
            time += 1 + (random >> 16) % 90;
            out += QByteArray::number(time) + "=";
            switch ((random >> 24) % 3) {
            case 0:
                out += "C_" + user + "\r\n";
                break;
            case 1:
                out += "H" + QByteArray::number((random >> 12) % 7200) + "_" + user +
                       "?3232235777?255:0000:WS01:1000:2000\r\n";
                break;
            default:
                out += "N_" + user + "?" + QByteArray::number((random >> 20) % 7 + 1) + "\r\n";
                break;
            }
        }
    }
    return out;
}

QByteArray AccountFile(int accounts) {
    QByteArray out;
    for (int a = 0; a < accounts; ++a) {
        const QByteArray n = QByteArray::number(a);
        out += "[DOMAIN\\user" + n + "]\r\n";
        out += "MaxSessionTime=" + QByteArray::number(a * 60 % 7200) + "\r\n";
        out += "MaxTotalTime=0\r\nPeriodMax=3600\r\nPeriodType=" + QByteArray::number(a % 4) + "\r\n";
        out += "StaticIP=-1062731519\r\nExpiryTime=0\r\nNoDuplicate=1\r\n";
        out += "Sessions=" + n + "\r\nDenied=0\r\nLastSession=1700000000\r\nTotalTime=" + n + "0\r\n\r\n";
    }
    return out;
}

} // namespace IniTest

void TestIni::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestIni::cleanup() {
    m_dir.reset();
}

std::filesystem::path TestIni::Path(const char* name) const {
    return std::filesystem::path(m_dir->path().toStdString()) / name;
}

QTEST_GUILESS_MAIN(TestIni)
