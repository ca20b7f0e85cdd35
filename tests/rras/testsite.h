#pragma once
// A small site written straight into a temporary folder, and access to the site
// modules as the console binds them: by name from the built library.

#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <dlfcn.h>

class CTestSite {
public:
    explicit CTestSite(const QString& localComputer = QStringLiteral("CONSOLE"));

    bool IsValid() const { return m_dir.isValid(); }
    QString Root() const { return m_dir.path(); }
    QByteArray RootBytes() const;
    QString Path(const QString& relative) const;

    // [Site] of site.ini.
    void SetSiteValue(const QString& key, const QString& value);
    // A host folder with its [Host] keys ("RasKind=RAS", "Reachable=0", ...).
    void AddHost(const QString& name, const QStringList& hostKeys = {});
    // A section of services.ini ("State=4", ...).
    void AddService(const QString& host, const QString& service, const QStringList& keys);
    // A section of ports.ini, in the order of the calls.
    void AddPort(const QString& host, const QString& port, const QStringList& keys);
    // An entry of rasusers.ini.
    void AddRasUser(const QString& host, const QString& account, int privilege, const QString& phone);
    // Any file of the site, CRLF line ends.
    void WriteText(const QString& relative, const QString& text);
    QByteArray ReadBytes(const QString& relative) const;

private:
    void AppendSection(const QString& relative, const QString& section, const QStringList& keys);

    QTemporaryDir m_dir;
    QMap<QString, QString> m_siteValues;
    QMap<QString, QString> m_texts;
};

// The built module file, e.g. "RASSAPI" -> <bin>/RASSAPI.so.
QString ModulePath(const QString& name);
// dlopen of the built module; null with a message in *error on failure.
void* LoadModule(const QString& name, QString* error);

template <typename F>
F Resolve(void* module, const char* name) {
    return reinterpret_cast<F>(dlsym(module, name));
}
