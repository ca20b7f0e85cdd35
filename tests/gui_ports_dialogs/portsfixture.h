#pragma once
// What the port page and pipe dialog tests share: a small network whose master
// PDC1 holds callward.hw, a service pipe peer on a thread of its own (the
// dialogs call the pipe synchronously on the GUI thread), a recorder between
// the console and the site's pipe, and widget helpers.

#include "platform/platform.h"
#include "platform/site/sitedirectory.h"
#include "support/testconsole.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <QTimer>
#include <QTreeWidget>
#include <QtEndian>
#include <QtTest>

#include <functional>
#include <memory>

inline const QString kMaster = QStringLiteral("PDC1");
inline const QString kMember = QStringLiteral("RAS2");

// The network: PDC1 (classic RAS, 2 ports, master) controls SALES, RAS2
// (Routing and RAS, 3 ports) controls MARKETING; LAB has no controller; a
// domain of another network provider must not be offered.
inline void WriteNetwork(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, kMaster, QStringLiteral("RAS"), QStringLiteral("4.0"), 2, true);
    CTestConsole::AddServer(writer, kMember, QStringLiteral("RRAS"), QStringLiteral("5.0"), 3, false,
                            kMaster);
    writer.AddDomain(QStringLiteral("SALES"), kMaster);
    writer.AddGroup(QStringLiteral("SALES"), QStringLiteral("Sales"), {QStringLiteral("bob")});
    writer.AddGroup(QStringLiteral("SALES"), QStringLiteral("Remote Users"), {QStringLiteral("bob")});
    writer.AddUser(QStringLiteral("SALES"), QStringLiteral("bob"));
    writer.AddDomain(QStringLiteral("MARKETING"), kMember);
    writer.AddGroup(QStringLiteral("MARKETING"), QStringLiteral("Field Staff"), {});
    writer.AddUser(QStringLiteral("MARKETING"), QStringLiteral("ann"));
    writer.AddDomain(QStringLiteral("LAB"), QString());
    writer.AddDomain(QStringLiteral("OTHERNET"), QString(), QStringLiteral("Other Network"));
}

// Keeps every pipe transaction while passing it on to the site.
class CRecordingPipe final : public OCL::IServicePipe {
public:
    explicit CRecordingPipe(std::unique_ptr<OCL::IServicePipe> inner) : m_inner(std::move(inner)) {}
    OCL::DWORD Call(const std::string& pipeName, const void* request, OCL::DWORD requestSize, void* reply,
                    OCL::DWORD replySize, OCL::DWORD* bytesRead, OCL::DWORD timeoutMs) override {
        pipes.append(QString::fromStdString(pipeName));
        requests.append(QByteArray(static_cast<const char*>(request), qsizetype(requestSize)));
        return m_inner->Call(pipeName, request, requestSize, reply, replySize, bytesRead, timeoutMs);
    }
    QStringList pipes;
    QList<QByteArray> requests;

private:
    std::unique_ptr<OCL::IServicePipe> m_inner;
};

inline CRecordingPipe& RecordPipe(CTestConsole& console) {
    auto recorder = std::make_unique<CRecordingPipe>(std::move(console.Platform().pipe));
    CRecordingPipe& ref = *recorder;
    console.Platform().pipe = std::move(recorder);
    return ref;
}

inline QString SocketOf(CTestConsole& console, const QString& host) {
    const OCL::Site::SiteDirectory site(console.Root().toStdString());
    return QString::fromStdString(site.PipeSocket(host.toStdString(), "cwsvcpipe").string());
}

// A service pipe peer speaking the site's framing (a little-endian length, then
// the bytes) on a thread of its own, answering every request with the reply set.
class CPipePeer : public QThread {
public:
    CPipePeer(const QString& socketPath, const QByteArray& reply) : m_path(socketPath), m_reply(reply) {}
    ~CPipePeer() override {
        quit();
        wait();
    }
    bool Listen() {
        start();
        m_ready.acquire();
        return m_listening;
    }
    void SetReply(const QByteArray& reply) {
        QMutexLocker lock(&m_mutex);
        m_reply = reply;
    }
    QList<QByteArray> Requests() const {
        QMutexLocker lock(&m_mutex);
        return m_requests;
    }
    // Runs on the peer's thread before each answer.
    void OnRequest(std::function<void()> action) {
        QMutexLocker lock(&m_mutex);
        m_onRequest = std::move(action);
    }

protected:
    void run() override {
        QLocalServer server;
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        QLocalServer::removeServer(m_path);
        m_listening = server.listen(m_path);
        m_ready.release();
        if (!m_listening)
            return;
        QObject::connect(&server, &QLocalServer::newConnection, &server, [this, &server] {
            while (QLocalSocket* socket = server.nextPendingConnection()) {
                auto buffer = std::make_shared<QByteArray>();
                QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
                QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket, buffer] {
                    *buffer += socket->readAll();
                    if (buffer->size() < 4)
                        return;
                    const quint32 length = qFromLittleEndian<quint32>(buffer->constData());
                    if (quint32(buffer->size()) < 4 + length)
                        return;
                    QByteArray reply;
                    std::function<void()> action;
                    {
                        QMutexLocker lock(&m_mutex);
                        m_requests.append(buffer->mid(4, qsizetype(length)));
                        reply = m_reply;
                        action = m_onRequest;
                    }
                    buffer->clear();
                    if (action)
                        action();
                    QByteArray header(4, '\0');
                    qToLittleEndian<quint32>(quint32(reply.size()), header.data());
                    socket->write(header + reply);
                    socket->flush();
                    socket->disconnectFromServer();
                });
            }
        });
        exec();
    }

private:
    QString m_path;
    mutable QMutex m_mutex;
    QByteArray m_reply;
    QList<QByteArray> m_requests;
    std::function<void()> m_onRequest;
    QSemaphore m_ready;
    bool m_listening = false;
};

// The lines of the site's spool file (messages.log, shell.log).
inline QStringList SpoolLines(CTestConsole& console, const QString& file) {
    QFile log(QDir(console.Root()).filePath(QStringLiteral("spool/") + file));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromLatin1(log.readAll()).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

template <typename T>
T* Child(QObject* parent, const QString& name) {
    T* child = parent->findChild<T*>(name);
    if (!child)
        qWarning("no %s", qPrintable(name));
    return child;
}

// Check boxes are clicked on their indicator, which a stretched box's middle misses.
inline void Click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

inline void Retype(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

inline void ClickItem(QTreeWidget* tree, QTreeWidgetItem* item, Qt::KeyboardModifiers modifiers = {}) {
    tree->scrollToItem(item);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, modifiers, tree->visualItemRect(item).center());
}

inline QTreeWidgetItem* FindItem(QTreeWidget* tree, const QString& text) {
    const QList<QTreeWidgetItem*> found = tree->findItems(text, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? nullptr : found.first();
}

// Runs action on the modal dialog that the next step opens; any other modal
// dialog is rejected so that the test cannot hang.
template <typename Dialog, typename Action>
void WhenModal(QObject* context, Action action) {
    QTimer::singleShot(0, context, [action] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<Dialog*>(modal))
            action(dialog);
        else if (auto* other = qobject_cast<QDialog*>(modal))
            other->reject();
    });
}
