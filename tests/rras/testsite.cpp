#include "rras/testsite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

CTestSite::CTestSite(const QString& localComputer) {
    m_siteValues.insert(u"LocalComputer"_s, localComputer);
    SetSiteValue(u"LocalComputer"_s, localComputer);
    AddHost(localComputer);
}

QByteArray CTestSite::RootBytes() const {
    return QFile::encodeName(Root());
}

QString CTestSite::Path(const QString& relative) const {
    return m_dir.filePath(relative);
}

void CTestSite::SetSiteValue(const QString& key, const QString& value) {
    m_siteValues.insert(key, value);
    QString text = u"[Site]\r\n"_s;
    for (auto it = m_siteValues.cbegin(); it != m_siteValues.cend(); ++it)
        text += it.key() + u'=' + it.value() + u"\r\n"_s;
    WriteText(u"site.ini"_s, text);
}

void CTestSite::AddHost(const QString& name, const QStringList& hostKeys) {
    QDir(Root()).mkpath(u"hosts/"_s + name);
    m_texts.remove(u"hosts/%1/host.ini"_s.arg(name));
    AppendSection(u"hosts/%1/host.ini"_s.arg(name), u"Host"_s, hostKeys);
}

void CTestSite::AddService(const QString& host, const QString& service, const QStringList& keys) {
    AppendSection(u"hosts/%1/services.ini"_s.arg(host), service, keys);
}

void CTestSite::AddPort(const QString& host, const QString& port, const QStringList& keys) {
    AppendSection(u"hosts/%1/ports.ini"_s.arg(host), port, keys);
}

void CTestSite::AddRasUser(const QString& host, const QString& account, int privilege, const QString& phone) {
    AppendSection(u"hosts/%1/rasusers.ini"_s.arg(host), account,
                  {u"Privilege=%1"_s.arg(privilege), u"Phone="_s + phone});
}

void CTestSite::AppendSection(const QString& relative, const QString& section, const QStringList& keys) {
    QString& text = m_texts[relative];
    text += u'[' + section + u"]\r\n"_s;
    for (const QString& key : keys)
        text += key + u"\r\n"_s;
    text += u"\r\n"_s;
    WriteText(relative, text);
}

void CTestSite::WriteText(const QString& relative, const QString& text) {
    QFile file(Path(relative));
    QDir().mkpath(QFileInfo(file).absolutePath());
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(text.toLatin1());
}

QByteArray CTestSite::ReadBytes(const QString& relative) const {
    QFile file(Path(relative));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString ModulePath(const QString& name) {
    return QStringLiteral(CW_BIN_DIR) + u'/' + name + u".so"_s;
}

void* LoadModule(const QString& name, QString* error) {
    void* module = dlopen(QFile::encodeName(ModulePath(name)).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!module && error)
        *error = QString::fromLocal8Bit(dlerror());
    return module;
}
