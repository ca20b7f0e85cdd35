#include "site/gen/directory.h"

#include "ini/inifile.h"
#include "site/gen/text.h"

using namespace Qt::StringLiterals;

namespace {

QStringList List(const OCL::Ini::Document& doc, const std::string& section, std::string_view key) {
    QStringList items;
    if (const auto value = doc.Find(section, key))
        for (const QString& item : CwText::FromAnsi(*value).split(u','))
            if (!item.trimmed().isEmpty())
                items.append(item.trimmed());
    return items;
}

bool Same(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace

void CNetworkDirectory::Load(OCL::Ini::Files& files, const std::filesystem::path& networkIni) {
    m_domains.clear();
    const auto doc = files.Read(networkIni);
    for (const QString& name : List(*doc, "Provider:Microsoft Windows Network", "Domains")) {
        const std::string section = CwText::ToAnsi(u"Domain:"_s + name);
        Domain domain;
        domain.name = name;
        if (const auto controller = doc->Find(section, "Controller"))
            domain.controller = CwText::FromAnsi(*controller);
        domain.users = List(*doc, section, "Users");
        domain.computers = List(*doc, section, "Computers") + List(*doc, section, "DialinServers");
        for (const QString& group : List(*doc, section, "Groups"))
            domain.groups.insert(group,
                                 List(*doc, CwText::ToAnsi(u"Group:%1\\%2"_s.arg(name, group)), "Members"));
        m_domains.append(domain);
    }
}

const CNetworkDirectory::Domain* CNetworkDirectory::FindDomain(const QString& name) const {
    for (const Domain& domain : m_domains)
        if (Same(domain.name, name))
            return &domain;
    return nullptr;
}

bool CNetworkDirectory::IsMember(const QString& groupDomain, const QString& group, const QString& domain,
                                 const QString& user) const {
    const Domain* d = FindDomain(groupDomain);
    if (!d)
        return false;
    for (auto it = d->groups.constBegin(); it != d->groups.constEnd(); ++it) {
        if (!Same(it.key(), group))
            continue;
        for (const QString& member : it.value()) {
            // A bare member name is an account of the group's own domain.
            const qsizetype slash = member.indexOf(u'\\');
            const QString memberDomain = slash < 0 ? d->name : member.left(slash);
            const QString memberUser = slash < 0 ? member : member.mid(slash + 1);
            if (Same(memberDomain, domain) && Same(memberUser, user))
                return true;
        }
    }
    return false;
}

bool CNetworkDirectory::IsAllowed(const QString& domain, const QString& user,
                                  const QStringList& entries) const {
    if (entries.isEmpty())
        return true;
    for (const QString& entry : entries) {
        if (entry.endsWith(u'\\')) {
            if (Same(entry.chopped(1), domain))
                return true;
            continue;
        }
        const qsizetype slash = entry.indexOf(u'\\');
        if (slash >= 0) {
            if (IsMember(entry.left(slash), entry.mid(slash + 1), domain, user))
                return true;
            continue;
        }
        for (const Domain& d : m_domains)
            if (IsMember(d.name, entry, domain, user))
                return true;
    }
    return false;
}
