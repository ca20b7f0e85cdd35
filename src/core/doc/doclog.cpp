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
    m_logLoading = true;
    struct Done {
        bool& flag;
        ~Done() { flag = false; }
    } done{m_logLoading};

    CWaitCursor wait(m_frame);
    SetStatus(u"Loading Log Records..."_s);
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
    m_loadedLogFile = path;
    m_loadedLogTime = time;
    m_loadedLogSize = size;

    // Events move by the difference between the console's bias and their
    // server's (this sign is the service's convention).
    std::vector<std::pair<QString, std::int64_t>> shifts;
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
    std::filesystem::path local;
    const bool reachable = m_env.Shares().Resolve(CAnsi::FromQString(path), &local) == OCL::Err::Success;

    const bool keepPainting = QCoreApplication::instance() && QThread::currentThread() == thread();
    CSectionStatus status;
    std::shared_ptr<CLogStore> loaded;
    CDayReader::Stamp stamp{size, time};
    bool outOfMemory = false;
    auto work = [&](const CDayReader::SectionSeen& seen) {
        std::string bytes;
        try {
            // A missing or unreadable file is a day without events.
            if (reachable && CDayReader::ReadFile(local, &bytes, &stamp))
                loaded = CDayReader::Parse(std::move(bytes), seen);
        } catch (const std::bad_alloc&) {
            outOfMemory = true;
        }
        if (!loaded) {
            loaded = std::make_shared<CLogStore>();
            loaded->Finish();
        }
        for (const auto& [server, seconds] : shifts)
            loaded->ShiftTimes(server, seconds);
    };
    if (keepPainting) {
        QEventLoop loop;
        std::thread worker([&] {
            work([&](std::string_view section) {
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
        work([&](std::string_view section) {
            if (status.Due())
                SetStatus(ProcessingText(section));
        });
    }
    m_logRecords = std::move(loaded);
    m_loadedLogTime = stamp.modified;
    m_loadedLogSize = stamp.size;
    if (outOfMemory) {
        // Not remembered as loaded, so the next load tries again.
        m_loadedLogFile.clear();
        m_env.Prompter().Message(u"Not enough memory to load the log %1."_s.arg(path), {},
                                 OCL::IPrompter::Icon::Error, OCL::IPrompter::Buttons::Ok);
    }

    SetStatus(u"Ready"_s);
    m_waitProgressDraw->Set();
    return true;
}
