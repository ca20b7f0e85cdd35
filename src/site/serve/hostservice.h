#pragma once
// The Callwarden service of one host: its settings from the host's registry,
// the sessions it holds, the requests of its pipe, and the live work it does
// every second (traffic on the ports, limits, sessions the console ended).
//
// Pipe requests, one reply each ("0,..." accepted, "1,..." not):
//   UPDATE_UPDATE                          settings reread; reply "0"
//   0,<port>,<DOMAIN\account>,<computer>,0,0,0     a caller dials in
//   1,<port>,<DOMAIN\account>,<computer>,<time>,0,0  that caller hangs up
// A hang-up ends the port's session only when the account is the session's.

#include "site/gen/logformat.h"
#include "site/gen/profiles.h"
#include "site/serve/servecontext.h"
#include "site/serve/servicenotices.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QString>

#include <filesystem>
#include <optional>

class CHostService {
public:
    struct Settings {
        bool master = false;
        QString masterShare;
        qint64 idleTimer = 0; // minutes
        bool staticIp = false;
        bool logToEventLog = false;
    };
    // How a caller's session goes on by itself.
    struct Plan {
        qint64 length = 0;    // hangs up after this long (0: until hung up or ended by a limit)
        qint64 idleAfter = 0; // falls silent after this long (0: never)
        bool simulated = false;
    };

    CHostService(CServeContext& context, OCL::Site::HostInfo host, int number);

    QString Name() const { return QString::fromStdString(m_host.name); }
    const OCL::Site::HostInfo& Host() const { return m_host; }
    bool Running() const { return m_running; }
    int Sessions() const { return int(m_held.size()); }

    // The service has started: settings read, connected ports taken over.
    void Start(qint64 now);
    void Stop();

    // One pipe request, one reply.
    QByteArray Handle(const QByteArray& request, qint64 now);
    // The work of one timer tick, seconds since the last one.
    void Tick(qint64 now, double seconds);
    // A caller dials in; the reply as the pipe gives it.
    QString Connect(const QString& port, const QString& account, const QString& computer, qint64 now,
                    const Plan& plan);
    // A simulated caller dials in on an idle port. False when no port is free.
    bool Simulate(qint64 now);
    // The primary server's once-a-day work (servicenotices.h).
    void Daily(qint64 now);

private:
    struct Held {
        QString port, domain, user, computer, ipx;
        qint64 start = 0;
        quint32 ip = 0;
        qint64 plannedEnd = 0; // 0: until hung up or ended by a limit
        qint64 idleFrom = 0;   // when it falls silent (0: never)
        qint64 lastActivity = 0;
        double rateOut = 0, rateIn = 0;
        qint64 bytesOut = 0, bytesIn = 0;
    };
    struct Ended {
        Held held;
        qint64 time = 0;
        int reason = CwRules::Hangup;
        bool shortForm = false; // "H<lasted>_<account>?<ip>" without the details
    };
    // What the account files say of a caller.
    struct Caller {
        std::optional<CAccount> account;    // its section, if it has one
        std::optional<CUserProfile> own;    // its own profile, or the one "Default" would give it
        bool fromDefault = false;           // own is made from "Default" and not written yet
        std::optional<CUserProfile> limits; // what governs it: own and group profiles, if any
    };

    void ReadSettings();
    void WriteStatus();
    std::optional<std::filesystem::path> DataRoot();
    Caller Identify(const OCL::Ini::Document& usr, const OCL::Ini::Document* hw, const QString& domain,
                    const QString& user);
    QString Deny(const std::filesystem::path& root, const QString& port, const QString& account,
                 const QString& source, qint64 now, int reason);
    QString Hangup(const QString& port, const QString& account, qint64 now, qint64 time);
    bool Log(const std::filesystem::path& root, const QString& port, qint64 time,
             const CwDayLog::Event& event, qint64* key = nullptr);
    void Finish(const Ended& ended);
    bool ConnectedAnywhere(const QString& domain, const QString& user);
    // The domain controller's RAS permission of the account, when it keeps one:
    // refused without the dial-in bit (RAS hangs up before the service is told),
    // else the call-back number the caller is called back at ("" for none).
    struct RasPermission {
        bool refused = false;
        QString callback;
    };
    RasPermission RasPermissionOf(const QString& domain, const QString& user);
    quint32 Address(int portIndex, const CUserProfile& limits, const CPortProfile& portProfile);
    Held NewHeld(const OCL::Site::PortRecord& port, qint64 now);
    // The warnings due before the service ends the session by a limit.
    void WarnBeforeEnd(const OCL::Ini::Document& hw, const OCL::Ini::Document& usr, const Held& held,
                       qint64 now);
    static QString SessionKey(const Held& held);

    CServeContext& m_context;
    OCL::Site::HostInfo m_host;
    int m_number;
    bool m_running = false;
    Settings m_settings;
    int m_rereads = 0;
    QString m_lastStatus;
    QMap<QString, Held> m_held;         // by upper-cased port name
    QHash<QString, qint64> m_lockedOut; // upper-cased account -> end of its idle lock-out
    int m_ipCounter = 0;
    CServiceNotices m_notices;
};
