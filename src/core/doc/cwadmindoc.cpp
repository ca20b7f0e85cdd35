#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"
#include "core/doc/timetext.h"
#include "core/ocl/trace.h"
#include "core/pipe/servicepipeclient.h"

#include <QDateTime>
#include <QDir>
#include <QLocale>
#include <QThread>

#include <algorithm>
#include <cctype>

using namespace OCL;

CCwadminDoc::CCwadminDoc(const CEnvironment& environment, CRasBinding& rasBinding, QObject* parent)
    : QObject(parent), m_env(environment), m_registry(environment), m_rras(environment.Modules()),
      m_rasFunc(std::make_unique<CRASFunc>(environment, rasBinding)),
      m_servers(std::make_unique<CServerList>(CFetchContext{environment, m_registry, m_rras})),
      m_pipe(std::make_unique<CServicePipeClient>(environment)),
      m_waitProgressDraw(std::make_unique<ManualResetEvent>("WaitProgressDraw")) {}

CCwadminDoc::~CCwadminDoc() {
    // Fetchers still reading are asked to stop; the list waits for them.
    m_servers.reset();
}

void CCwadminDoc::AddView(IView* view) {
    if (std::find(m_views.begin(), m_views.end(), view) == m_views.end())
        m_views.push_back(view);
}

void CCwadminDoc::RemoveView(IView* view) {
    std::erase(m_views, view);
}

void CCwadminDoc::UpdateAllViews(IView* sender, int hint, const CHintObject* hintObject) {
    // A view may replace itself or others while being told; walk a copy and skip
    // views that went away meanwhile.
    const std::vector<IView*> views = m_views;
    for (IView* view : views) {
        if (view == sender || std::find(m_views.begin(), m_views.end(), view) == m_views.end())
            continue;
        view->OnUpdate(sender, hint, hintObject);
    }
}

bool CCwadminDoc::OnNewDocument() {
    m_initialising = 0;
    m_waitProgressDraw = std::make_unique<ManualResetEvent>("WaitProgressDraw");
    m_languageLocale = 0;
    m_initialising = 1;

    QString installPath;
    if (ReadRegString({}, QStringLiteral("Client"), QStringLiteral("InstallPath"), &installPath) &&
        !installPath.isEmpty()) {
        std::filesystem::path local;
        if (m_env.Shares().Resolve(CAnsi::FromQString(installPath), &local) == Err::Success)
            QDir::setCurrent(QString::fromStdString(local.string()));
    }

    m_usersReloadPending = 1;
    m_viewMode = ViewMode::Status;
    m_year = m_month = m_day = 0;
    NavigateTo(0, 0, 0);

    DWORD value = 0;
    ReadRegDWORD({}, QStringLiteral("Client"), QStringLiteral("HistoryViewColumns"), &value);
    m_historyColumns = value == 0 ? 0xFFFFFFFF : value;
    value = 0;
    ReadRegDWORD({}, QStringLiteral("Client"), QStringLiteral("TimeFormatSeconds"), &value);
    m_showSeconds = value != 0 ? 1 : 0;
    value = 0;
    ReadRegDWORD({}, QStringLiteral("Client"), QStringLiteral("AutoSizeColumns"), &value);
    // Deliberately inverted: 1 switches auto-sizing off.
    m_autoSizeColumns = value == 1 ? 0 : 1;

    DWORD bias = 0;
    {
        RegKeyGuard key(m_env.Registry());
        DWORD size = sizeof bias;
        if (m_env.Registry().OpenKey(Hkey::LocalMachine,
                                     "System\\CurrentControlSet\\Control\\TimeZoneInformation",
                                     key.Out()) == Err::Success)
            m_env.Registry().QueryValue(key.Get(), "ActiveTimeBias", nullptr, reinterpret_cast<BYTE*>(&bias),
                                        &size);
    }
    m_consoleTimeBias = qint32(bias);

    updateAllServersData();
    return true;
}

void CCwadminDoc::SetStatus(const QString& text) {
    if (m_frame)
        m_frame->SetStatus(text);
}

QString CCwadminDoc::TimeToLocalString(qint64 time, bool withDate, int flags) const {
    const QDateTime local = QDateTime::fromSecsSinceEpoch(time);
    const QLocale locale = QLocale::system();
    const QString timeText = CTimeText::TimeOfDay(local.time(), locale, flags).left(50);
    if (!withDate)
        return timeText;
    const QString dateText = locale.toString(local.date(), QLocale::ShortFormat).left(50);
    return dateText + u' ' + timeText;
}

void CCwadminDoc::ReportNoMasterServer(const QString& text) {
    m_env.Prompter().Message(text + QStringLiteral("\nPlease wait for connection to master server"), {},
                             IPrompter::Icon::Error, IPrompter::Buttons::Ok);
}

void CCwadminDoc::GetLangLocaleOnMaster(const QString& master) {
    if (m_languageLocale != 0)
        return;
    m_languageLocale = 1033;
    IRegistry& reg = m_env.Registry();
    RegKeyGuard users(reg), key(reg);
    if (reg.Connect(CAnsi::FromQString(master), Hkey::Users, users.Out()) != Err::Success) {
        m_languageLocale = 1024;
    } else if (reg.OpenKey(users.Get(), ".default\\Control Panel\\International", key.Out()) !=
               Err::Success) {
        m_languageLocale = 1024;
    } else {
        char text[200] = {};
        DWORD size = sizeof text - 1;
        if (reg.QueryValue(key.Get(), "Locale", nullptr, reinterpret_cast<BYTE*>(text), &size) ==
            Err::Success) {
            // Read as "%x" reads it: leading hexadecimal digits.
            const std::string_view digits = CAnsi::FieldText(text, size);
            DWORD locale = 0;
            bool any = false;
            std::size_t i = 0;
            while (i < digits.size() && (digits[i] == ' ' || digits[i] == '\t'))
                ++i;
            for (; i < digits.size() && std::isxdigit(static_cast<unsigned char>(digits[i])); ++i, any = true)
                locale = locale * 16 +
                         DWORD(std::isdigit(static_cast<unsigned char>(digits[i]))
                                   ? digits[i] - '0'
                                   : (std::tolower(static_cast<unsigned char>(digits[i])) - 'a' + 10));
            if (any)
                m_languageLocale = locale;
        } else {
            m_languageLocale = 1033;
        }
    }
    OCL::Trace("Using Language Locale: %d\n", int(m_languageLocale));
}

void CCwadminDoc::Splash(bool show) {
    if (m_frame)
        m_frame->ShowSplash(show);
}

void CCwadminDoc::Trace(const QString& place, const QString& text, int number) {
    OCL::Trace("%s : %s : %d\n", place.toLocal8Bit().constData(), text.toLocal8Bit().constData(), number);
}

int CWaitBlock::Step(int paneWidth) {
    m_x += m_direction;
    if (m_direction > 0 && m_x >= paneWidth - 3)
        m_direction = -1;
    else if (m_direction < 0 && m_x <= -24)
        m_direction = 1;
    return m_x;
}

void CCwadminDoc::WaitProgress(const std::function<int()>& paneWidth, const std::function<void(int)>& draw,
                               const std::function<void()>& clear) {
    CWaitBlock block;
    ManualResetEvent& done = *m_waitProgressDraw;
    while (!done.Wait(std::chrono::milliseconds(20)))
        draw(block.Step(paneWidth()));
    clear();
}

void CCwadminDoc::NavigateTo(int year, int month, int day) {
    if (year == 0) {
        const QDate today = QDateTime::fromSecsSinceEpoch(m_env.Clock().Now()).date();
        year = today.year();
        month = today.month();
        day = today.day();
    }
    m_year = year;
    m_month = month;
    m_day = day;
    if (m_frame)
        m_frame->RefreshCaption();
}

void CCwadminDoc::Navigate(int direction) {
    if (direction != 1 && direction != 2) {
        NavigateTo(m_year, m_month, m_day);
        return;
    }
    const QDate next = Step(QDate(m_year, m_month, m_day), direction);
    NavigateTo(next.year(), next.month(), next.day());
}

QDate CCwadminDoc::Step(QDate day, int direction) {
    // Stepping from 05:05 keeps daylight-saving changes from skipping or
    // repeating a day.
    const QDateTime early(day, QTime(5, 5, 0));
    const qint64 step = direction == 1 ? -86400 : 86400;
    return QDateTime::fromSecsSinceEpoch(early.toSecsSinceEpoch() + step).date();
}
