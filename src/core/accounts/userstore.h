#pragma once
// The accounts of the account file as the document holds them: one record per
// account section in file order, its name in one arena, its statistics as
// numbers, and its place in the name order computed once so that the users
// view sorts on numbers. Grows as needed; a finished store is read-only and
// shared between the document, its views and whoever else reads the list.

#include <QString>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CUserStore {
public:
    // The values the list shows, read as the profile functions would give them.
    struct Stats {
        std::int32_t connects = 0;    // "TotalConnects"
        std::int32_t denials = 0;     // "TotalDenieds"
        std::int32_t last = 0;        // "LastConnection"
        std::int32_t totalTime = 0;   // "TotalTime"
        std::int32_t maxTotal = 0;    // "MaxTotalTime"
        std::int32_t periodMax = 0;   // "PeriodMax"
        std::int32_t periodType = 0;  // "PeriodType"
        std::int32_t periodUsage = 0; // "PeriodUsage"
    };

    void Reserve(std::size_t accounts, std::size_t nameBytes);
    void Add(std::string_view name, const Stats& stats);
    // Builds the name order; call once filling is done.
    void Finish();

    std::size_t Count() const { return m_records.size(); }
    // The section name's bytes (Windows-1252).
    std::string_view Name(std::size_t i) const {
        const Record& r = m_records[i];
        return {m_names.data() + r.nameOffset, r.nameLength};
    }
    QString DisplayName(std::size_t i) const;
    const Stats& At(std::size_t i) const { return m_records[i].stats; }
    // Names without regard to case, A to Z: 0 for the first.
    std::uint32_t NameRank(std::size_t i) const { return m_ranks[i]; }

    std::size_t MemoryBytes() const;

private:
    struct Record {
        std::uint32_t nameOffset;
        std::uint32_t nameLength;
        Stats stats;
    };
    std::string m_names;
    std::vector<Record> m_records;
    std::vector<std::uint32_t> m_ranks;
};
