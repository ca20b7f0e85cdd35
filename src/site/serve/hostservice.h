#pragma once
// The Callwarden service of one host: its settings from the host's registry,
// the sessions it holds, the requests of its pipe, and the live work it does
// every second (traffic on the ports, limits, sessions the console ended).

#include "site/gen/profiles.h"
#include "site/serve/servecontext.h"

#include <QByteArray>
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
    // A simulated caller dials in on an idle port. False when no port is free.
    bool Simulate(qint64 now);

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
    struct Plan {
        qint64 length = 0;
        qint64 idleAfter = 0;
        bool simulated = false;
    };
    struct Ended {
        Held held;
        qint64 time = 0;
        int reason = 255;
        bool shortForm = false; // "H<lasted>_<account>?<ip>" without the details
    };

    void ReadSettings();
    void WriteStatus();
    std::optional<std::filesystem::path> DataRoot();
    QString Connect(const QString& port, const QString& account, const QString& computer, qint64 now,
                    const Plan& plan);
    QString Hangup(const QString& port, qint64 now, qint64 time);
    void Log(const std::filesystem::path& root, const QString& port, qint64 time, const QString& value,
             qint64* key = nullptr);
    void Finish(const Ended& ended);
    bool ConnectedAnywhere(const QString& domain, const QString& user);
    quint32 Address(int portIndex, const CAccount& account, const CPortProfile& portProfile);
    Held NewHeld(const OCL::Site::PortRecord& port, qint64 now);

    CServeContext& m_context;
    OCL::Site::HostInfo m_host;
    int m_number;
    bool m_running = false;
    Settings m_settings;
    int m_rereads = 0;
    QString m_lastStatus;
    QMap<QString, Held> m_held; // by upper-cased port name
    int m_ipCounter = 0;
};
