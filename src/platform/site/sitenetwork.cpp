#include "platform/site/sitenetwork.h"

#include "ini/inifile.h"
#include "platform/ansi.h"
#include "platform/site/sitedirectory.h"
#include "platform/site/siteshares.h"

#include <algorithm>
#include <optional>

namespace OCL::Site {

struct CSiteNetwork::Enumeration {
    std::vector<NetResource> entries;
    std::size_t next = 0;
};

namespace {

struct Domain {
    std::string name;
    std::string controller;
    std::vector<std::string> backupControllers, computers, dialinServers, users, groups, localGroups;
};

constexpr std::string_view kProvider = "Provider:";
constexpr std::string_view kDomain = "Domain:";
constexpr std::string_view kGroup = "Group:";

std::vector<std::string> SplitList(std::string_view text) {
    std::vector<std::string> items;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t comma = text.find(',', start);
        if (comma == std::string_view::npos)
            comma = text.size();
        std::string_view item = text.substr(start, comma - start);
        while (!item.empty() && (item.front() == ' ' || item.front() == '\t'))
            item.remove_prefix(1);
        while (!item.empty() && (item.back() == ' ' || item.back() == '\t'))
            item.remove_suffix(1);
        if (!item.empty())
            items.emplace_back(item);
        start = comma + 1;
    }
    return items;
}

bool Contains(const std::vector<std::string>& list, const std::string& name) {
    return std::any_of(list.begin(), list.end(), [&name](const std::string& n) { return SameName(n, name); });
}

void AddOnce(std::vector<std::string>& list, const std::string& name) {
    if (!name.empty() && !Contains(list, name))
        list.push_back(name);
}

std::vector<std::string> ListOf(const Ini::Document& doc, const std::string& section, std::string_view key) {
    auto value = doc.Find(section, key);
    return value ? SplitList(*value) : std::vector<std::string>{};
}

// Section names that begin with prefix, without it, in file order.
std::vector<std::string> Named(const Ini::Document& doc, std::string_view prefix) {
    std::vector<std::string> names;
    for (std::string_view section : doc.SectionNames())
        if (section.size() > prefix.size() && Ini::NamesEqual(section.substr(0, prefix.size()), prefix))
            names.emplace_back(section.substr(prefix.size()));
    return names;
}

DWORD PackedSize(const NetResource& r) {
    DWORD size = 32;
    for (const std::string* s : {&r.localName, &r.remoteName, &r.comment, &r.provider})
        if (!s->empty())
            size += DWORD(s->size() + 1);
    return size;
}

// One page of names from *resume on, within prefMaxLen bytes but at least one.
DWORD Page(const std::vector<std::string>& all, DWORD prefMaxLen, std::vector<std::u16string>* names,
           DWORD* totalEntries, std::uint64_t* resume) {
    std::size_t i = std::size_t(std::min<std::uint64_t>(*resume, all.size()));
    const std::size_t first = i;
    std::uint64_t used = 0;
    for (; i < all.size(); ++i) {
        std::u16string name = Ansi::ToUtf16(all[i]);
        const std::uint64_t cost = 8 + (name.size() + 1) * 2;
        if (i > first && used + cost > prefMaxLen)
            break;
        used += cost;
        names->push_back(std::move(name));
    }
    *totalEntries = DWORD(all.size());
    *resume = i;
    return i < all.size() ? Err::MoreData : Err::Success;
}

NetResource Resource(DWORD type, DWORD displayType, DWORD usage, std::string remoteName,
                     std::string provider) {
    NetResource r;
    r.scope = ResourceScope::GlobalNet;
    r.type = type;
    r.displayType = displayType;
    r.usage = usage;
    r.remoteName = std::move(remoteName);
    r.provider = std::move(provider);
    return r;
}

std::shared_ptr<const Ini::Document> NetworkFile(const SiteDirectory& site) {
    return site.Files().Read(site.Root() / "network.ini");
}

std::optional<Domain> ReadDomainFrom(const Ini::Document& doc, const std::string& name) {
    const std::string section = std::string(kDomain) + name;
    auto index = doc.FindSection(section);
    if (!index)
        return std::nullopt;
    Domain d;
    d.name = std::string(doc.SectionName(*index).substr(kDomain.size()));
    if (auto controller = doc.Find(section, "Controller"))
        d.controller = std::string(*controller);
    d.backupControllers = ListOf(doc, section, "BackupControllers");
    d.computers = ListOf(doc, section, "Computers");
    d.dialinServers = ListOf(doc, section, "DialinServers");
    d.users = ListOf(doc, section, "Users");
    d.groups = ListOf(doc, section, "Groups");
    d.localGroups = ListOf(doc, section, "LocalGroups");
    return d;
}

std::vector<std::string> AllComputers(const Domain& d) {
    std::vector<std::string> all;
    AddOnce(all, d.controller);
    for (const auto* list : {&d.computers, &d.backupControllers, &d.dialinServers})
        for (const std::string& name : *list)
            AddOnce(all, name);
    return all;
}

DWORD TypeOf(const Domain& d, const std::string& computer) {
    DWORD type = ServerType::Workstation | ServerType::Server;
    if (SameName(computer, d.controller))
        type |= ServerType::DomainController;
    if (Contains(d.backupControllers, computer))
        type |= ServerType::BackupController;
    if (Contains(d.dialinServers, computer))
        type |= ServerType::DialinServer;
    return type;
}

std::string PrimaryDomain(const SiteDirectory& site, const Ini::Document& doc) {
    if (auto primary = doc.Find("Network", "PrimaryDomain"); primary && !primary->empty())
        return std::string(*primary);
    const std::string local = site.LocalComputer();
    const std::vector<std::string> domains = Named(doc, kDomain);
    for (const std::string& name : domains)
        if (auto d = ReadDomainFrom(doc, name); d && Contains(AllComputers(*d), local))
            return d->name;
    for (const std::string& provider : Named(doc, kProvider))
        for (const std::string& name : ListOf(doc, std::string(kProvider) + provider, "Domains"))
            return name;
    return domains.empty() ? std::string() : domains.front();
}

enum class List { Groups, Users, LocalGroups };

DWORD ControlledDomain(const SiteDirectory& site, const std::u16string& server, Domain* domain, bool* found) {
    *found = false;
    HostInfo host;
    if (const DWORD reach = site.Reach(Ansi::FromUtf16(server), &host))
        return reach;
    auto doc = NetworkFile(site);
    for (const std::string& name : Named(*doc, kDomain))
        if (auto d = ReadDomainFrom(*doc, name); d && SameName(d->controller, host.name)) {
            *domain = std::move(*d);
            *found = true;
            break;
        }
    return Err::Success;
}

DWORD AccountList(const SiteDirectory& site, const std::u16string& server, List list, DWORD prefMaxLen,
                  std::vector<std::u16string>* names, DWORD* totalEntries, std::uint64_t* resume) {
    if (!names || !totalEntries)
        return Err::InvalidParameter;
    *totalEntries = 0;
    Domain d;
    bool found = false;
    if (const DWORD r = ControlledDomain(site, server, &d, &found))
        return r;
    // A computer that controls no domain has no domain accounts to list.
    const std::vector<std::string>& all = list == List::Groups  ? d.groups
                                          : list == List::Users ? d.users
                                                                : d.localGroups;
    return Page(all, prefMaxLen, names, totalEntries, resume);
}

} // namespace

CSiteNetwork::CSiteNetwork(std::shared_ptr<const SiteDirectory> site) : m_site(std::move(site)) {}

CSiteNetwork::~CSiteNetwork() = default;

DWORD CSiteNetwork::ListEntries(DWORD type, DWORD usage, const NetResource* container,
                                std::vector<NetResource>* out) {
    auto doc = NetworkFile(*m_site);
    if (!container) {
        for (const std::string& provider : Named(*doc, kProvider))
            out->push_back(Resource(ResourceType::Any, DisplayType::Network, ResourceUsage::Container,
                                    provider, provider));
    } else if (!(container->usage & ResourceUsage::Container)) {
        return Err::NotContainer;
    } else if (container->displayType == DisplayType::Network) {
        const std::string section = std::string(kProvider) + container->remoteName;
        if (!doc->FindSection(section))
            return Err::BadNetName;
        for (const std::string& domain : ListOf(*doc, section, "Domains"))
            out->push_back(Resource(ResourceType::Any, DisplayType::Domain, ResourceUsage::Container, domain,
                                    container->remoteName));
    } else if (container->displayType == DisplayType::Domain) {
        auto domain = ReadDomainFrom(*doc, container->remoteName);
        if (!domain)
            return Err::BadNetName;
        for (const std::string& computer : AllComputers(*domain))
            out->push_back(Resource(ResourceType::Any, DisplayType::Server, ResourceUsage::Container,
                                    "\\\\" + computer, container->provider));
    } else if (container->displayType == DisplayType::Server) {
        HostInfo host;
        if (const DWORD reach = m_site->Reach(container->remoteName, &host))
            return reach;
        if (type != ResourceType::Any && type != ResourceType::Disk)
            return Err::Success;
        for (const std::string& share : CSiteShares::ShareNames(*m_site, host))
            if (share.back() != '$')
                out->push_back(Resource(ResourceType::Disk, DisplayType::Share, ResourceUsage::Connectable,
                                        "\\\\" + BareName(container->remoteName) + "\\" + share,
                                        container->provider));
    } else {
        return Err::NotContainer;
    }
    if (usage)
        out->erase(std::remove_if(out->begin(), out->end(),
                                  [usage](const NetResource& r) { return !(r.usage & usage); }),
                   out->end());
    return Err::Success;
}

DWORD CSiteNetwork::OpenEnum(DWORD scope, DWORD type, DWORD usage, const NetResource* container,
                             HNETENUM* result) {
    if (!result)
        return Err::InvalidParameter;
    *result = nullptr;
    auto e = std::make_unique<Enumeration>();
    // Nothing is ever connected or remembered on a site; only browsing lists anything.
    if (scope == ResourceScope::GlobalNet)
        if (const DWORD r = ListEntries(type, usage, container, &e->entries))
            return r;
    Enumeration* raw = e.get();
    std::lock_guard lock(m_mutex);
    m_enums.emplace(raw, std::move(e));
    *result = reinterpret_cast<HNETENUM>(raw);
    return Err::Success;
}

DWORD CSiteNetwork::EnumResource(HNETENUM handle, DWORD* count, DWORD bufferSize,
                                 std::vector<NetResource>* entries) {
    if (!count || !entries || *count == 0)
        return Err::InvalidParameter;
    std::lock_guard lock(m_mutex);
    auto it = m_enums.find(reinterpret_cast<const Enumeration*>(handle));
    if (!handle || it == m_enums.end())
        return Err::InvalidHandle;
    Enumeration& e = *it->second;
    if (e.next >= e.entries.size()) {
        *count = 0;
        return Err::NoMoreItems;
    }
    DWORD n = 0;
    std::uint64_t used = 0;
    while (e.next < e.entries.size() && n < *count) {
        const DWORD size = PackedSize(e.entries[e.next]);
        if (used + size > bufferSize)
            break;
        used += size;
        entries->push_back(e.entries[e.next++]);
        ++n;
    }
    *count = n;
    return n ? Err::Success : Err::MoreData;
}

DWORD CSiteNetwork::CloseEnum(HNETENUM handle) {
    std::unique_ptr<Enumeration> closing;
    std::lock_guard lock(m_mutex);
    auto it = m_enums.find(reinterpret_cast<const Enumeration*>(handle));
    if (!handle || it == m_enums.end())
        return Err::InvalidHandle;
    closing = std::move(it->second);
    m_enums.erase(it);
    return Err::Success;
}

DWORD CSiteNetwork::ServerEnum(const std::u16string& domain, DWORD serverType, DWORD prefMaxLen,
                               std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) {
    if (!names || !totalEntries)
        return Err::InvalidParameter;
    *totalEntries = 0;
    auto doc = NetworkFile(*m_site);
    const std::string name = domain.empty() ? PrimaryDomain(*m_site, *doc) : Ansi::FromUtf16(domain);
    auto d = ReadDomainFrom(*doc, name);
    if (!d)
        return Err::NoSuchDomain;
    std::vector<std::string> matching;
    for (const std::string& computer : AllComputers(*d))
        if (TypeOf(*d, computer) & serverType)
            matching.push_back(computer);
    std::uint64_t next = resume ? *resume : 0;
    const DWORD r = Page(matching, prefMaxLen, names, totalEntries, &next);
    if (resume)
        *resume = DWORD(next);
    return r;
}

DWORD CSiteNetwork::GetDCName(const std::u16string& server, const std::u16string& domain,
                              std::u16string* dcName) {
    if (!dcName)
        return Err::InvalidParameter;
    if (!server.empty())
        if (const DWORD reach = m_site->Reach(Ansi::FromUtf16(server)))
            return reach;
    auto doc = NetworkFile(*m_site);
    const std::string name = domain.empty() ? PrimaryDomain(*m_site, *doc) : Ansi::FromUtf16(domain);
    auto d = ReadDomainFrom(*doc, name);
    if (!d || d->controller.empty())
        return Err::NerrDcNotFound;
    *dcName = u"\\\\" + Ansi::ToUtf16(d->controller);
    return Err::Success;
}

DWORD CSiteNetwork::GroupEnum(const std::u16string& server, DWORD prefMaxLen,
                              std::vector<std::u16string>* names, DWORD* totalEntries, DWORD_PTR* resume) {
    std::uint64_t next = resume ? *resume : 0;
    const DWORD r = AccountList(*m_site, server, List::Groups, prefMaxLen, names, totalEntries, &next);
    if (resume && (r == Err::Success || r == Err::MoreData))
        *resume = DWORD_PTR(next);
    return r;
}

DWORD CSiteNetwork::UserEnum(const std::u16string& server, DWORD filter, DWORD prefMaxLen,
                             std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) {
    // Every account of a site is a normal one.
    if (filter != 0 && !(filter & UserFilter::NormalAccount)) {
        if (!names || !totalEntries)
            return Err::InvalidParameter;
        Domain d;
        bool found = false;
        *totalEntries = 0;
        return ControlledDomain(*m_site, server, &d, &found);
    }
    std::uint64_t next = resume ? *resume : 0;
    const DWORD r = AccountList(*m_site, server, List::Users, prefMaxLen, names, totalEntries, &next);
    if (resume && (r == Err::Success || r == Err::MoreData))
        *resume = DWORD(next);
    return r;
}

DWORD CSiteNetwork::LocalGroupEnum(const std::u16string& server, DWORD prefMaxLen,
                                   std::vector<std::u16string>* names, DWORD* totalEntries,
                                   DWORD_PTR* resume) {
    std::uint64_t next = resume ? *resume : 0;
    const DWORD r = AccountList(*m_site, server, List::LocalGroups, prefMaxLen, names, totalEntries, &next);
    if (resume && (r == Err::Success || r == Err::MoreData))
        *resume = DWORD_PTR(next);
    return r;
}

DWORD CSiteNetwork::GroupGetUsers(const std::u16string& server, const std::u16string& group, DWORD prefMaxLen,
                                  std::vector<std::u16string>* names, DWORD* totalEntries,
                                  DWORD_PTR* resume) {
    if (!names || !totalEntries)
        return Err::InvalidParameter;
    *totalEntries = 0;
    Domain d;
    bool found = false;
    if (const DWORD r = ControlledDomain(*m_site, server, &d, &found))
        return r;
    const std::string name = Ansi::FromUtf16(group);
    if (!found || !Contains(d.groups, name))
        return Err::NerrGroupNotFound;
    auto doc = NetworkFile(*m_site);
    const std::vector<std::string> members =
        ListOf(*doc, std::string(kGroup) + d.name + "\\" + name, "Members");
    std::uint64_t next = resume ? *resume : 0;
    const DWORD r = Page(members, prefMaxLen, names, totalEntries, &next);
    if (resume)
        *resume = DWORD_PTR(next);
    return r;
}

} // namespace OCL::Site
