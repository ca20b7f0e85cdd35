#include "platform/site/reghive.h"

#include "ini/inifile.h"

#include <cstdio>

namespace OCL::Site {
namespace {

constexpr std::size_t kIndexFrom = 32;
constexpr std::size_t kNpos = std::size_t(-1);

std::string Escaped(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    for (char c : text) {
        if (c == '\\' || c == '"')
            out += '\\';
        out += c;
    }
    return out;
}

// A REG_SZ that a quoted string gives back exactly: text, then one NUL.
bool QuotedForm(const RegValue& value) {
    const std::string& d = value.data;
    if (value.type != RegType::Sz || d.empty() || d.back() != '\0')
        return false;
    for (std::size_t i = 0; i + 1 < d.size(); ++i)
        if (d[i] == '\0' || d[i] == '\r' || d[i] == '\n')
            return false;
    return true;
}

void AppendValue(std::string& out, const RegValue& value) {
    const std::size_t lineStart = out.size();
    if (value.name.empty())
        out += '@';
    else
        out += '"' + Escaped(value.name) + '"';
    out += '=';
    if (QuotedForm(value)) {
        out += '"' + Escaped(std::string_view(value.data).substr(0, value.data.size() - 1)) + '"';
    } else if (value.type == RegType::Dword && value.data.size() == 4) {
        const auto* b = reinterpret_cast<const unsigned char*>(value.data.data());
        char text[20];
        std::snprintf(text, sizeof text, "dword:%08x",
                      unsigned(b[0] | b[1] << 8 | b[2] << 16) | unsigned(b[3]) << 24);
        out += text;
    } else {
        char prefix[24];
        if (value.type == RegType::Binary)
            std::snprintf(prefix, sizeof prefix, "hex:");
        else
            std::snprintf(prefix, sizeof prefix, "hex(%x):", unsigned(value.type));
        out += prefix;
        // Wrapped as the registry editor does: lines under 80 columns, the rest
        // indented by two blanks after a trailing backslash.
        std::size_t column = out.size() - lineStart;
        static const char kDigits[] = "0123456789abcdef";
        for (std::size_t i = 0; i < value.data.size(); ++i) {
            const auto byte = static_cast<unsigned char>(value.data[i]);
            const bool last = i + 1 == value.data.size();
            if (column + (last ? 2 : 3) > 77) {
                out += "\\\r\n  ";
                column = 2;
            }
            out += kDigits[byte >> 4];
            out += kDigits[byte & 15];
            column += 2;
            if (!last) {
                out += ',';
                ++column;
            }
        }
    }
    out += "\r\n";
}

void AppendKey(std::string& out, const std::string& path, const RegNode& node) {
    out += '[' + path + "]\r\n";
    for (const RegValue& value : node.Values())
        AppendValue(out, value);
    out += "\r\n";
    for (const RegNode& sub : node.Subkeys())
        AppendKey(out, path + '\\' + sub.Name(), sub);
}

} // namespace

std::string FoldName(std::string_view name) {
    return Ini::FoldedName(name);
}

std::size_t RegNode::IndexOf(std::string_view name) const {
    if (!m_index.empty()) {
        auto it = m_index.find(FoldName(name));
        return it == m_index.end() ? kNpos : it->second;
    }
    for (std::size_t i = 0; i < m_subkeys.size(); ++i)
        if (Ini::NamesEqual(m_subkeys[i].m_name, name))
            return i;
    return kNpos;
}

void RegNode::Reindex() {
    m_index.clear();
    if (m_subkeys.size() < kIndexFrom)
        return;
    for (std::size_t i = 0; i < m_subkeys.size(); ++i)
        m_index.emplace(FoldName(m_subkeys[i].m_name), i);
}

RegNode* RegNode::FindSubkey(std::string_view name) {
    const std::size_t i = IndexOf(name);
    return i == kNpos ? nullptr : &m_subkeys[i];
}

const RegNode* RegNode::FindSubkey(std::string_view name) const {
    const std::size_t i = IndexOf(name);
    return i == kNpos ? nullptr : &m_subkeys[i];
}

RegNode& RegNode::AddSubkey(std::string_view name) {
    if (RegNode* existing = FindSubkey(name))
        return *existing;
    m_subkeys.emplace_back(std::string(name));
    if (!m_index.empty())
        m_index.emplace(FoldName(name), m_subkeys.size() - 1);
    else if (m_subkeys.size() >= kIndexFrom)
        Reindex();
    return m_subkeys.back();
}

bool RegNode::RemoveSubkey(std::string_view name) {
    const std::size_t i = IndexOf(name);
    if (i == kNpos)
        return false;
    m_subkeys.erase(m_subkeys.begin() + std::ptrdiff_t(i));
    Reindex();
    return true;
}

const RegValue* RegNode::FindValue(std::string_view name) const {
    for (const RegValue& value : m_values)
        if (Ini::NamesEqual(value.name, name))
            return &value;
    return nullptr;
}

void RegNode::SetValue(std::string_view name, DWORD type, std::string data) {
    for (RegValue& value : m_values)
        if (Ini::NamesEqual(value.name, name)) {
            value.type = type;
            value.data = std::move(data);
            return;
        }
    m_values.push_back(RegValue{std::string(name), type, std::move(data)});
}

bool RegNode::RemoveValue(std::string_view name) {
    for (auto it = m_values.begin(); it != m_values.end(); ++it)
        if (Ini::NamesEqual(it->name, name)) {
            m_values.erase(it);
            return true;
        }
    return false;
}

CRegHive::CRegHive() {
    m_roots.emplace_back("HKEY_LOCAL_MACHINE");
    m_roots.emplace_back("HKEY_USERS");
}

std::string CRegHive::CanonicalRoot(std::string_view name) {
    static const std::pair<const char*, const char*> kShort[] = {{"HKLM", "HKEY_LOCAL_MACHINE"},
                                                                 {"HKU", "HKEY_USERS"},
                                                                 {"HKCU", "HKEY_CURRENT_USER"},
                                                                 {"HKCR", "HKEY_CLASSES_ROOT"},
                                                                 {"HKCC", "HKEY_CURRENT_CONFIG"}};
    for (const auto& [shortName, longName] : kShort)
        if (Ini::NamesEqual(name, shortName))
            return longName;
    if (name.size() > 5 && Ini::NamesEqual(name.substr(0, 5), "HKEY_")) {
        std::string out(name);
        for (char& c : out)
            if (c >= 'a' && c <= 'z')
                c = char(c - 32);
        return out;
    }
    return {};
}

RegNode* CRegHive::Root(std::string_view name) {
    const std::string canonical = CanonicalRoot(name);
    for (RegNode& root : m_roots)
        if (root.Name() == canonical)
            return &root;
    return nullptr;
}

const RegNode* CRegHive::Root(std::string_view name) const {
    return const_cast<CRegHive*>(this)->Root(name);
}

RegNode* CRegHive::AddRoot(std::string_view name) {
    const std::string canonical = CanonicalRoot(name);
    if (canonical.empty())
        return nullptr;
    if (RegNode* root = Root(canonical))
        return root;
    m_roots.emplace_back(canonical);
    return &m_roots.back();
}

const RegNode* CRegHive::Walk(const RegNode& root, const std::vector<std::string>& path) {
    const RegNode* node = &root;
    for (const std::string& name : path) {
        node = node->FindSubkey(name);
        if (!node)
            return nullptr;
    }
    return node;
}

RegNode* CRegHive::Walk(RegNode& root, const std::vector<std::string>& path) {
    return const_cast<RegNode*>(Walk(static_cast<const RegNode&>(root), path));
}

std::string CRegHive::Serialize() const {
    std::string out = "REGEDIT4\r\n\r\n";
    for (const RegNode& root : m_roots)
        AppendKey(out, root.Name(), root);
    return out;
}

} // namespace OCL::Site
