#include "platform/win32/winnetwork.h"

#include "platform/win32/wintext.h"

#include <windows.h>
// After windows.h, which they need.
#include <lm.h>
#include <winnetwk.h>

#include <cstdint>

namespace OCL::Win32 {
namespace {

char* OrNull(std::string& text) {
    return text.empty() ? nullptr : text.data();
}

std::string Text(const char* text) {
    return text ? std::string(text) : std::string();
}

// One page of a level-0 (or level-100) enumeration: the names of count records
// of type Record, whose name is the member given, copied out; the buffer is
// freed whatever the result.
template <typename Record, typename Name>
void TakeNames(BYTE* buffer, unsigned long count, Name Record::*name, std::vector<std::u16string>* names) {
    if (!buffer)
        return;
    const auto* records = reinterpret_cast<const Record*>(buffer);
    for (unsigned long i = 0; names && i < count; ++i)
        names->push_back(FromWide(records[i].*name));
    ::NetApiBufferFree(buffer);
}

template <typename T>
void Store(T* to, unsigned long long value) {
    if (to)
        *to = T(value);
}

} // namespace

DWORD CWinNetwork::OpenEnum(DWORD scope, DWORD type, DWORD usage, const NetResource* container,
                            HNETENUM* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    std::string local, remote, comment, provider;
    NETRESOURCEA resource{};
    if (container) {
        local = container->localName;
        remote = container->remoteName;
        comment = container->comment;
        provider = container->provider;
        resource.dwScope = container->scope;
        resource.dwType = container->type;
        resource.dwDisplayType = container->displayType;
        resource.dwUsage = container->usage;
        resource.lpLocalName = OrNull(local);
        resource.lpRemoteName = OrNull(remote);
        resource.lpComment = OrNull(comment);
        resource.lpProvider = OrNull(provider);
    }
    HANDLE handle = nullptr;
    const DWORD rc = ::WNetOpenEnumA(scope, type, usage, container ? &resource : nullptr, &handle);
    *result = rc == NO_ERROR ? reinterpret_cast<HNETENUM>(handle) : nullptr;
    return rc;
}

DWORD CWinNetwork::EnumResource(HNETENUM handle, DWORD* count, DWORD bufferSize,
                                std::vector<NetResource>* entries) {
    if (!count)
        return ERROR_INVALID_PARAMETER;
    // Aligned for the records at its start; the texts they point to follow them.
    std::vector<std::uint64_t> buffer(std::size_t(bufferSize) / sizeof(std::uint64_t) + 1);
    unsigned long wanted = *count;
    unsigned long size = bufferSize;
    const DWORD rc = ::WNetEnumResourceA(reinterpret_cast<HANDLE>(handle), &wanted, buffer.data(), &size);
    *count = 0;
    if (rc != NO_ERROR)
        return rc;
    const auto* records = reinterpret_cast<const NETRESOURCEA*>(buffer.data());
    for (unsigned long i = 0; entries && i < wanted; ++i) {
        const NETRESOURCEA& r = records[i];
        entries->push_back(NetResource{r.dwScope, r.dwType, r.dwDisplayType, r.dwUsage, Text(r.lpLocalName),
                                       Text(r.lpRemoteName), Text(r.lpComment), Text(r.lpProvider)});
    }
    *count = DWORD(wanted);
    return rc;
}

DWORD CWinNetwork::CloseEnum(HNETENUM handle) {
    return ::WNetCloseEnum(reinterpret_cast<HANDLE>(handle));
}

DWORD CWinNetwork::ServerEnum(const std::u16string& domain, DWORD serverType, DWORD prefMaxLen,
                              std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) {
    BYTE* buffer = nullptr;
    unsigned long read = 0, total = 0, handle = resume ? *resume : 0;
    const DWORD rc = ::NetServerEnum(nullptr, 100, &buffer, prefMaxLen, &read, &total, serverType,
                                     WideOrNull(domain), resume ? &handle : nullptr);
    TakeNames(buffer, rc == NERR_Success || rc == ERROR_MORE_DATA ? read : 0, &SERVER_INFO_100::sv100_name,
              names);
    Store(totalEntries, total);
    Store(resume, handle);
    return rc;
}

DWORD CWinNetwork::GetDCName(const std::u16string& server, const std::u16string& domain,
                             std::u16string* dcName) {
    BYTE* buffer = nullptr;
    const DWORD rc = ::NetGetDCName(WideOrNull(server), WideOrNull(domain), &buffer);
    if (dcName)
        *dcName = rc == NERR_Success ? FromWide(reinterpret_cast<const wchar_t*>(buffer)) : std::u16string();
    if (buffer)
        ::NetApiBufferFree(buffer);
    return rc;
}

DWORD CWinNetwork::GroupEnum(const std::u16string& server, DWORD prefMaxLen,
                             std::vector<std::u16string>* names, DWORD* totalEntries, DWORD_PTR* resume) {
    BYTE* buffer = nullptr;
    unsigned long read = 0, total = 0;
    ULONG_PTR handle = resume ? *resume : 0;
    const DWORD rc =
        ::NetGroupEnum(WideOrNull(server), 0, &buffer, prefMaxLen, &read, &total, resume ? &handle : nullptr);
    TakeNames(buffer, rc == NERR_Success || rc == ERROR_MORE_DATA ? read : 0, &GROUP_INFO_0::grpi0_name,
              names);
    Store(totalEntries, total);
    Store(resume, handle);
    return rc;
}

DWORD CWinNetwork::UserEnum(const std::u16string& server, DWORD filter, DWORD prefMaxLen,
                            std::vector<std::u16string>* names, DWORD* totalEntries, DWORD* resume) {
    BYTE* buffer = nullptr;
    unsigned long read = 0, total = 0, handle = resume ? *resume : 0;
    const DWORD rc = ::NetUserEnum(WideOrNull(server), 0, filter, &buffer, prefMaxLen, &read, &total,
                                   resume ? &handle : nullptr);
    TakeNames(buffer, rc == NERR_Success || rc == ERROR_MORE_DATA ? read : 0, &USER_INFO_0::usri0_name,
              names);
    Store(totalEntries, total);
    Store(resume, handle);
    return rc;
}

DWORD CWinNetwork::GroupGetUsers(const std::u16string& server, const std::u16string& group, DWORD prefMaxLen,
                                 std::vector<std::u16string>* names, DWORD* totalEntries, DWORD_PTR* resume) {
    BYTE* buffer = nullptr;
    unsigned long read = 0, total = 0;
    ULONG_PTR handle = resume ? *resume : 0;
    const std::wstring wideGroup(group.begin(), group.end());
    const DWORD rc = ::NetGroupGetUsers(WideOrNull(server), wideGroup.c_str(), 0, &buffer, prefMaxLen, &read,
                                        &total, resume ? &handle : nullptr);
    TakeNames(buffer, rc == NERR_Success || rc == ERROR_MORE_DATA ? read : 0, &GROUP_USERS_INFO_0::grui0_name,
              names);
    Store(totalEntries, total);
    Store(resume, handle);
    return rc;
}

DWORD CWinNetwork::LocalGroupEnum(const std::u16string& server, DWORD prefMaxLen,
                                  std::vector<std::u16string>* names, DWORD* totalEntries,
                                  DWORD_PTR* resume) {
    BYTE* buffer = nullptr;
    unsigned long read = 0, total = 0;
    ULONG_PTR handle = resume ? *resume : 0;
    const DWORD rc = ::NetLocalGroupEnum(WideOrNull(server), 0, &buffer, prefMaxLen, &read, &total,
                                         resume ? &handle : nullptr);
    TakeNames(buffer, rc == NERR_Success || rc == ERROR_MORE_DATA ? read : 0, &LOCALGROUP_INFO_0::lgrpi0_name,
              names);
    Store(totalEntries, total);
    Store(resume, handle);
    return rc;
}

} // namespace OCL::Win32
