#pragma once
// Which events of the day the log view shows, chosen by the node selected in
// the tree: everything, one server, one port, one user, one domain or the
// members of one group. Names compare without regard to case; the decision is
// made once per name in the day's tables, so filtering a million events is a
// pass over numbers.

#include "core/log/logstore.h"
#include "core/ui/prompter.h"
#include "platform/network.h"

#include <QSet>
#include <QString>

#include <cstdint>
#include <vector>

class CLogFilter {
public:
    // The document's selection: the kind of node and its names ("*" for none).
    struct Selection {
        int kind = 0;
        QString server, port, domain, group, user;
    };

    // Every event: "(all available records)".
    CLogFilter() = default;
    // For a group, its members are read from the domain's controller now; when
    // the controller cannot be found, "Error getting PDC (%d)" is shown and the
    // filter keeps no events.
    static CLogFilter ForSelection(const Selection& selection, OCL::INetwork& network,
                                   OCL::IPrompter& prompter);

    // "(Server %s)", "(Port %s\%s)" and the like; at most 49 characters.
    QString Caption() const;
    // The store's events that pass, in store order.
    std::vector<std::uint32_t> Rows(const CLogStore& store) const;
    // The decisions Rows makes per name, for readers that hold names elsewhere.
    bool ChannelPasses(const QString& server, const QString& port) const;
    bool UserPasses(const QString& user) const;

private:
    enum class Kind { All, Server, Port, User, Domain, Group };

    Kind m_kind = Kind::All;
    Selection m_selection;
    // "DOMAIN\member", case-folded.
    QSet<QString> m_members;
};
