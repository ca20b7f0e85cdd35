#pragma once
// Where a console's session history lives and how its times move: the local
// folders of the master server's LogData and OldData, the time-zone shift of
// each server (as the day loader applies it) and the console's index file.

#include "core/log/logtexts.h"
#include "core/search/sessionindex.h"

class CCwadminDoc;
class CEnvironment;

struct CHistorySource {
    QString logData, oldData; // local folders; empty when the share cannot be reached
    CSessionIndex::Shifts shifts;
    QString indexFile;

    static CHistorySource Of(CCwadminDoc& doc, const CEnvironment& env);
    std::vector<CDayFile> Files() const { return ListDayFiles(logData, oldData); }
};

// What a search looked for, for a caption: "(User CORP\alice), 2026-01-01 to
// 2026-03-31, Denied, reason 3".
QString DescribeQuery(const CSessionQuery& query);

// Cells of a search result: times with their date, as the rows span many days.
CLogCellFormat SearchCellFormat(const CCwadminDoc& doc);
