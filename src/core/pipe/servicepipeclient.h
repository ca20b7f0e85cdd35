#pragma once
// Requests to the service's named pipe "cwsvcpipe": the settings-changed notice
// and the simulated connect and hang-up records, one transaction each.

#include "core/app/environment.h"

#include <QByteArray>
#include <QString>

using OCL::DWORD;

class CServicePipeClient {
public:
    static constexpr DWORD kTimeoutMs = 10000;
    static constexpr DWORD kUpdateReplySize = 200;
    static constexpr DWORD kSimulatorReplySize = 2000;

    explicit CServicePipeClient(const CEnvironment& environment) : m_env(environment) {}

    // "\\.\pipe\cwsvcpipe" only when server is exactly the console computer's
    // name (letter case included); "\\%s\pipe\cwsvcpipe" otherwise.
    static QString PipeName(const QString& server, const QString& consoleComputer);
    static QString RemotePipeName(const QString& server);

    // The 13-byte "UPDATE_UPDATE" to the server; every failure is ignored.
    void SendUpdateNotice(const QString& server);

    struct Result {
        DWORD error = 0;  // 0 on success
        QByteArray reply; // cut at the bytes read
        DWORD elapsedMs = 0;
    };
    // One transaction; the request goes without a terminating zero.
    Result Request(const QString& pipeName, const QByteArray& request, DWORD replySize);

    static QByteArray ConnectRequest(const QString& port, const QString& account,
                                     const QString& consoleComputer);
    static QByteArray HangUpRequest(const QString& port, const QString& account,
                                    const QString& consoleComputer, qint64 now);

    enum class Outcome { Unchanged, Accepted, NotAccepted };
    // A reply of two or more characters decides by its first; shorter ones leave
    // the outcome as it was.
    static Outcome ConnectOutcome(const QByteArray& reply);
    static QString FailureText(const QString& server, DWORD error);

private:
    const CEnvironment& m_env;
};
