#include "core/log/logfilter.h"

#include "core/net/accountlists.h"

using namespace Qt::StringLiterals;

namespace {

bool Same(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace

CLogFilter CLogFilter::ForSelection(const Selection& selection, OCL::INetwork& network,
                                    OCL::IPrompter& prompter) {
    CLogFilter filter;
    filter.m_selection = selection;
    switch (selection.kind) {
    case 1:
    case 2:
        filter.m_kind = Kind::Server;
        break;
    case 3:
    case 4:
    case 5:
        filter.m_kind = Kind::Port;
        break;
    case 8:
        filter.m_kind = Kind::User;
        break;
    case 9:
        filter.m_kind = Kind::Domain;
        break;
    case 10:
    case 11: {
        filter.m_kind = Kind::Group;
        QStringList names;
        const OCL::DWORD rc = CAccountLists::GroupMembers(network, selection.domain, selection.group, &names);
        if (rc != OCL::Err::Success) {
            prompter.Message(QString::asprintf("Error getting PDC (%d)", int(rc)), {},
                             OCL::IPrompter::Icon::Error, OCL::IPrompter::Buttons::Ok);
            break;
        }
        for (const QString& name : names)
            filter.m_members.insert(QString(selection.domain + u'\\' + name).toCaseFolded());
        break;
    }
    default:
        // The overview nodes and kinds the view does not tell apart show everything.
        break;
    }
    return filter;
}

QString CLogFilter::Caption() const {
    const Selection& s = m_selection;
    QString caption;
    switch (m_kind) {
    case Kind::All:
        caption = u"(all available records)"_s;
        break;
    case Kind::Server:
        caption = u"(Server %1)"_s.arg(s.server);
        break;
    case Kind::Port:
        caption = u"(Port %1\\%2)"_s.arg(s.server, s.port);
        break;
    case Kind::User:
        caption = u"(User %1\\%2)"_s.arg(s.domain, s.user);
        break;
    case Kind::Domain:
        caption = u"(Domain %1)"_s.arg(s.domain);
        break;
    case Kind::Group:
        caption = u"(Group %1\\%2)"_s.arg(s.domain, s.group);
        break;
    }
    return caption.left(49);
}

bool CLogFilter::UserPasses(const QString& user) const {
    switch (m_kind) {
    case Kind::User: {
        const qsizetype slash = user.indexOf(u'\\');
        return slash >= 0 && Same(user.mid(slash + 1), m_selection.user);
    }
    case Kind::Domain: {
        const QString& domain = m_selection.domain;
        return user.size() > domain.size() && Same(user.left(domain.size()), domain) &&
               user[domain.size()] == u'\\';
    }
    case Kind::Group:
        return m_members.contains(user.toCaseFolded());
    default:
        return true;
    }
}

bool CLogFilter::ChannelPasses(const QString& server, const QString& port) const {
    if (m_kind != Kind::Server && m_kind != Kind::Port)
        return true;
    return Same(server, m_selection.server) && (m_kind == Kind::Server || Same(port, m_selection.port));
}

std::vector<std::uint32_t> CLogFilter::Rows(const CLogStore& store) const {
    const auto count = std::uint32_t(store.Count());
    std::vector<std::uint32_t> rows;
    if (m_kind == Kind::All) {
        rows.resize(count);
        for (std::uint32_t i = 0; i < count; ++i)
            rows[i] = i;
        return rows;
    }
    // Decide once per name, then walk the events on numbers.
    std::vector<char> serverPasses(store.Servers().Count(), 1), portPasses(store.Ports().Count(), 1),
        userPasses(store.Users().Count(), 1);
    if (m_kind == Kind::Server || m_kind == Kind::Port)
        for (std::uint32_t id = 0; id < serverPasses.size(); ++id)
            serverPasses[id] = Same(store.Servers().Display(id), m_selection.server);
    if (m_kind == Kind::Port)
        for (std::uint32_t id = 0; id < portPasses.size(); ++id)
            portPasses[id] = Same(store.Ports().Display(id), m_selection.port);
    if (m_kind == Kind::User || m_kind == Kind::Domain || m_kind == Kind::Group)
        for (std::uint32_t id = 0; id < userPasses.size(); ++id)
            userPasses[id] = UserPasses(store.Users().Display(id));
    for (std::uint32_t i = 0; i < count; ++i) {
        const CLogStore::Event& e = store.At(i);
        const CLogStore::Channel& c = store.ChannelOf(e);
        if (serverPasses[c.server] && portPasses[c.port] && userPasses[e.user])
            rows.push_back(i);
    }
    return rows;
}
