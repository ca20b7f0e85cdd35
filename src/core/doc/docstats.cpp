// The document's share of the figures of the session history: the shown day's
// statistics and usage intervals, the export of many days, the calendar's
// marks.
#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"
#include "core/ui/listfile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QThread>

#include <algorithm>
#ifdef __linux__
#include <fcntl.h>
#endif
#include <mutex>

using namespace Qt::StringLiterals;
using OCL::IPrompter;

namespace {

// Log files in date order; names that are no date follow, by name.
QStringList InDateOrder(QStringList names) {
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    std::vector<std::pair<QDate, QString>> keyed;
    for (const QString& name : names)
        keyed.emplace_back(english.toDate(name.chopped(4), u"yyyy-MMM-dd"_s), name);
    std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        if (a.first.isValid() != b.first.isValid())
            return a.first.isValid();
        if (a.first != b.first)
            return a.first < b.first;
        return a.second.compare(b.second, Qt::CaseInsensitive) < 0;
    });
    names.clear();
    for (const auto& entry : keyed)
        names << entry.second;
    return names;
}

} // namespace

void CCwadminDoc::Stat_Generate() {
    CWaitCursor wait(m_frame);
    SetStatus(u"Calculating Statistics, please wait..."_s);
    Stat_CountNumberOfSessions();
    Stat_CoundSessionByHour();
    SetStatus(u"Ready"_s);
}

void CCwadminDoc::Stat_CountNumberOfSessions() {
    m_statistics.CountSessions(*m_logRecords);
}

void CCwadminDoc::Stat_CoundSessionByHour() {
    m_statistics.CountByHour(*m_logRecords);
}

QString CCwadminDoc::ShownDayText() const {
    return QLocale::system().toString(QDate(m_year, m_month, m_day), QLocale::LongFormat);
}

bool CCwadminDoc::Stat_Save() {
    const QString path = m_env.Prompter().SaveFileName(u"Save Stats to File"_s, {},
                                                       u"Comma Separated File (*.csv)"_s, u"csv"_s);
    return !path.isEmpty() && Stat_SaveToFile(path);
}

bool CCwadminDoc::Stat_SaveToFile(const QString& path) {
    const QByteArray text = m_statistics.SaveText(ShownDayText());
    return CListFile::Save(path, m_env.Prompter(),
                           [&](QIODevice& file) { return file.write(text) == text.size(); });
}

const CUsageGraph& CCwadminDoc::RebuildUsage() {
    LoadLogRecords(0);
    m_usage = CUsageGraph::Build(*m_logRecords);
    return m_usage;
}

CUsageDay CCwadminDoc::UsageDay() const {
    return CUsageDay::For(QDate(m_year, m_month, m_day), m_env.Clock().Now());
}

quint32 CCwadminDoc::LoggedDaysOfMonth(int year, int month) const {
    quint32 days = 0;
    for (int d = 1; d <= 31; ++d) {
        const QDate date(year, month, d);
        if (!date.isValid())
            continue;
        // Noon is on the day whatever daylight saving does.
        const QString path = CreateLogFileName(QDateTime(date, QTime(12, 0)).toSecsSinceEpoch());
        std::filesystem::path local;
        if (m_env.Shares().Resolve(CAnsi::FromQString(path), &local) == OCL::Err::Success &&
            QFileInfo::exists(QString::fromStdString(local.string())))
            days |= 1u << d;
    }
    return days;
}

CSessionExportResult CCwadminDoc::ExportSessions(const CSessionExportSettings& settings,
                                                 const CSessionExportProgress& progress) {
    CSessionExportResult result;
    IPrompter& prompter = m_env.Prompter();
    if (const QString problem = settings.Problem(); !problem.isEmpty()) {
        prompter.Message(problem, {}, IPrompter::Icon::Information, IPrompter::Buttons::Ok);
        result.error = problem;
        return result;
    }
    const auto fail = [&](const QString& text) {
        prompter.Message(text, {}, IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        result.error = text;
        return result;
    };
    if (m_logLoading)
        return fail(u"A log is being loaded; export again when it has finished."_s);
    QSaveFile file(settings.fileName);
    if (!file.open(QIODevice::WriteOnly))
        return fail(u"Error opening file for output.\n%1: %2"_s.arg(settings.fileName, file.errorString()));

    // The days in the order they are exported, with the progress after each.
    struct Planned {
        QString path;
        QDate day; // the shown day while it is exported; invalid for a found file
        int percent = 0;
    };
    std::vector<Planned> plan;
    const auto noon = [](QDate date) {
        return QDateTime(date, QTime(12, 0)).toSecsSinceEpoch();
    };
    if (settings.mode == SessionExportMode::All) {
        const QString folder = m_servers->MasterShare() + u"\\LogData"_s;
        std::filesystem::path local;
        QStringList names;
        if (m_env.Shares().Resolve(CAnsi::FromQString(folder), &local) == OCL::Err::Success)
            names = InDateOrder(QDir(QString::fromStdString(local.string()))
                                    .entryList({u"*.log"_s}, QDir::Files | QDir::Hidden | QDir::System));
        for (qsizetype i = 0; i < names.size(); ++i)
            plan.push_back({folder + u'\\' + names[i], {}, int((i + 1) * 100 / names.size())});
    } else if (settings.mode == SessionExportMode::LastDays) {
        QDate date = QDateTime::fromSecsSinceEpoch(m_env.Clock().Now()).date();
        for (int done = 1; done <= settings.days; ++done, date = Step(date, 1))
            plan.push_back({CreateLogFileName(noon(date)), date, int(qint64(done) * 100 / settings.days)});
    } else {
        // Stops on reaching To, which is therefore left out unless it is From.
        const QDate to = settings.to;
        QDate date = settings.from;
        for (int done = 1;; ++done) {
            plan.push_back({CreateLogFileName(noon(date)), date, done});
            date = Step(date, 2);
            // From = To is that day alone, at a month's end too, where the rule
            // would run on to the same day of the next year.
            if (settings.from == to ||
                (date.year() == to.year() && date.month() == to.month() && date.day() >= to.day()))
                break;
        }
    }

    const int year = m_year, month = m_month, day = m_day;
    bool loadFailed = false, writeFailed = false;
    {
        // The caption follows the exported days; the records stay the shown
        // day's, and no other load starts meanwhile.
        const CLogLoading loading(*this);
        const TimeShifts shifts = LogTimeShifts();
        std::vector<std::filesystem::path> locals;
        for (const Planned& planned : plan)
            locals.push_back(LocalLogFile(planned.path));
        const bool found = settings.mode == SessionExportMode::All;
        // Workers write the lines of the days they read, sharing the texts of
        // times; this thread saves them meanwhile. Buffers go round: fresh
        // memory costs more to touch than to fill.
        const CSessionExportWriter texts(
            [this](qint64 time, bool withDate) { return TimeToLocalString(time, withDate, 0); },
            m_showSeconds != 0);
        std::mutex buffersMutex;
        std::vector<std::string> buffers;
        CDayPrefetch days(
            plan.size(),
            [&](std::size_t i) {
                if (found && !QFileInfo::exists(QString::fromStdString(locals[i].string())))
                    return CDayPrefetch::Day{};
                CDayPrefetch::Day loaded = ReadLogDay(locals[i], {}, shifts, {}, false);
                if (loaded.outOfMemory)
                    return loaded;
                {
                    std::lock_guard lock(buffersMutex);
                    if (!buffers.empty()) {
                        loaded.output = std::move(buffers.back());
                        buffers.pop_back();
                    }
                }
                texts.Another().Append(*loaded.store, &loaded.output);
                return loaded;
            },
            1);
        std::function<void()> painting;
        if (QCoreApplication::instance() && QThread::currentThread() == thread())
            painting = [] {
                QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
            };
        // The status and whatever shows the progress are drawn before the first day.
        if (painting)
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);

        qint64 written = 0;
        const auto write = [&](const std::string& bytes) {
            if (!writeFailed && file.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size()))
                writeFailed = true;
#ifdef __linux__
            // The disk starts on what is written while the next days are read,
            // instead of all of it waiting for the commit's sync.
            if (!writeFailed && file.flush())
                ::sync_file_range(file.handle(), written, qint64(bytes.size()), SYNC_FILE_RANGE_WRITE);
#endif
            written += qint64(bytes.size());
        };
        write(CSessionExportWriter::Header());
        for (std::size_t i = 0; i < plan.size(); ++i) {
            CDayPrefetch::Day loaded = days.Take(i, painting);
            if (loaded.outOfMemory) {
                // Leaving the day out would give a file that looks whole.
                loadFailed = true;
                result.notes << u"Not enough memory to load the log %1."_s.arg(plan[i].path);
                break;
            }
            if (!loaded.store) {
                const QString name = plan[i].path.mid(plan[i].path.lastIndexOf(u'\\') + 1);
                result.notes << u"%1 was removed during the export and is not in it."_s.arg(name);
            } else {
                if (plan[i].day.isValid())
                    NavigateTo(plan[i].day.year(), plan[i].day.month(), plan[i].day.day());
                else
                    m_currentLogFile = plan[i].path;
                ++result.logs;
                result.events += qint64(loaded.store->Count());
                std::string lines = std::move(loaded.output);
                write(lines);
                lines.clear();
                {
                    std::lock_guard lock(buffersMutex);
                    buffers.push_back(std::move(lines));
                }
                if (writeFailed)
                    break;
            }
            if (progress && !progress(std::clamp(plan[i].percent, 0, 100))) {
                result.cancelled = true;
                break;
            }
        }
        SetStatus(u"Ready"_s);
        m_waitProgressDraw->Set();
    }
    NavigateTo(year, month, day);
    LoadLogRecords(0);

    if (result.cancelled) {
        file.cancelWriting();
        return result;
    }
    if (loadFailed) {
        file.cancelWriting();
        return fail(u"The export to %1 stopped: %2"_s.arg(settings.fileName, result.notes.last()));
    }
    if (writeFailed) {
        const QString why = file.errorString();
        file.cancelWriting();
        return fail(u"Error writing %1: %2"_s.arg(settings.fileName, why));
    }
    if (!file.commit())
        return fail(u"Error writing %1: %2"_s.arg(settings.fileName, file.errorString()));
    result.written = true;
    return result;
}
