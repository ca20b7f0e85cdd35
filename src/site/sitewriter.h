#pragma once
// Writes a site: the folder, site.ini, network.ini, and per host its host.ini,
// registry (registry-export text), services, port table, RAS account rights and
// shares. cwsite init builds its demo network with it and the tests build their
// small sites with it, so both write exactly what the console reads.
//
// Changes are collected in memory and written by Save(); Save() may be called
// again after further changes (it rewrites what changed).

#include "platform/site/sitedirectory.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace OCL::Site {
class CRegHive;
class RegNode;
} // namespace OCL::Site
namespace OCL::Ini {
class Files;
}

// hosts/NAME/host.ini of a host written by CSiteWriter.
struct CSiteHostOptions {
    bool reachable = true;
    bool accessDenied = false;
    int latencyMs = 0;
    QString rasKind = QStringLiteral("None"); // "RAS", "RRAS" or "None"
    int platformId = 2;
    int majorVersion = 4;
    int minorVersion = 0;
    int buildNumber = 1381;
};

class CSiteWriter {
public:
    // "HKEY_LOCAL_MACHINE\Software\Osterline Technologies\Callwarden\Service": the
    // service's settings on each server; "...\Client" and "...\Servers" on the
    // console's computer.
    static const QString kServiceKey;
    static const QString kClientKey;
    static const QString kServersKey;

    // What host.ini says of a host. Declared outside the class (GCC cannot use a
    // nested struct with member initialisers as a default argument inside it).
    using HostOptions = CSiteHostOptions;

    // root is created when missing.
    explicit CSiteWriter(const QString& root);
    ~CSiteWriter();
    CSiteWriter(const CSiteWriter&) = delete;
    CSiteWriter& operator=(const CSiteWriter&) = delete;

    QString Root() const { return m_root; }

    // site.ini
    void SetLocalComputer(const QString& name);
    void SetSiteValue(const QString& section, const QString& key, const QString& value);

    // Hosts.
    void AddHost(const QString& name, const HostOptions& options = {});
    void SetHostValue(const QString& host, const QString& key, const QString& value);

    // Registry of a host. keyPath starts with the root ("HKEY_LOCAL_MACHINE\...",
    // "HKEY_USERS\..."). Strings are REG_SZ with their terminator.
    void CreateRegKey(const QString& host, const QString& keyPath);
    void SetRegString(const QString& host, const QString& keyPath, const QString& name, const QString& text);
    void SetRegDword(const QString& host, const QString& keyPath, const QString& name, quint32 value);
    void SetRegRaw(const QString& host, const QString& keyPath, const QString& name, quint32 type,
                   const QByteArray& data);
    void DeleteRegValue(const QString& host, const QString& keyPath, const QString& name);
    // Shorthands for the service's key on a server.
    void SetServiceString(const QString& host, const QString& name, const QString& text);
    void SetServiceDword(const QString& host, const QString& name, quint32 value);
    // The console's computer: a monitored server (a subkey of "Servers") and a
    // "Client" setting.
    void AddMonitoredServer(const QString& consoleHost, const QString& server);
    void SetClientDword(const QString& consoleHost, const QString& name, quint32 value);
    void SetClientString(const QString& consoleHost, const QString& name, const QString& text);

    // services.ini: state 1 stopped, 4 running.
    void SetService(const QString& host, const QString& service, int state, int startPendingMs = 0,
                    int stopPendingMs = 0);
    // ports.ini, in the order of the calls.
    void AddPort(const QString& host, const OCL::Site::PortRecord& port);
    // rasusers.ini of a domain controller.
    void SetRasUser(const QString& controller, const QString& account, int privilege,
                    const QString& phone = {});

    // network.ini.
    void AddProvider(const QString& provider);
    void AddDomain(const QString& domain, const QString& controller,
                   const QString& provider = QStringLiteral("Microsoft Windows Network"));
    void AddComputer(const QString& domain, const QString& computer, bool dialinServer);
    void AddGroup(const QString& domain, const QString& group, const QStringList& members);
    void AddUser(const QString& domain, const QString& user);
    void AddLocalGroup(const QString& domain, const QString& group);
    // [Network] PrimaryDomain: the domain of this computer.
    void SetPrimaryDomain(const QString& domain);
    // A network.ini list ("Domain:CORP", "Users"), as saved or about to be saved.
    QStringList NetworkList(const QString& section, const QString& key);

    // The folder of a host (hosts/NAME), whatever the case of its name.
    QString HostPath(const QString& host) const;

    // Shares: the folder standing for \\HOST\SHARE (created), and files in it.
    QString SharePath(const QString& host, const QString& share);
    void WriteShareFile(const QString& host, const QString& share, const QString& relativePath,
                        const QByteArray& bytes);

    // Writes everything collected so far. False with a reason when a file could
    // not be written.
    bool Save(QString* error = nullptr);

private:
    OCL::Site::CRegHive& Hive(const QString& host);
    void SetIniValue(const QString& relativeFile, const QString& section, const QString& key,
                     const QString& value);
    // Records a registry change: applied at once to the host's hive in memory and
    // again, at Save, to the file as it then is, so that changes others made to
    // the file in the meantime are kept.
    void ChangeRegistry(const QString& host, const QString& keyPath,
                        const std::function<void(OCL::Site::RegNode&)>& change);
    void NoteNetworkSection(const QString& section);
    bool SaveRegistry(const QString& host, QString* error);
    bool SaveNetwork(QString* error);

    QString m_root;
    QMap<QString, std::shared_ptr<OCL::Site::CRegHive>> m_hives;
    // Relative file -> section -> ordered key/value pairs.
    QMap<QString, QList<QPair<QString, QList<QPair<QString, QString>>>>> m_iniFiles;
    QMap<QString, QList<OCL::Site::PortRecord>> m_ports;
    QMap<QString, QStringList> m_networkLists;

    std::shared_ptr<OCL::Ini::Files> m_files;
    // Registry changes not yet saved, per host.
    QMap<QString, QList<std::function<void(OCL::Site::CRegHive&)>>> m_regChanges;
    // network.ini sections in the order they were first named.
    QStringList m_networkSections;
    bool m_networkChanged = false;
    // Share files waiting for Save: absolute path -> bytes.
    QMap<QString, QByteArray> m_shareFiles;
    QStringList m_errors;
};
