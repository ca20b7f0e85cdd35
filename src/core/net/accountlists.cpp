#include "core/net/accountlists.h"

#include "core/app/ansitext.h"

#include <functional>

using namespace OCL;

namespace {

// Lists come back in pages of about this many bytes.
constexpr DWORD kPageBytes = 10000;

std::u16string Wide(const QString& text) {
    return text.toStdU16String();
}

// Reads pages until the network stops answering "more data".
DWORD ReadPages(const std::function<DWORD(std::vector<std::u16string>*)>& page, QStringList* names) {
    DWORD rc;
    do {
        std::vector<std::u16string> batch;
        rc = page(&batch);
        if (rc != Err::Success && rc != Err::MoreData)
            return rc;
        for (const std::u16string& name : batch)
            names->append(QString::fromStdU16String(name));
    } while (rc == Err::MoreData);
    return Err::Success;
}

void CollectDomains(INetwork& network, int level, const NetResource* container, QStringList* domains) {
    HNETENUM handle = nullptr;
    if (network.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, container, &handle) != Err::Success)
        return;
    for (;;) {
        DWORD count = 0xFFFFFFFF;
        std::vector<NetResource> entries;
        if (network.EnumResource(handle, &count, 65536, &entries) != Err::Success)
            break;
        for (const NetResource& entry : entries) {
            if (entry.remoteName.empty())
                continue;
            if (level == 0) {
                // Only the Microsoft network has domains of interest.
                if (entry.remoteName.compare(0, 15, "Microsoft Windows", 15) == 0)
                    CollectDomains(network, level + 1, &entry, domains);
                continue;
            }
            std::string name = entry.remoteName;
            for (int i = 0; i < 2 && !name.empty() && name.front() == '\\'; ++i)
                name.erase(0, 1);
            if (entry.displayType == DisplayType::Domain)
                domains->append(CAnsi::ToQString(name));
            else if (entry.displayType == DisplayType::Generic && (entry.usage & ResourceUsage::Container))
                CollectDomains(network, level + 1, &entry, domains);
        }
    }
    network.CloseEnum(handle);
}

} // namespace

QStringList CAccountLists::MicrosoftDomains(INetwork& network) {
    QStringList domains;
    CollectDomains(network, 0, nullptr, &domains);
    return domains;
}

DWORD CAccountLists::DialinServers(INetwork& network, const QString& domain, QStringList* names) {
    DWORD resume = 0;
    return ReadPages(
        [&](std::vector<std::u16string>* batch) {
            DWORD total = 0;
            return network.ServerEnum(Wide(domain), ServerType::DialinServer, kPageBytes, batch, &total,
                                      &resume);
        },
        names);
}

DWORD CAccountLists::GlobalGroups(INetwork& network, const QString& controller, QStringList* names) {
    DWORD_PTR resume = 0;
    return ReadPages(
        [&](std::vector<std::u16string>* batch) {
            DWORD total = 0;
            return network.GroupEnum(Wide(controller), kPageBytes, batch, &total, &resume);
        },
        names);
}

DWORD CAccountLists::Users(INetwork& network, const QString& controller, QStringList* names) {
    DWORD resume = 0;
    return ReadPages(
        [&](std::vector<std::u16string>* batch) {
            DWORD total = 0;
            return network.UserEnum(Wide(controller),
                                    UserFilter::NormalAccount | UserFilter::TempDuplicateAccount, kPageBytes,
                                    batch, &total, &resume);
        },
        names);
}

DWORD CAccountLists::GroupMembers(INetwork& network, const QString& domain, const QString& group,
                                  QStringList* names) {
    std::u16string controller;
    if (const DWORD rc = network.GetDCName({}, Wide(domain), &controller); rc != Err::Success)
        return rc;
    DWORD_PTR resume = 0;
    std::vector<std::u16string> read;
    for (;;) {
        DWORD total = 0;
        const std::size_t before = read.size();
        const DWORD result =
            network.GroupGetUsers(controller, Wide(group), kPageBytes, &read, &total, &resume);
        if ((result != Err::Success && result != Err::MoreData) || read.size() == before ||
            read.size() >= total)
            break;
    }
    for (const std::u16string& name : read)
        names->append(QString::fromStdU16String(name));
    return Err::Success;
}
