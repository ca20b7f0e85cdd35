#include "platform/site/regparser.h"

#include "ini/inifile.h"
#include "platform/ansi.h"

#include <vector>

namespace OCL::Site {
namespace {

constexpr std::string_view kHeader4 = "REGEDIT4";
constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";

bool Blank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view TrimLeft(std::string_view s) {
    while (!s.empty() && Blank(s.front()))
        s.remove_prefix(1);
    return s;
}

std::string_view TrimRight(std::string_view s) {
    while (!s.empty() && Blank(s.back()))
        s.remove_suffix(1);
    return s;
}

std::string_view Trim(std::string_view s) {
    return TrimRight(TrimLeft(s));
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && Ini::NamesEqual(s.substr(0, prefix.size()), prefix);
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// 1 to maxDigits hexadecimal digits, nothing else.
bool ParseHexNumber(std::string_view s, std::size_t maxDigits, DWORD* value) {
    if (s.empty() || s.size() > maxDigits)
        return false;
    DWORD v = 0;
    for (char c : s) {
        const int d = HexDigit(c);
        if (d < 0)
            return false;
        v = (v << 4) | DWORD(d);
    }
    *value = v;
    return true;
}

std::string Decode(std::string_view bytes) {
    if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
        static_cast<unsigned char>(bytes[1]) == 0xFE) {
        std::u16string text;
        text.reserve(bytes.size() / 2);
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
            text += char16_t(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1])
                                                                        << 8);
        return Ansi::FromUtf16(text);
    }
    if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF")
        return Ansi::FromUtf8(bytes.substr(3));
    return std::string(bytes);
}

// A quoted string at the start of s (s[0] == '"'), with \\ and \" unescaped; any
// other backslash stands for itself. *used is the length including both quotes.
bool ParseQuoted(std::string_view s, std::string* out, std::size_t* used) {
    out->clear();
    for (std::size_t i = 1; i < s.size(); ++i) {
        const char c = s[i];
        if (c == '\\' && i + 1 < s.size() && (s[i + 1] == '\\' || s[i + 1] == '"')) {
            *out += s[++i];
        } else if (c == '"') {
            *used = i + 1;
            return true;
        } else {
            *out += c;
        }
    }
    return false;
}

class Parser {
public:
    explicit Parser(std::string text) : m_text(std::move(text)) {}

    RegParseResult Run() {
        std::string_view line;
        // The header is the first line that is not blank; a file of blanks is empty.
        while (NextLine(&line) && Trim(line).empty()) {
        }
        if (m_lineNo == 0 || Trim(line).empty())
            return std::move(m_result);
        if (!Header(Trim(line))) {
            Fail("the file does not begin with \"REGEDIT4\" or \"Windows Registry Editor Version 5.00\"");
            return std::move(m_result);
        }
        m_unicode = Ini::NamesEqual(Trim(line), kHeader5);
        while (NextLine(&line)) {
            const std::string_view t = Trim(line);
            if (t.empty() || t.front() == ';' || Header(t))
                continue;
            const bool good = t.front() == '[' ? KeyLine(t) : ValueLine(t);
            if (!good)
                break;
        }
        return std::move(m_result);
    }

private:
    static bool Header(std::string_view t) {
        return Ini::NamesEqual(t, kHeader4) || Ini::NamesEqual(t, kHeader5);
    }

    bool NextLine(std::string_view* line) {
        if (m_pos >= m_text.size())
            return false;
        std::size_t end = m_text.find('\n', m_pos);
        if (end == std::string::npos)
            end = m_text.size();
        std::string_view l(m_text.data() + m_pos, end - m_pos);
        if (!l.empty() && l.back() == '\r')
            l.remove_suffix(1);
        m_pos = end + 1;
        ++m_lineNo;
        *line = l;
        return true;
    }

    bool Fail(std::string message) {
        m_result.ok = false;
        m_result.errorLine = m_lineNo;
        m_result.error = std::move(message);
        return false;
    }

    bool KeyLine(std::string_view t) {
        if (t.size() < 2 || t.back() != ']')
            return Fail("a key line must end with ']'");
        std::string_view inner = t.substr(1, t.size() - 2);
        const bool remove = !inner.empty() && inner.front() == '-';
        if (remove)
            inner.remove_prefix(1);
        std::vector<std::string_view> parts;
        for (std::size_t start = 0;;) {
            const std::size_t slash = inner.find('\\', start);
            parts.push_back(inner.substr(start, slash == std::string_view::npos ? std::string_view::npos
                                                                                : slash - start));
            if (slash == std::string_view::npos)
                break;
            start = slash + 1;
        }
        for (std::string_view part : parts)
            if (part.empty())
                return Fail("a key path holds an empty name");
        if (CRegHive::CanonicalRoot(parts[0]).empty()) {
            // Built step by step: GCC 12 at -O3 warns wrongly about a chain of "+".
            std::string message = "\"";
            message += parts[0];
            message += "\" is not a registry root";
            return Fail(message);
        }

        m_seenKey = true;
        RegNode* node = m_result.hive.AddRoot(parts[0]);
        if (remove) {
            for (std::size_t i = 1; node && i + 1 < parts.size(); ++i)
                node = node->FindSubkey(parts[i]);
            if (node && parts.size() > 1)
                node->RemoveSubkey(parts.back());
            m_current = nullptr;
            return true;
        }
        for (std::size_t i = 1; i < parts.size(); ++i)
            node = &node->AddSubkey(parts[i]);
        m_current = node;
        return true;
    }

    bool ValueLine(std::string_view t) {
        if (!m_seenKey)
            return Fail("a value comes before the first key");
        std::string name;
        if (t.front() == '@') {
            t.remove_prefix(1);
        } else if (t.front() == '"') {
            std::size_t used = 0;
            if (!ParseQuoted(t, &name, &used))
                return Fail("a value name lacks its closing quote");
            t.remove_prefix(used);
        } else {
            return Fail("the line is neither a key, a value nor a comment");
        }
        t = TrimLeft(t);
        if (t.empty() || t.front() != '=')
            return Fail("'=' is missing after the value name");
        t = Trim(t.substr(1));

        if (t == "-") {
            if (m_current)
                m_current->RemoveValue(name);
            return true;
        }
        if (!t.empty() && t.front() == '"') {
            std::string text;
            std::size_t used = 0;
            if (!ParseQuoted(t, &text, &used))
                return Fail("a string lacks its closing quote");
            if (!Trim(t.substr(used)).empty())
                return Fail("text follows the closing quote of a string");
            text += '\0';
            return Store(name, RegType::Sz, std::move(text));
        }
        if (StartsWithNoCase(t, "dword:")) {
            DWORD v = 0;
            if (!ParseHexNumber(t.substr(6), 8, &v))
                return Fail("dword: needs one to eight hexadecimal digits");
            std::string data(4, '\0');
            for (int i = 0; i < 4; ++i)
                data[std::size_t(i)] = char((v >> (8 * i)) & 0xFF);
            return Store(name, RegType::Dword, std::move(data));
        }
        if (StartsWithNoCase(t, "hex"))
            return HexValue(name, t.substr(3));
        return Fail("unknown kind of value data");
    }

    bool HexValue(const std::string& name, std::string_view t) {
        DWORD type = RegType::Binary;
        if (!t.empty() && t.front() == '(') {
            const std::size_t close = t.find(')');
            if (close == std::string_view::npos || !ParseHexNumber(t.substr(1, close - 1), 8, &type))
                return Fail("hex( needs a hexadecimal type and ')'");
            t.remove_prefix(close + 1);
        }
        if (t.empty() || t.front() != ':')
            return Fail("':' is missing after hex");
        std::string list(TrimRight(t.substr(1)));
        while (!list.empty() && list.back() == '\\') {
            list.pop_back();
            std::string_view next;
            if (!NextLine(&next))
                return Fail("the file ends inside a value");
            list += Trim(next);
            while (!list.empty() && Blank(list.back()))
                list.pop_back();
        }
        std::string data;
        data.reserve(list.size() / 3 + 1);
        std::string_view rest(list);
        while (!Trim(rest).empty()) {
            const std::size_t comma = rest.find(',');
            const std::string_view item = Trim(rest.substr(0, comma));
            DWORD byte = 0;
            if (!ParseHexNumber(item, 2, &byte))
                return Fail("hex data must be bytes of two hexadecimal digits separated by commas");
            data += char(byte);
            if (comma == std::string_view::npos)
                break;
            rest.remove_prefix(comma + 1);
        }
        if (m_unicode && (type == RegType::Sz || type == RegType::ExpandSz || type == RegType::MultiSz) &&
            data.size() % 2 == 0) {
            std::u16string wide;
            wide.reserve(data.size() / 2);
            for (std::size_t i = 0; i < data.size(); i += 2)
                wide += char16_t(static_cast<unsigned char>(data[i]) | static_cast<unsigned char>(data[i + 1])
                                                                           << 8);
            data = Ansi::FromUtf16(wide);
        }
        return Store(name, type, std::move(data));
    }

    bool Store(const std::string& name, DWORD type, std::string data) {
        if (m_current)
            m_current->SetValue(name, type, std::move(data));
        return true;
    }

    std::string m_text;
    std::size_t m_pos = 0;
    std::size_t m_lineNo = 0;
    bool m_unicode = false;
    bool m_seenKey = false;
    RegNode* m_current = nullptr; // null below a removed key
    RegParseResult m_result;
};

} // namespace

RegParseResult ParseRegistryText(std::string_view bytes) {
    return Parser(Decode(bytes)).Run();
}

} // namespace OCL::Site
