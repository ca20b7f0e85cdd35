#pragma once
// The accounts of a site's network.ini as the service sees them: the domains of
// the Microsoft Windows Network provider, their users and global groups with
// members. Used to pick callers and to decide a port's "AllowedGroups".

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <filesystem>

namespace OCL::Ini {
class Files;
}

class CNetworkDirectory {
public:
    struct Domain {
        QString name;
        QString controller;
        QStringList users;
        QMap<QString, QStringList> groups; // group name -> members
        QStringList computers;             // with the dial-in servers
    };

    // Reads network.ini (through the parse cache: cheap when unchanged).
    void Load(OCL::Ini::Files& files, const std::filesystem::path& networkIni);

    void AddDomain(const Domain& domain) { m_domains.append(domain); }

    const QList<Domain>& Domains() const { return m_domains; }
    const Domain* FindDomain(const QString& name) const;

    // Whether DOMAIN\user may use a port whose "AllowedGroups" lists entries:
    // "Group" (a global group of any domain), "DOMAIN\Group", or "DOMAIN\"
    // (every account of that domain). No entries: everyone.
    bool IsAllowed(const QString& domain, const QString& user, const QStringList& entries) const;
    bool IsMember(const QString& groupDomain, const QString& group, const QString& domain,
                  const QString& user) const;

private:
    QList<Domain> m_domains;
};
