#pragma once
// The network port over the network browse calls (WNet...) and NetAPI. Each
// system buffer is copied out and freed before the call returns.

#include "platform/network.h"

namespace OCL::Win32 {

class CWinNetwork final : public INetwork {
public:
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
};

} // namespace OCL::Win32
