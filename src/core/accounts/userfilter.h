#pragma once
// Which accounts the users view lists, chosen by the node selected in the
// tree: one account, all of them, those of a domain, or the members of one
// domain group. Names compare without regard to case.

#include "core/accounts/userstore.h"
#include "core/ui/prompter.h"
#include "platform/network.h"

#include <QSet>
#include <QString>

#include <cstdint>
#include <vector>

class CUserFilter {
public:
    // The document's selection ("*" for none).
    struct Selection {
        QString domain, group, user;
        bool allAccounts = false;
    };

    // Every account.
    CUserFilter() = default;
    // For a group, its members are read from the domain's controller now; when
    // the controller cannot be found, "Error getting PDC (%d)" is shown and the
    // filter lists nobody.
    static CUserFilter ForSelection(const Selection& selection, OCL::INetwork& network,
                                    OCL::IPrompter& prompter);

    bool IsGroup() const { return m_kind == Kind::Group; }
    // The store's accounts that pass, in store order.
    std::vector<std::uint32_t> Rows(const CUserStore& store) const;

private:
    enum class Kind { All, Account, Domain, Group };
    bool Passes(const QString& name) const;

    Kind m_kind = Kind::All;
    QString m_account; // "DOMAIN\account"
    QString m_domain;
    QSet<QString> m_members; // case-folded
};
