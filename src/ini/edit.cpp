#include "ini/inifile.h"

namespace OCL::Ini {
namespace {

// A line break inside a name or value would split it into lines of its own.
std::string OneLine(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c == '\r' || c == '\n')
            c = ' ';
    return out;
}

bool EndsWithLineEnd(const std::string& bytes) {
    return bytes.empty() || bytes.back() == '\n';
}

std::string SetValue(std::string bytes, const std::string& section, const std::string& key,
                     const std::string& value) {
    auto doc = Document::Parse(std::move(bytes));
    std::string out = doc->Bytes();
    const auto s = doc->FindSection(section);
    if (s) {
        const Document::SectionSpan& span = doc->Sections()[*s];
        for (std::uint32_t k = 0; k < span.keyCount; ++k) {
            if (!NamesEqual(doc->KeyName(*s, k), key))
                continue;
            // A value that already reads the same is left as it stands.
            if (doc->Value(*s, k) == value)
                return out;
            const Document::KeyLine& line = doc->Keys()[span.firstKey + k];
            if (line.rawValueBegin < line.lineEnd || doc->Bytes()[line.rawValueBegin - 1] == '=')
                out.replace(line.rawValueBegin, line.lineEnd - line.rawValueBegin, value);
            else
                out.insert(line.lineEnd, "=" + value);
            return out;
        }
        std::string text = key + "=" + value + "\r\n";
        if (span.insertAt == out.size() && !EndsWithLineEnd(out))
            text.insert(0, "\r\n");
        out.insert(span.insertAt, text);
        return out;
    }
    if (!EndsWithLineEnd(out))
        out += "\r\n";
    if (!out.empty())
        out += "\r\n";
    out += "[" + section + "]\r\n" + key + "=" + value + "\r\n";
    return out;
}

std::string RemoveKey(std::string bytes, const std::string& section, const std::string& key) {
    auto doc = Document::Parse(std::move(bytes));
    std::string out = doc->Bytes();
    const auto s = doc->FindSection(section);
    if (!s)
        return out;
    const Document::SectionSpan& span = doc->Sections()[*s];
    for (std::uint32_t k = span.keyCount; k-- > 0;) {
        if (!NamesEqual(doc->KeyName(*s, k), key))
            continue;
        const Document::KeyLine& line = doc->Keys()[span.firstKey + k];
        out.erase(line.lineBegin, line.nextLine - line.lineBegin);
    }
    return out;
}

std::string RemoveSection(std::string bytes, const std::string& section) {
    auto doc = Document::Parse(std::move(bytes));
    std::string out = doc->Bytes();
    for (std::size_t s = doc->SectionCount(); s-- > 0;) {
        if (!NamesEqual(doc->SectionName(s), section))
            continue;
        const Document::SectionSpan& span = doc->Sections()[s];
        out.erase(span.headerBegin, span.bodyEnd - span.headerBegin);
    }
    return out;
}

} // namespace

Edit& Edit::Set(std::string_view section, std::string_view key, std::string_view value) {
    m_ops.push_back({Op::SetValue, OneLine(section), OneLine(key), OneLine(value)});
    return *this;
}

Edit& Edit::DeleteKey(std::string_view section, std::string_view key) {
    m_ops.push_back({Op::RemoveKey, OneLine(section), OneLine(key), {}});
    return *this;
}

Edit& Edit::DeleteSection(std::string_view section) {
    m_ops.push_back({Op::RemoveSection, OneLine(section), {}, {}});
    return *this;
}

std::string Edit::ApplyTo(std::string bytes) const {
    for (const Op& op : m_ops) {
        switch (op.kind) {
        case Op::SetValue:
            bytes = SetValue(std::move(bytes), op.section, op.key, op.value);
            break;
        case Op::RemoveKey:
            bytes = RemoveKey(std::move(bytes), op.section, op.key);
            break;
        case Op::RemoveSection:
            bytes = RemoveSection(std::move(bytes), op.section);
            break;
        }
    }
    return bytes;
}

} // namespace OCL::Ini
