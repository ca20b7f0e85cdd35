// The document's share of the figures of the session history: the shown day's
// statistics and usage intervals, the export of many days, the calendar's
// marks.
#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"
#include "core/ui/listfile.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>

#include <algorithm>

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

    const int year = m_year, month = m_month, day = m_day;
    CSessionExportWriter writer(
        [this](qint64 time, bool withDate) { return TimeToLocalString(time, withDate, 0); },
        m_showSeconds != 0);
    std::string bytes = CSessionExportWriter::Header();
    bool writeFailed = false;
    const auto flush = [&] {
        if (!writeFailed && file.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size()))
            writeFailed = true;
        bytes.clear();
    };
    // A loaded day is written while the next one is being parsed: the loader
    // keeps this thread serving posted work meanwhile. Without an event loop
    // it is written when the next load returns.
    std::shared_ptr<const CLogStore> unwritten;
    const auto writeUnwritten = [&] {
        if (!unwritten)
            return;
        const auto store = std::move(unwritten);
        unwritten.reset();
        writer.Append(*store, &bytes);
        if (bytes.size() >= (1u << 20))
            flush();
    };
    QObject writing;
    // Takes the loaded day; false when the export must stop.
    bool loadFailed = false;
    const auto exportLoaded = [&](bool loaded, int percent) {
        writeUnwritten();
        if (!loaded) {
            loadFailed = true;
            return false;
        }
        if (writeFailed)
            return false;
        ++result.logs;
        result.events += qint64(m_logRecords->Count());
        unwritten = m_logRecords;
        QMetaObject::invokeMethod(&writing, writeUnwritten, Qt::QueuedConnection);
        if (progress && !progress(std::clamp(percent, 0, 100))) {
            result.cancelled = true;
            return false;
        }
        return true;
    };

    if (settings.mode == SessionExportMode::All) {
        const QString folder = m_servers->MasterShare() + u"\\LogData"_s;
        std::filesystem::path local;
        QStringList names;
        if (m_env.Shares().Resolve(CAnsi::FromQString(folder), &local) == OCL::Err::Success)
            names = InDateOrder(QDir(QString::fromStdString(local.string()))
                                    .entryList({u"*.log"_s}, QDir::Files | QDir::Hidden | QDir::System));
        const QString localFolder = QString::fromStdString(local.string());
        for (qsizetype i = 0; i < names.size(); ++i) {
            const int percent = int((i + 1) * 100 / names.size());
            if (!QFileInfo::exists(localFolder + u'/' + names[i])) {
                result.notes << u"%1 was removed during the export and is not in it."_s.arg(names[i]);
                if (progress && !progress(percent)) {
                    result.cancelled = true;
                    break;
                }
                continue;
            }
            m_currentLogFile = folder + u'\\' + names[i];
            if (!exportLoaded(LoadLogRecords(1), percent))
                break;
        }
    } else if (settings.mode == SessionExportMode::LastDays) {
        NavigateTo(0, 0, 0);
        for (int done = 1; exportLoaded(LoadLogRecords(0), int(qint64(done) * 100 / settings.days)); ++done) {
            if (done == settings.days)
                break;
            Navigate(1);
        }
    } else {
        // Stops on reaching To, which is therefore left out unless it is From.
        const QDate to = settings.to;
        NavigateTo(settings.from.year(), settings.from.month(), settings.from.day());
        for (int done = 1; exportLoaded(LoadLogRecords(0), done); ++done) {
            Navigate(2);
            if (m_year == to.year() && m_month == to.month() && m_day >= to.day())
                break;
        }
    }
    if (!result.cancelled)
        writeUnwritten();
    unwritten.reset();
    flush();

    NavigateTo(year, month, day);
    LoadLogRecords(0);

    if (result.cancelled) {
        file.cancelWriting();
        return result;
    }
    if (loadFailed) {
        file.cancelWriting();
        return fail(u"The export to %1 stopped: a log could not be loaded."_s.arg(settings.fileName));
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
