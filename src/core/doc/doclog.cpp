// The document's share of the session history: the day logs' names, the
// reload test and the load itself.
#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"
#include "core/log/dayreader.h"
#include "core/log/logtexts.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QFileInfo>
#include <QLocale>
#include <QThread>

#include <chrono>
#include <new>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

QString DayFileName(const QString& share, QDate day) {
    // The file names use the English month abbreviations whatever the user's locale.
    const QString date = QLocale(QLocale::English, QLocale::UnitedStates).toString(day, u"yyyy-MMM-dd"_s);
    return share + u"\\LogData\\"_s + date + u".log"_s;
}

// What the status bar shows while sections are read: the first at once, then
// at most a few a second, so a file of many small sections does not flood it.
class CSectionStatus {
public:
    bool Due() {
        const auto now = std::chrono::steady_clock::now();
        if (m_shown && now - m_last < std::chrono::milliseconds(50))
            return false;
        m_shown = true;
        m_last = now;
        return true;
    }

private:
    bool m_shown = false;
    std::chrono::steady_clock::time_point m_last;
};

QString ProcessingText(std::string_view section) {
    return u"Processing logs from %1, please wait..."_s.arg(CAnsi::ToQString(section));
}

} // namespace

std::shared_ptr<const CLogStore> CCwadminDoc::EmptyLog() {
    static const std::shared_ptr<const CLogStore> empty = [] {
        auto store = std::make_shared<CLogStore>();
        store->Finish();
        return store;
    }();
    return empty;
}

CLogCellFormat CCwadminDoc::LogCellFormat() const {
    return {[this](qint64 time) { return TimeToLocalString(time, false, 0); }, m_showSeconds != 0};
}

QString CCwadminDoc::CreateCurrentFileName() {
    QDate day(m_year, m_month, m_day);
    if (!day.isValid())
        day = QDateTime::fromSecsSinceEpoch(m_env.Clock().Now()).date();
    m_currentLogFile = DayFileName(m_servers->MasterShare(), day);
    return m_currentLogFile;
}

QString CCwadminDoc::CreateLogFileName(qint64 time) const {
    return DayFileName(m_servers->MasterShare(), QDateTime::fromSecsSinceEpoch(time).date());
}

qint64 CCwadminDoc::GetDataOfFile(const QString& path) const {
    std::filesystem::path local;
    if (m_env.Shares().Resolve(CAnsi::FromQString(path), &local) != OCL::Err::Success)
        return 0;
    const QFileInfo info(QString::fromStdString(local.string()));
    return info.exists() ? info.lastModified().toSecsSinceEpoch() : 0;
}

qint64 CCwadminDoc::GetSizeOfFile(const QString& path) const {
    std::filesystem::path local;
    if (m_env.Shares().Resolve(CAnsi::FromQString(path), &local) != OCL::Err::Success)
        return 0;
    const QFileInfo info(QString::fromStdString(local.string()));
    return info.exists() ? info.size() : 0;
}

bool CCwadminDoc::LoadLogRecords(int keepPath) {
    // A timer or a hint arriving while the worker runs must not start another load.
    if (m_logLoading)
        return false;
    const CLogLoading loading(*this);
    if (keepPath == 0)
        CreateCurrentFileName();
    const QString path = m_currentLogFile;
    const qint64 time = GetDataOfFile(path);
    const qint64 size = GetSizeOfFile(path);
    if (path == m_loadedLogFile && time == m_loadedLogTime && size == m_loadedLogSize) {
        SetStatus(u"Ready"_s);
        m_waitProgressDraw->Set();
        return true;
    }
    const TimeShifts shifts = LogTimeShifts();
    const std::filesystem::path local = LocalLogFile(path);
    const bool keepPainting = QCoreApplication::instance() && QThread::currentThread() == thread();
    CSectionStatus status;
    CDayPrefetch::Day loaded;
    if (keepPainting) {
        QEventLoop loop;
        std::thread worker([&] {
            loaded = ReadLogDay(local, {size, time}, shifts, [&](std::string_view section) {
                if (status.Due())
                    QMetaObject::invokeMethod(
                        this, [this, text = ProcessingText(section)] { SetStatus(text); },
                        Qt::QueuedConnection);
            });
            QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
        });
        loop.exec(QEventLoop::ExcludeUserInputEvents);
        worker.join();
    } else {
        loaded = ReadLogDay(local, {size, time}, shifts, [&](std::string_view section) {
            if (status.Due())
                SetStatus(ProcessingText(section));
        });
    }
    AdoptLog(path, std::move(loaded));

    SetStatus(u"Ready"_s);
    m_waitProgressDraw->Set();
    return true;
}

CCwadminDoc::TimeShifts CCwadminDoc::LogTimeShifts() const {
    // Events move by the difference between the console's bias and their
    // server's (this sign is the service's convention).
    TimeShifts shifts;
    for (std::size_t i = 0; i < m_servers->GetCount(); ++i) {
        const CServer& server = (*m_servers)[i];
        long bias;
        {
            auto lock = server.Lock();
            bias = server.m_timeBias;
        }
        if (bias != m_consoleTimeBias)
            shifts.emplace_back(server.Name(), std::int64_t(m_consoleTimeBias - bias) * 60);
    }
    return shifts;
}

std::filesystem::path CCwadminDoc::LocalLogFile(const QString& path) const {
    std::filesystem::path local;
    if (m_env.Shares().Resolve(CAnsi::FromQString(path), &local) != OCL::Err::Success)
        local.clear();
    return local;
}

CDayPrefetch::Day CCwadminDoc::ReadLogDay(const std::filesystem::path& local, CDayReader::Stamp stamp,
                                          const TimeShifts& shifts, const CDayReader::SectionSeen& seen,
                                          bool finish) {
    CDayPrefetch::Day day;
    day.stamp = stamp;
    std::string bytes;
    try {
        // A missing or unreadable file is a day without events.
        if (!local.empty() && CDayReader::ReadFile(local, &bytes, &day.stamp))
            day.store = CDayReader::Parse(std::move(bytes), seen, finish);
    } catch (const std::bad_alloc&) {
        day.outOfMemory = true;
    }
    if (!day.store) {
        day.store = std::make_shared<CLogStore>();
        day.store->Finish();
    }
    for (const auto& [server, seconds] : shifts)
        day.store->ShiftTimes(server, seconds);
    return day;
}

void CCwadminDoc::AdoptLog(const QString& path, CDayPrefetch::Day day) {
    m_logRecords = std::move(day.store);
    m_loadedLogFile = path;
    m_loadedLogTime = day.stamp.modified;
    m_loadedLogSize = day.stamp.size;
    if (day.outOfMemory) {
        // Not remembered as loaded, so the next load tries again.
        m_loadedLogFile.clear();
        m_env.Prompter().Message(u"Not enough memory to load the log %1."_s.arg(path), {},
                                 OCL::IPrompter::Icon::Error, OCL::IPrompter::Buttons::Ok);
    }
}
