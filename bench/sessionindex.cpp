// index-days and search-days: the session index over a run of busy days of
// 100,000 events each. Indexing is held against loading the same days with the
// day loader (it must not cost much more than the load it needs anyway); a
// search for one account against loading them all, which is what finding an
// account's sessions took without the index. Also checks the index's size.
//
// CW_BENCH_INDEX_DAYS sets the number of days (default 20; 365 for a year).

#include "benchcase.h"
#include "benchconsole.h"
#include "benchday.h"

#include "core/log/dayreader.h"
#include "core/search/sessionindex.h"
#include "platform/site/site.h"

#include <QFile>
#include <QLocale>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kEventsPerDay = 100000;
constexpr double kMaxBytesPerEvent = 40;

struct Days {
    CwBench::CTempFolder folder;
    std::vector<CDayFile> files;
    std::size_t events = 0;
    QString index;
};

const Days& TheDays() {
    static const Days* days = [] {
        auto* d = new Days;
        int count = 20;
        if (const char* env = std::getenv("CW_BENCH_INDEX_DAYS"); env && std::atoi(env) > 0)
            count = std::atoi(env);
        const auto logData = d->folder.Path() / "LogData";
        std::filesystem::create_directories(logData);
        const QLocale english(QLocale::English, QLocale::UnitedStates);
        const QDate first(2026, 1, 1);
        for (int i = 0; i < count; ++i) {
            const QString name = english.toString(first.addDays(i), u"yyyy-MMM-dd'.log'"_s);
            const auto path = logData / name.toStdString();
            d->events += CwBench::WriteBusyDay(path, kEventsPerDay).events;
        }
        d->files = ListDayFiles(QString::fromStdString(logData.string()), {});
        d->index = QString::fromStdString((d->folder.Path() / "index" / "sessions.cwidx").string());
        return d;
    }();
    return *days;
}

std::size_t LoadAll(const Days& days) {
    std::size_t events = 0;
    for (const CDayFile& file : days.files) {
        std::string bytes;
        CDayReader::ReadFile(file.path.toStdString(), &bytes);
        events += CDayReader::Parse(std::move(bytes))->Count();
    }
    return events;
}

CwBench::Timing IndexDays() {
    const Days& days = TheDays();
    std::size_t loaded = 0;
    qint64 indexed = 0, bytes = 0;
    QString error;
    CwBench::Timing timing = CwBench::Measure(
        2, [&] { loaded = LoadAll(days); },
        [&] {
            for (const char* suffix : {"", "-wal", "-shm"})
                QFile::remove(days.index + QString::fromLatin1(suffix));
            CSessionIndex index;
            QString notice;
            if (!index.Open(days.index, &notice, &error))
                return;
            error = index.Refresh(days.files).error;
            indexed = index.Events();
            bytes = index.FileBytes();
        });
    const double perEvent = indexed ? double(bytes) / double(indexed) : 0;
    if (!error.isEmpty())
        timing.error = error.toStdString();
    else if (std::size_t(indexed) != days.events || loaded != days.events)
        timing.error = "wrong result: " + std::to_string(indexed) + " indexed, " + std::to_string(loaded) +
                       " loaded; expected " + std::to_string(days.events);
    else if (perEvent > kMaxBytesPerEvent)
        timing.error = "the index takes " + std::to_string(perEvent) + " bytes per event";
    char detail[160];
    std::snprintf(detail, sizeof detail, "%zu days of %zu events, index %.1f MB = %.1f bytes/event (<= %.0f)",
                  days.files.size(), kEventsPerDay, double(bytes) / (1 << 20), perEvent, kMaxBytesPerEvent);
    timing.detail = detail;
    return timing;
}

CwBench::Timing SearchDays() {
    const Days& days = TheDays();
    CSessionIndex index;
    QString notice, error;
    CwBench::Timing timing;
    if (!index.Open(days.index, &notice, &error) || !(error = index.Refresh(days.files).error).isEmpty()) {
        timing.error = error.toStdString();
        return timing;
    }
    CwBench::CSilentPrompter prompter;
    const auto site = OCL::Site::OpenSite(days.folder.Path() / "site");
    CSessionQuery query;
    query.filter = CLogFilter::ForSelection({8, u"*"_s, u"*"_s, u"CORP"_s, u"*"_s, u"user0042"_s},
                                            *site->network, prompter);
    std::size_t loaded = 0, found = 0;
    timing = CwBench::Measure(
        3, [&] { loaded = LoadAll(days); },
        [&] {
            const CSessionAnswer answer = index.Search(query, days.files);
            found = answer.store ? answer.store->Count() : 0;
        });
    if (loaded != days.events || found == 0 || found > days.events / 1000)
        timing.error = "wrong result: " + std::to_string(found) + " events found";
    timing.detail = std::to_string(found) + " events of CORP\\user0042 in " +
                    std::to_string(days.files.size()) + " days of " + std::to_string(kEventsPerDay) +
                    " events";
    return timing;
}

} // namespace

CW_BENCH_CASE("index-days", 1.5, IndexDays)
CW_BENCH_CASE("search-days", 0.01, SearchDays)
