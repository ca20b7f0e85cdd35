#pragma once
// One service pipe: a local socket that takes one request per connection (a
// 4-byte little-endian length, then the bytes), answers it the same way and
// closes. A connection that sends an impossible length or does not finish its
// request in time is dropped.

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

class QLocalServer;

class CPipeListener {
public:
    using Handler = std::function<QByteArray(const QByteArray& request)>;

    static constexpr quint32 kMaxRequest = 64 * 1024;
    static constexpr int kRequestTimeoutMs = 5000;

    CPipeListener(QString socketPath, Handler handler);
    ~CPipeListener();
    CPipeListener(const CPipeListener&) = delete;
    CPipeListener& operator=(const CPipeListener&) = delete;

    const QString& SocketPath() const { return m_path; }
    bool Listening() const;
    // Replaces a stale socket file; false with a reason when it cannot listen.
    bool Listen(QString* error);
    // Stops listening and removes the socket file.
    void Close();

private:
    void Accept();

    QString m_path;
    Handler m_handler;
    std::unique_ptr<QLocalServer> m_server;
};
