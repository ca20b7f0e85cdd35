#include "site/serve/pipelistener.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

QByteArray Frame(const QByteArray& bytes) {
    QByteArray frame(4, '\0');
    const auto length = quint32(bytes.size());
    for (int i = 0; i < 4; ++i)
        frame[i] = char((length >> (8 * i)) & 0xFF);
    return frame + bytes;
}

struct Connection {
    QByteArray buffer;
    bool answered = false;
};

} // namespace

CPipeListener::CPipeListener(QString socketPath, Handler handler)
    : m_path(std::move(socketPath)), m_handler(std::move(handler)) {}

CPipeListener::~CPipeListener() {
    Close();
}

bool CPipeListener::Listening() const {
    return m_server && m_server->isListening();
}

bool CPipeListener::Listen(QString* error) {
    if (Listening())
        return true;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QLocalServer::removeServer(m_path);
    m_server = std::make_unique<QLocalServer>();
    QObject::connect(m_server.get(), &QLocalServer::newConnection, m_server.get(), [this] { Accept(); });
    if (!m_server->listen(m_path)) {
        if (error)
            *error = u"cannot listen on %1: %2"_s.arg(m_path, m_server->errorString());
        m_server.reset();
        return false;
    }
    return true;
}

void CPipeListener::Close() {
    if (!m_server)
        return;
    m_server->close();
    m_server.reset(); // the open connections go with it
    QFile::remove(m_path);
}

void CPipeListener::Accept() {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        auto connection = std::make_shared<Connection>();
        auto* deadline = new QTimer(socket);
        deadline->setSingleShot(true);
        QObject::connect(deadline, &QTimer::timeout, socket, [socket] { socket->abort(); });
        deadline->start(kRequestTimeoutMs);
        QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        auto read = [this, socket, connection] {
            if (connection->answered) {
                socket->readAll();
                return;
            }
            connection->buffer += socket->readAll();
            if (connection->buffer.size() < 4)
                return;
            quint32 length = 0;
            for (int i = 3; i >= 0; --i)
                length = length << 8 | quint8(connection->buffer[i]);
            if (length > kMaxRequest) {
                socket->abort();
                return;
            }
            if (quint32(connection->buffer.size()) < 4 + length)
                return;
            connection->answered = true;
            socket->write(Frame(m_handler(connection->buffer.mid(4, qsizetype(length)))));
            socket->disconnectFromServer(); // after the reply has gone out
        };
        QObject::connect(socket, &QLocalSocket::readyRead, socket, read);
        if (socket->bytesAvailable() > 0)
            read();
        if (socket->state() == QLocalSocket::UnconnectedState)
            socket->deleteLater();
    }
}
