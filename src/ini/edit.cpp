#include "ini/inifile.h"

#include "ini/text.h"

#include <algorithm>
#include <map>
#include <unordered_set>

namespace OCL::Ini {

using namespace Text;

namespace {

// A line break inside a name or value would split it into lines of its own.
std::string OneLine(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (IsLineEnd(c))
            c = ' ';
    return out;
}

std::string CleanName(std::string_view name) {
    return std::string(Trim(OneLine(name)));
}

// Keys added by an edit, in the order they were added, found by name.
class NewKeys {
public:
    struct Key {
        std::string name, value;
        bool gone = false;
    };

    // False when the key already held that value.
    bool Set(const std::string& name, const std::string& value) {
        const auto [at, added] = m_index.try_emplace(FoldedName(name), m_keys.size());
        if (added) {
            m_keys.push_back({name, value});
            return true;
        }
        Key& key = m_keys[at->second];
        if (key.value == value)
            return false;
        key.value = value;
        return true;
    }

    bool Remove(const std::string& name) {
        const auto at = m_index.find(FoldedName(name));
        if (at == m_index.end())
            return false;
        m_keys[at->second].gone = true;
        m_index.erase(at);
        return true;
    }

    bool Empty() const { return m_index.empty(); }
    const std::vector<Key>& Keys() const { return m_keys; }

private:
    std::vector<Key> m_keys;
    std::unordered_map<std::string, std::size_t> m_index; // folded name -> position of the live key
};

// Passes bytes on to the sink and remembers how the output ends so far.
class Output {
public:
    Output(const Edit::Sink& sink, std::size_t bom) : m_sink(sink), m_bom(bom) {}

    void Put(std::string_view bytes) {
        if (bytes.empty() || m_failed)
            return;
        if (!m_sink(bytes))
            m_failed = true;
        m_count += bytes.size();
        m_last = bytes.back();
    }
    // Ends a last line that has no line end, before a new line is added.
    void StartLine() {
        if (m_count > m_bom && !IsLineEnd(m_last))
            Put("\r\n");
    }
    // Sets a new section apart from what comes before it by one blank line.
    void StartSection() {
        if (m_count <= m_bom)
            return;
        StartLine();
        Put("\r\n");
    }
    bool Failed() const { return m_failed; }

private:
    const Edit::Sink& m_sink;
    std::size_t m_bom;
    std::size_t m_count = 0;
    char m_last = '\n';
    bool m_failed = false;
};

} // namespace

// The edits worked out against one parse: what happens to its key lines and
// sections, and what is new. Written out in one pass over the old bytes.
class Edit::Plan {
public:
    explicit Plan(const Document& doc) : m_doc(doc) {}

    void Set(const std::string& section, const std::string& key, const std::string& value) {
        if (const auto s = LiveSection(section)) {
            if (const auto k = m_doc.FindKey(*s, key)) {
                const std::size_t index = m_doc.KeyIndex(*s, *k);
                if (!m_removedKeys.contains(index)) {
                    const auto replaced = m_replaced.find(index);
                    std::optional<std::string_view> current;
                    if (replaced != m_replaced.end()) {
                        current = replaced->second;
                    } else {
                        const Document::KeyParts parts = m_doc.PartsOfKey(index);
                        if (parts.equals < parts.lineEnd)
                            current =
                                std::string_view(m_doc.m_bytes.data() + parts.valueBegin, parts.valueLength);
                    }
                    if (current != value) {
                        m_replaced[index] = value;
                        m_changed = true;
                    }
                    return;
                }
            }
            m_changed = m_appended[*s].Set(key, value) || m_changed;
            return;
        }
        const auto [at, added] = m_addedByName.try_emplace(FoldedName(section), m_added.size());
        if (added)
            m_added.push_back({section, {}, LastSection()});
        m_changed = m_added[at->second].keys.Set(key, value) || m_changed;
    }

    void RemoveKey(const std::string& section, const std::string& key) {
        if (const auto s = LiveSection(section)) {
            if (const auto first = m_doc.FindKey(*s, key)) {
                const std::size_t count = m_doc.KeyCount(*s);
                for (std::size_t k = *first; k < count; ++k) {
                    const std::size_t index = m_doc.KeyIndex(*s, k);
                    if (!m_removedKeys.contains(index) && m_doc.KeyNamed(index, key)) {
                        m_removedKeys.insert(index);
                        m_replaced.erase(index);
                        m_changed = true;
                    }
                }
            }
            if (const auto appended = m_appended.find(*s); appended != m_appended.end())
                m_changed = appended->second.Remove(key) || m_changed;
            return;
        }
        if (const auto at = m_addedByName.find(FoldedName(section)); at != m_addedByName.end())
            m_changed = m_added[at->second].keys.Remove(key) || m_changed;
    }

    void RemoveSection(const std::string& section) {
        if (m_byName.empty()) {
            for (std::size_t s = 0; s < m_doc.SectionCount(); ++s)
                m_byName[FoldedName(m_doc.SectionName(s))].push_back(s);
        }
        if (const auto named = m_byName.find(FoldedName(section)); named != m_byName.end()) {
            for (std::size_t s : named->second) {
                if (m_removedSections.insert(s).second) {
                    m_appended.erase(s);
                    m_changed = true;
                }
            }
        }
        if (const auto at = m_addedByName.find(FoldedName(section)); at != m_addedByName.end()) {
            m_added[at->second].gone = true;
            m_addedByName.erase(at);
            m_changed = true;
        }
    }

    bool Changed() const { return m_changed; }

    bool Write(const Sink& sink) const {
        enum Kind { Replace, AddValue, Insert, Skip }; // the order of splices at one offset
        struct Splice {
            std::uint32_t at, resume;
            Kind kind;
            const std::string* text;
            std::size_t section;
        };
        std::vector<Splice> splices;
        for (const std::size_t s : m_removedSections)
            splices.push_back({m_doc.m_sections[s].header, m_doc.SectionEnd(s), Skip, nullptr, s});
        for (const std::size_t index : m_removedKeys) {
            const Document::KeyParts k = m_doc.PartsOfKey(index);
            splices.push_back({k.lineBegin, k.nextLine, Skip, nullptr, 0});
        }
        for (const auto& [index, value] : m_replaced) {
            const Document::KeyParts k = m_doc.PartsOfKey(index);
            if (k.equals < k.lineEnd)
                splices.push_back({k.equals + 1, k.lineEnd, Replace, &value, 0});
            else
                splices.push_back({k.lineEnd, k.lineEnd, AddValue, &value, 0});
        }
        for (const auto& [s, keys] : m_appended)
            if (!keys.Empty())
                splices.push_back({InsertPoint(s), 0, Insert, nullptr, s});
        std::sort(splices.begin(), splices.end(), [](const Splice& a, const Splice& b) {
            return a.at != b.at ? a.at < b.at : a.kind < b.kind;
        });

        const std::string_view bytes = m_doc.m_bytes;
        Output out(sink, StartsWithBom(bytes) ? 3 : 0);
        std::uint32_t pos = 0;
        for (const Splice& splice : splices) {
            // Inside a section that goes as a whole.
            if (splice.at < pos)
                continue;
            out.Put(bytes.substr(pos, splice.at - pos));
            pos = splice.at;
            switch (splice.kind) {
            case Replace:
                out.Put(*splice.text);
                pos = splice.resume;
                break;
            case AddValue:
                out.Put("=");
                out.Put(*splice.text);
                break;
            case Insert:
                PutKeys(out, m_appended.at(splice.section));
                break;
            case Skip:
                pos = splice.resume;
                break;
            }
        }
        out.Put(bytes.substr(pos));
        for (const NewSection& added : m_added) {
            if (added.gone)
                continue;
            // The blank line before it went with the section it was added after.
            if (Exists(added.after))
                out.StartSection();
            else
                out.StartLine();
            out.Put("[");
            out.Put(added.name);
            out.Put("]\r\n");
            PutKeys(out, added.keys);
        }
        return !out.Failed();
    }

private:
    // A section of the file or one added, by position; none for the lines before
    // the first section.
    struct SectionRef {
        enum { None, Old, New } kind = None;
        std::size_t number = 0;
    };
    struct NewSection {
        std::string name;
        NewKeys keys;
        SectionRef after; // the file's last section when this one was added
        bool gone = false;
    };

    SectionRef LastSection() const {
        for (std::size_t s = m_added.size(); s-- > 0;)
            if (!m_added[s].gone)
                return {SectionRef::New, s};
        for (std::size_t s = m_doc.SectionCount(); s-- > 0;)
            if (!m_removedSections.contains(s))
                return {SectionRef::Old, s};
        return {};
    }

    bool Exists(const SectionRef& ref) const {
        switch (ref.kind) {
        case SectionRef::Old:
            return !m_removedSections.contains(ref.number);
        case SectionRef::New:
            return !m_added[ref.number].gone;
        case SectionRef::None:
            break;
        }
        return true;
    }

    std::optional<std::size_t> LiveSection(const std::string& name) const {
        // Sections go by name, all of a name at once: when the first is gone, all are.
        const auto s = m_doc.FindSection(name);
        if (s && !m_removedSections.contains(*s))
            return s;
        return std::nullopt;
    }

    // After the section's last line that stays and is a key or a comment, or
    // after its header.
    std::uint32_t InsertPoint(std::size_t s) const {
        const char* data = m_doc.m_bytes.data();
        const auto size = std::uint32_t(m_doc.m_bytes.size());
        const std::uint32_t end = m_doc.SectionEnd(s);
        std::uint32_t pos = NextLine(data, LineEnd(data, m_doc.m_sections[s].header, size), size);
        std::uint32_t at = pos;
        std::size_t key = m_doc.KeyIndex(s, 0);
        const std::size_t keysEnd = key + m_doc.KeyCount(s);
        while (pos < end) {
            const std::uint32_t lineEnd = LineEnd(data, pos, size);
            const std::uint32_t next = NextLine(data, lineEnd, size);
            if (key < keysEnd && m_doc.m_keys[key] == pos) {
                if (!m_removedKeys.contains(key))
                    at = next;
                ++key;
            } else {
                std::uint32_t p = pos;
                while (p < lineEnd && IsBlank(data[p]))
                    ++p;
                if (p < lineEnd && data[p] != '\0')
                    at = next;
            }
            pos = next;
        }
        return at;
    }

    static void PutKeys(Output& out, const NewKeys& keys) {
        for (const NewKeys::Key& key : keys.Keys()) {
            if (key.gone)
                continue;
            out.StartLine();
            out.Put(key.name);
            out.Put("=");
            out.Put(key.value);
            out.Put("\r\n");
        }
    }

    const Document& m_doc;
    std::unordered_map<std::size_t, std::string> m_replaced; // key line -> new value
    std::unordered_set<std::size_t> m_removedKeys;
    std::unordered_set<std::size_t> m_removedSections;
    std::map<std::size_t, NewKeys> m_appended; // section -> keys added at its end
    std::vector<NewSection> m_added;           // sections added at the end of the file
    std::unordered_map<std::string, std::size_t> m_addedByName;
    std::unordered_map<std::string, std::vector<std::size_t>> m_byName;
    bool m_changed = false;
};

Edit& Edit::Set(std::string_view section, std::string_view key, std::string_view value) {
    m_ops.push_back({Op::SetValue, CleanName(section), CleanName(key), OneLine(value)});
    return *this;
}

Edit& Edit::DeleteKey(std::string_view section, std::string_view key) {
    m_ops.push_back({Op::RemoveKey, CleanName(section), CleanName(key), {}});
    return *this;
}

Edit& Edit::DeleteSection(std::string_view section) {
    m_ops.push_back({Op::RemoveSection, CleanName(section), {}, {}});
    return *this;
}

void Edit::PlanDeleter::operator()(Plan* plan) const {
    delete plan;
}

Edit::PlanPtr Edit::PlanFor(const Document& document) const {
    PlanPtr plan(new Plan(document));
    for (const Op& op : m_ops) {
        switch (op.kind) {
        case Op::SetValue:
            plan->Set(op.section, op.key, op.value);
            break;
        case Op::RemoveKey:
            plan->RemoveKey(op.section, op.key);
            break;
        case Op::RemoveSection:
            plan->RemoveSection(op.section);
            break;
        }
    }
    if (!plan->Changed())
        return nullptr;
    return plan;
}

bool Edit::Write(const Plan& plan, const Sink& sink) {
    return plan.Write(sink);
}

std::string Edit::ApplyTo(std::string bytes) const {
    const auto document = Document::Parse(std::move(bytes));
    const auto plan = PlanFor(*document);
    if (!plan)
        return document->Bytes();
    std::string out;
    out.reserve(document->Bytes().size() + 256);
    Write(*plan, [&out](std::string_view piece) {
        out.append(piece);
        return true;
    });
    return out;
}

} // namespace OCL::Ini
