#pragma once
// The registry of one site host in memory: the roots (HKEY_LOCAL_MACHINE,
// HKEY_USERS and whatever other roots its file holds), their keys in stored order
// and each key's values as raw bytes. Names are ANSI (Windows-1252) and match
// without regard to case; the stored spelling is kept. Written back as REGEDIT4.

#include "platform/registry.h"
#include "platform/types.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace OCL::Site {

struct RegValue {
    std::string name; // empty: the key's default value
    DWORD type = 0;
    std::string data; // exactly the stored bytes
};

class RegNode {
public:
    explicit RegNode(std::string name = {}) : m_name(std::move(name)) {}

    const std::string& Name() const { return m_name; }

    const std::vector<RegNode>& Subkeys() const { return m_subkeys; }
    RegNode* FindSubkey(std::string_view name);
    const RegNode* FindSubkey(std::string_view name) const;
    // The existing subkey of that name, or a new one at the end.
    RegNode& AddSubkey(std::string_view name);
    bool RemoveSubkey(std::string_view name);

    const std::vector<RegValue>& Values() const { return m_values; }
    const RegValue* FindValue(std::string_view name) const;
    // Replaces a value of that name in place (keeping its spelling) or adds it.
    void SetValue(std::string_view name, DWORD type, std::string data);
    bool RemoveValue(std::string_view name);

private:
    std::size_t IndexOf(std::string_view name) const;
    void Reindex();

    std::string m_name;
    std::vector<RegValue> m_values;
    std::vector<RegNode> m_subkeys;
    // Folded name -> index into m_subkeys, kept only for keys with many subkeys
    // (a seeded export can have thousands under one key).
    std::unordered_map<std::string, std::size_t> m_index;
};

class CRegHive {
public:
    CRegHive();

    // A root by name ("HKEY_LOCAL_MACHINE", "HKLM", ...); null when the hive has none.
    RegNode* Root(std::string_view name);
    const RegNode* Root(std::string_view name) const;
    // The root, made when missing. Null for a name that is not a registry root.
    RegNode* AddRoot(std::string_view name);

    // The key at path below root (components without separators); null when missing.
    static const RegNode* Walk(const RegNode& root, const std::vector<std::string>& path);
    static RegNode* Walk(RegNode& root, const std::vector<std::string>& path);

    // The canonical REGEDIT4 text: CRLF, Windows-1252, every key written.
    std::string Serialize() const;

    // The long form of a root name ("HKLM" -> "HKEY_LOCAL_MACHINE"); empty when
    // the text names no registry root.
    static std::string CanonicalRoot(std::string_view name);

private:
    std::vector<RegNode> m_roots; // HKEY_LOCAL_MACHINE and HKEY_USERS first
};

// Folds a name for comparison (ASCII and the Windows-1252 letters).
std::string FoldName(std::string_view name);

} // namespace OCL::Site
