#include "core/pipe/servicepipeclient.h"

#include "core/app/ansitext.h"

using namespace OCL;

QString CServicePipeClient::PipeName(const QString& server, const QString& consoleComputer) {
    if (server == consoleComputer)
        return QStringLiteral("\\\\.\\pipe\\cwsvcpipe");
    return RemotePipeName(server);
}

QString CServicePipeClient::RemotePipeName(const QString& server) {
    return QStringLiteral("\\\\%1\\pipe\\cwsvcpipe").arg(server);
}

void CServicePipeClient::SendUpdateNotice(const QString& server) {
    Request(RemotePipeName(server), QByteArrayLiteral("UPDATE_UPDATE"), kUpdateReplySize);
}

CServicePipeClient::Result CServicePipeClient::Request(const QString& pipeName, const QByteArray& request,
                                                       DWORD replySize) {
    Result result;
    QByteArray buffer(qsizetype(replySize), '\0');
    DWORD read = 0;
    const DWORD before = m_env.Clock().TickCount();
    result.error = m_env.Pipe().Call(CAnsi::FromQString(pipeName), request.constData(), DWORD(request.size()),
                                     buffer.data(), replySize, &read, kTimeoutMs);
    result.elapsedMs = m_env.Clock().TickCount() - before;
    if (result.error == Err::Success)
        result.reply = buffer.left(qsizetype(read));
    return result;
}

QByteArray CServicePipeClient::ConnectRequest(const QString& port, const QString& account,
                                              const QString& consoleComputer) {
    return QByteArray::fromStdString(
        CAnsi::FromQString(QStringLiteral("0,%1,%2,%3,0,0,0").arg(port, account, consoleComputer)));
}

QByteArray CServicePipeClient::HangUpRequest(const QString& port, const QString& account,
                                             const QString& consoleComputer, qint64 now) {
    const QString text = u"1," + port + u',' + account + u',' + consoleComputer + u',' +
                         QString::number(qint32(now)) + u",0,0";
    return QByteArray::fromStdString(CAnsi::FromQString(text));
}

CServicePipeClient::Outcome CServicePipeClient::ConnectOutcome(const QByteArray& reply) {
    if (reply.size() <= 1)
        return Outcome::Unchanged;
    return reply.at(0) == '0' ? Outcome::Accepted : Outcome::NotAccepted;
}

QString CServicePipeClient::FailureText(const QString& server, DWORD error) {
    QString text =
        QStringLiteral("Failed to send the request to server %1. Windows NT returned error code %2.")
            .arg(server)
            .arg(error);
    if (error == Err::FileNotFound)
        text += QStringLiteral("\n\nIs the Callwarden Service running on this server?");
    else if (error == Err::AccessDenied)
        text += QStringLiteral("\n\nYou do not have access rights to that server.");
    return text;
}
