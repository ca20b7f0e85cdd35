#include "core/accounts/userfilter.h"

#include "core/net/accountlists.h"

using namespace Qt::StringLiterals;

namespace {

bool Same(QStringView a, QStringView b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace

CUserFilter CUserFilter::ForSelection(const Selection& selection, OCL::INetwork& network,
                                      OCL::IPrompter& prompter) {
    CUserFilter filter;
    filter.m_domain = selection.domain;
    if (selection.user != u"*"_s) {
        filter.m_kind = Kind::Account;
        filter.m_account = selection.domain + u'\\' + selection.user;
        return filter;
    }
    if (selection.allAccounts)
        return filter;
    if (selection.group == u"*"_s) {
        filter.m_kind = Kind::Domain;
        return filter;
    }
    filter.m_kind = Kind::Group;
    QStringList names;
    const OCL::DWORD rc =
        CAccountLists::GroupMembers(network, selection.domain.left(35), selection.group, &names);
    if (rc != OCL::Err::Success) {
        prompter.Message(QString::asprintf("Error getting PDC (%d)", int(rc)), {},
                         OCL::IPrompter::Icon::Error, OCL::IPrompter::Buttons::Ok);
        return filter;
    }
    for (const QString& name : names)
        filter.m_members.insert(name.toCaseFolded());
    return filter;
}

bool CUserFilter::Passes(const QString& name) const {
    switch (m_kind) {
    case Kind::Account:
        return Same(name, m_account);
    case Kind::Domain:
        // A prefix on purpose: the domain SALES lists SALESEAST's accounts too.
        return name.size() >= m_domain.size() && Same(QStringView(name).left(m_domain.size()), m_domain);
    case Kind::Group: {
        // The part before the first backslash need only begin the domain's
        // name; a name without one is looked up whole.
        const qsizetype slash = name.indexOf(u'\\');
        const QStringView domain = slash < 0 ? QStringView() : QStringView(name).left(slash);
        const QStringView member = slash < 0 ? QStringView(name) : QStringView(name).mid(slash + 1);
        return domain.size() <= m_domain.size() && Same(domain, QStringView(m_domain).left(domain.size())) &&
               m_members.contains(member.toString().toCaseFolded());
    }
    default:
        return true;
    }
}

std::vector<std::uint32_t> CUserFilter::Rows(const CUserStore& store) const {
    const auto count = std::uint32_t(store.Count());
    std::vector<std::uint32_t> rows;
    if (m_kind == Kind::All) {
        rows.resize(count);
        for (std::uint32_t i = 0; i < count; ++i)
            rows[i] = i;
        return rows;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        if (Passes(store.DisplayName(i))) {
            rows.push_back(i);
            // One account is the first record of its name.
            if (m_kind == Kind::Account)
                break;
        }
    }
    return rows;
}
