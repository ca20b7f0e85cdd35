#pragma once
// The network port over a site's network.ini (a profile file; lists are
// comma-separated, names match without regard to case):
//
//   [Network]
//   PrimaryDomain=CORP                  the domain of this computer (default: the
//                                       domain that lists it, else the first one)
//   [Provider:Microsoft Windows Network]  one section per network provider, in
//   Domains=CORP,LAB                      browsing order
//   [Domain:CORP]
//   Controller=DC1                      the primary domain controller
//   BackupControllers=DC2
//   Computers=DC1,RAS1,RAS2,WS1         every computer of the domain
//   DialinServers=RAS1,RAS2             computers that announce dial-in service
//   Users=Administrator,alice,bob       the domain's accounts, in this order
//   Groups=Domain Users,Dialers         global groups
//   LocalGroups=Administrators,Users    the controller's local groups
//   [Group:CORP\Dialers]
//   Members=alice,bob
//
// Browsing: the top of the network lists the providers (display type Network),
// a provider its domains (Domain), a domain its computers ("\\NAME", Server), a
// computer its shares ("\\NAME\SHARE", Share; names ending in '$' are hidden).
// Entries are packed as NETRESOURCEA: 32 bytes plus each non-empty string with
// its terminator. Net* paging costs 8 bytes plus the UTF-16 name with its
// terminator per entry; a page holds at least one entry; totals count the
// whole list and the resume handle is the index of the next entry.

#include "platform/network.h"

#include <memory>
#include <mutex>
#include <unordered_map>

namespace OCL::Site {

class SiteDirectory;

class CSiteNetwork final : public INetwork {
public:
    explicit CSiteNetwork(std::shared_ptr<const SiteDirectory> site);
    ~CSiteNetwork() override;
    CSiteNetwork(const CSiteNetwork&) = delete;
    CSiteNetwork& operator=(const CSiteNetwork&) = delete;

    DWORD OpenEnum(DWORD scope, DWORD type, DWORD usage, const NetResource* container,
                   HNETENUM* result) override;
    DWORD EnumResource(HNETENUM handle, DWORD* count, DWORD bufferSize,
                       std::vector<NetResource>* entries) override;
    DWORD CloseEnum(HNETENUM handle) override;

    DWORD ServerEnum(const std::u16string& domain, DWORD serverType, DWORD prefMaxLen,
                     std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) override;
    DWORD GetDCName(const std::u16string& server, const std::u16string& domain,
                    std::u16string* dcName) override;
    DWORD GroupEnum(const std::u16string& server, DWORD prefMaxLen, std::vector<std::u16string>* names,
                    DWORD* totalEntries, DWORD_PTR* resume) override;
    DWORD UserEnum(const std::u16string& server, DWORD filter, DWORD prefMaxLen,
                   std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) override;
    DWORD GroupGetUsers(const std::u16string& server, const std::u16string& group, DWORD prefMaxLen,
                        std::vector<std::u16string>* names, DWORD* totalEntries, DWORD_PTR* resume) override;
    DWORD LocalGroupEnum(const std::u16string& server, DWORD prefMaxLen, std::vector<std::u16string>* names,
                         DWORD* totalEntries, DWORD_PTR* resume) override;

private:
    struct Enumeration;

    DWORD ListEntries(DWORD type, DWORD usage, const NetResource* container, std::vector<NetResource>* out);

    std::shared_ptr<const SiteDirectory> m_site;
    std::mutex m_mutex;
    std::unordered_map<const Enumeration*, std::unique_ptr<Enumeration>> m_enums;
};

} // namespace OCL::Site
