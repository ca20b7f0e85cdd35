#pragma once
// Network port: browsing the network (WNetOpenEnum, WNetEnumResource,
// WNetCloseEnum) and the domain account calls (NetServerEnum, NetGetDCName,
// NetGroupEnum, NetUserEnum, NetGroupGetUsers, NetLocalGroupEnum). Results are
// copied out of the system's buffers into vectors, so no NetApiBufferFree is
// needed; paging, totals, resume handles and codes are those of the real calls.

#include "platform/types.h"

#include <string>
#include <vector>

namespace OCL {

namespace ResourceScope {
inline constexpr DWORD Connected = 1;
inline constexpr DWORD GlobalNet = 2;
inline constexpr DWORD Remembered = 3;
} // namespace ResourceScope

namespace ResourceType {
inline constexpr DWORD Any = 0;
inline constexpr DWORD Disk = 1;
inline constexpr DWORD Print = 2;
} // namespace ResourceType

namespace ResourceUsage {
inline constexpr DWORD Connectable = 1;
inline constexpr DWORD Container = 2;
} // namespace ResourceUsage

namespace DisplayType {
inline constexpr DWORD Generic = 0;
inline constexpr DWORD Domain = 1;
inline constexpr DWORD Server = 2;
inline constexpr DWORD Share = 3;
inline constexpr DWORD File = 4;
inline constexpr DWORD Group = 5;
inline constexpr DWORD Network = 6;
inline constexpr DWORD Root = 7;
inline constexpr DWORD ShareAdmin = 8;
inline constexpr DWORD Directory = 9;
} // namespace DisplayType

namespace ServerType {
inline constexpr DWORD Workstation = 0x1;
inline constexpr DWORD Server = 0x2;
inline constexpr DWORD DomainController = 0x8;
inline constexpr DWORD BackupController = 0x10;
inline constexpr DWORD DialinServer = 0x400;
inline constexpr DWORD All = 0xFFFFFFFF;
} // namespace ServerType

namespace UserFilter {
inline constexpr DWORD TempDuplicateAccount = 0x1;
inline constexpr DWORD NormalAccount = 0x2;
} // namespace UserFilter

// NETRESOURCEA.
struct NetResource {
    DWORD scope = 0;
    DWORD type = 0;
    DWORD displayType = 0;
    DWORD usage = 0;
    std::string localName;
    std::string remoteName;
    std::string comment;
    std::string provider;
};

struct NetEnumObject;
using HNETENUM = NetEnumObject*;

class INetwork {
public:
    virtual ~INetwork() = default;

    // WNetOpenEnum below container (null: the top of the network).
    virtual DWORD OpenEnum(DWORD scope, DWORD type, DWORD usage, const NetResource* container,
                           HNETENUM* result) = 0;
    // WNetEnumResource: at most *count entries (0xFFFFFFFF: as many as fit) whose
    // packed size fits bufferSize bytes are appended to entries and *count is set to
    // their number. NoMoreItems once everything was returned; MoreData when not even
    // one entry fits the buffer.
    virtual DWORD EnumResource(HNETENUM handle, DWORD* count, DWORD bufferSize,
                               std::vector<NetResource>* entries) = 0;
    virtual DWORD CloseEnum(HNETENUM handle) = 0;

    // NetServerEnum at level 100 in the named domain (empty: the primary domain).
    virtual DWORD ServerEnum(const std::u16string& domain, DWORD serverType, DWORD prefMaxLen,
                             std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) = 0;
    // NetGetDCName: the primary domain controller's name in the form "\\NAME".
    virtual DWORD GetDCName(const std::u16string& server, const std::u16string& domain,
                            std::u16string* dcName) = 0;
    // NetGroupEnum, NetUserEnum, NetGroupGetUsers and NetLocalGroupEnum at level 0.
    // Each call appends one page of names (prefMaxLen bytes) and returns MoreData
    // while further pages remain, with *resume advanced.
    virtual DWORD GroupEnum(const std::u16string& server, DWORD prefMaxLen,
                            std::vector<std::u16string>* names, DWORD* totalEntries, DWORD_PTR* resume) = 0;
    virtual DWORD UserEnum(const std::u16string& server, DWORD filter, DWORD prefMaxLen,
                           std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) = 0;
    virtual DWORD GroupGetUsers(const std::u16string& server, const std::u16string& group, DWORD prefMaxLen,
                                std::vector<std::u16string>* names, DWORD* totalEntries,
                                DWORD_PTR* resume) = 0;
    virtual DWORD LocalGroupEnum(const std::u16string& server, DWORD prefMaxLen,
                                 std::vector<std::u16string>* names, DWORD* totalEntries,
                                 DWORD_PTR* resume) = 0;
};

} // namespace OCL
