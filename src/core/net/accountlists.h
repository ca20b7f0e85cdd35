#pragma once
// The network's lists as the console shows them: the Microsoft network's
// domains, and the names a domain's controller or browser pages out (dial-in
// servers, global groups, accounts). Each list call reads page after page while
// the network answers "more data".

#include "platform/network.h"

#include <QStringList>

namespace CAccountLists {

// The domains of the Microsoft network, in browsing order: the provider whose
// name begins like "Microsoft Windows" is followed, and below it domains are
// taken and generic containers searched again.
QStringList MicrosoftDomains(OCL::INetwork& network);

// The lists return Success, or the first other code than "more data", with the
// names read until then.
OCL::DWORD DialinServers(OCL::INetwork& network, const QString& domain, QStringList* names);
OCL::DWORD GlobalGroups(OCL::INetwork& network, const QString& controller, QStringList* names);
OCL::DWORD Users(OCL::INetwork& network, const QString& controller, QStringList* names);

// The members of a domain's global group, as the history and users filters
// read them: the controller found by NetGetDCName (its code when that fails,
// and no names), then pages while fewer names were read than the controller
// counts; a failing page ends the list with what was read.
OCL::DWORD GroupMembers(OCL::INetwork& network, const QString& domain, const QString& group,
                        QStringList* names);

} // namespace CAccountLists
