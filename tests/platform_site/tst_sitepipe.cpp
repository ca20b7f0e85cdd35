// The service pipe client against a local-socket peer that follows the site's
// framing, answers oddly, or not at all.

#include "sitefixture.h"

#include "platform/site/sitedirectory.h"
#include "platform/site/sitepipe.h"

#include <QElapsedTimer>
#include <QHash>
#include <QLocalServer>
#include <QLocalSocket>
#include <QString>

#include <chrono>
#include <future>

using namespace OCL;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace PipeTest {

QByteArray Header(quint32 length) {
    QByteArray h(4, '\0');
    for (int i = 0; i < 4; ++i)
        h[i] = char((length >> (8 * i)) & 0xFF);
    return h;
}

// The service's end of the pipe, with the ways a peer can misbehave.
class Peer : public QObject {
    Q_OBJECT
public:
    enum Mode { Reply, Silent, ShortHeader, HugeLength, ClosedMidReply, ClosedAtOnce, HeaderThenSilent };
    Q_ENUM(Mode)

    Peer(Mode mode, QByteArray reply) : m_mode(mode), m_reply(std::move(reply)) {
        connect(&m_server, &QLocalServer::newConnection, this, &Peer::Accept);
    }
    bool Listen(const std::filesystem::path& path) {
        std::filesystem::create_directories(path.parent_path());
        const QString name = QString::fromStdString(path.string());
        QLocalServer::removeServer(name);
        return m_server.listen(name);
    }
    QByteArray received;

private:
    void Accept() {
        while (QLocalSocket* socket = m_server.nextPendingConnection()) {
            socket->setParent(this);
            switch (m_mode) {
            case ShortHeader:
                socket->write("\x05\x00", 2);
                socket->disconnectFromServer();
                break;
            case HugeLength:
                socket->write(Header((16u << 20) + 1));
                break;
            case ClosedMidReply:
                socket->write(Header(100) + QByteArray(10, 'x'));
                socket->disconnectFromServer();
                break;
            case ClosedAtOnce:
                socket->disconnectFromServer();
                break;
            case HeaderThenSilent:
                socket->write(Header(10));
                break;
            case Reply:
            case Silent:
                connect(socket, &QLocalSocket::readyRead, this, [this, socket] { Read(socket); });
                break;
            }
        }
    }
    void Read(QLocalSocket* socket) {
        QByteArray& buffer = m_buffers[socket];
        buffer += socket->readAll();
        if (buffer.size() < 4)
            return;
        const quint32 length = quint8(buffer[0]) | quint8(buffer[1]) << 8 | quint8(buffer[2]) << 16 |
                               quint32(quint8(buffer[3])) << 24;
        if (quint32(buffer.size()) < 4 + length)
            return;
        received = buffer.mid(4, int(length));
        if (m_mode == Reply) {
            socket->write(Header(quint32(m_reply.size())) + m_reply);
            socket->disconnectFromServer();
        }
    }

    Mode m_mode;
    QByteArray m_reply;
    QLocalServer m_server;
    QHash<QLocalSocket*, QByteArray> m_buffers;
};

struct Outcome {
    DWORD result = 0xDEAD;
    DWORD bytesRead = 0xDEAD;
    QByteArray reply;
    qint64 elapsedMs = 0;
};

// Calls on a thread of its own while this thread's event loop serves the peer.
Outcome CallAway(IServicePipe& pipe, const std::string& name, const QByteArray& request, DWORD replySize,
                 DWORD timeoutMs) {
    auto future = std::async(std::launch::async, [&pipe, name, request, replySize, timeoutMs] {
        Outcome o;
        QByteArray reply(int(replySize), '\xCC');
        QElapsedTimer timer;
        timer.start();
        o.result = pipe.Call(name, request.constData(), DWORD(request.size()), reply.data(), replySize,
                             &o.bytesRead, timeoutMs);
        o.elapsedMs = timer.elapsed();
        o.reply = reply;
        return o;
    });
    QElapsedTimer wait;
    wait.start();
    while (future.wait_for(0ms) != std::future_status::ready && wait.elapsed() < 30000)
        QTest::qWait(5);
    return future.get();
}

} // namespace PipeTest

using PipeTest::CallAway;
using PipeTest::Outcome;
using PipeTest::Peer;

class TestSitePipe : public QObject {
    Q_OBJECT

private slots:
    void transaction_data();
    void transaction();
    void addresses_data();
    void addresses();
    void failures_data();
    void failures();
};

void TestSitePipe::transaction_data() {
    QTest::addColumn<Peer::Mode>("mode");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("replySize");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("bytesRead");

    QTest::newRow("accepted") << Peer::Reply << QByteArray("0,Session Accepted") << 2000 << 0 << 18;
    QTest::newRow("empty reply") << Peer::Reply << QByteArray() << 200 << 0 << 0;
    QTest::newRow("reply fills the buffer") << Peer::Reply << QByteArray(100, 'r') << 100 << 0 << 100;
    QTest::newRow("reply cut") << Peer::Reply << QByteArray(100, 'r') << 10 << 234 << 10;
    QTest::newRow("large reply cut") << Peer::Reply << QByteArray(1 << 20, 'r') << 2000 << 234 << 2000;
    QTest::newRow("silent peer") << Peer::Silent << QByteArray() << 200 << 121 << 0;
    QTest::newRow("header, then silence") << Peer::HeaderThenSilent << QByteArray() << 200 << 121 << 0;
    QTest::newRow("short header") << Peer::ShortHeader << QByteArray() << 200 << 109 << 0;
    QTest::newRow("length beyond 16 MiB") << Peer::HugeLength << QByteArray() << 200 << 109 << 0;
    QTest::newRow("closed in the middle of the reply")
        << Peer::ClosedMidReply << QByteArray() << 200 << 109 << 0;
    QTest::newRow("closed without a reply") << Peer::ClosedAtOnce << QByteArray() << 200 << 109 << 0;
}

void TestSitePipe::transaction() {
    QFETCH(Peer::Mode, mode);
    QFETCH(QByteArray, reply);
    QFETCH(int, replySize);
    QFETCH(int, result);
    QFETCH(int, bytesRead);

    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    const OCL::Site::SiteDirectory directory(site.Root());
    Peer peer(mode, reply);
    QVERIFY(peer.Listen(directory.PipeSocket("RAS1", "cwsvcpipe")));

    const DWORD timeoutMs = 400;
    const Outcome o =
        CallAway(*platform->pipe, "\\\\RAS1\\pipe\\cwsvcpipe", "UPDATE_UPDATE", DWORD(replySize), timeoutMs);
    QCOMPARE(int(o.result), result);
    QCOMPARE(int(o.bytesRead), bytesRead);
    QCOMPARE(o.reply.left(bytesRead), reply.left(bytesRead));
    QCOMPARE(o.reply.mid(bytesRead), QByteArray(replySize - bytesRead, '\xCC'));
    if (mode == Peer::Reply || mode == Peer::Silent)
        QTRY_COMPARE(peer.received, QByteArray("UPDATE_UPDATE"));
    if (result == int(Err::SemTimeout))
        QVERIFY2(o.elapsedMs >= 350 && o.elapsedMs < 5000, QByteArray::number(o.elapsedMs).constData());
}

void TestSitePipe::addresses_data() {
    QTest::addColumn<QString>("listenHost");
    QTest::addColumn<QString>("pipeName");

    QTest::newRow("this computer by dot") << u"Console"_s << u"\\\\.\\pipe\\cwsvcpipe"_s;
    QTest::newRow("this computer by name") << u"CONSOLE"_s << u"\\\\Console\\pipe\\cwsvcpipe"_s;
    QTest::newRow("names without case") << u"RAS1"_s << u"\\\\ras1\\PIPE\\CwSvcPipe"_s;
}

void TestSitePipe::addresses() {
    QFETCH(QString, listenHost);
    QFETCH(QString, pipeName);

    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    const OCL::Site::SiteDirectory directory(site.Root());
    Peer peer(Peer::Reply, "0,ok");
    QVERIFY(peer.Listen(directory.PipeSocket(listenHost.toStdString(), "cwsvcpipe")));
    const Outcome o =
        CallAway(*platform->pipe, pipeName.toStdString(), "1,COM1,CORP\\alice,Console,0,0,0", 2000, 10000);
    QCOMPARE(o.result, Err::Success);
    QCOMPARE(o.reply.left(int(o.bytesRead)), QByteArray("0,ok"));
    QCOMPARE(peer.received, QByteArray("1,COM1,CORP\\alice,Console,0,0,0"));
}

void TestSitePipe::failures_data() {
    QTest::addColumn<QString>("pipeName");
    QTest::addColumn<bool>("staleFile");
    QTest::addColumn<int>("result");

    QTest::newRow("nobody listens") << u"\\\\RAS1\\pipe\\cwsvcpipe"_s << false << 2;
    QTest::newRow("left-over file") << u"\\\\RAS1\\pipe\\cwsvcpipe"_s << true << 2;
    QTest::newRow("unknown host") << u"\\\\NOSUCH\\pipe\\cwsvcpipe"_s << false << 53;
    QTest::newRow("unreachable host") << u"\\\\DOWN\\pipe\\cwsvcpipe"_s << false << 53;
    QTest::newRow("access denied") << u"\\\\LOCKED\\pipe\\cwsvcpipe"_s << false << 5;
    QTest::newRow("bare name") << u"cwsvcpipe"_s << false << 123;
    QTest::newRow("no pipe part") << u"\\\\RAS1\\cwsvcpipe"_s << false << 123;
    QTest::newRow("no pipe name") << u"\\\\RAS1\\pipe\\"_s << false << 123;
    QTest::newRow("no host") << u"\\\\\\pipe\\cwsvcpipe"_s << false << 123;
    QTest::newRow("slash in the name") << u"\\\\RAS1\\pipe\\a/b"_s << false << 123;
    QTest::newRow("one backslash") << u"\\RAS1\\pipe\\cwsvcpipe"_s << false << 123;
}

void TestSitePipe::failures() {
    QFETCH(QString, pipeName);
    QFETCH(bool, staleFile);
    QFETCH(int, result);

    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    if (staleFile) {
        const auto path = OCL::Site::SiteDirectory(site.Root()).PipeSocket("RAS1", "cwsvcpipe");
        std::filesystem::create_directories(path.parent_path());
        site.Write(std::filesystem::relative(path, site.Root()).string(), "not a socket");
    }
    char reply[16];
    DWORD bytesRead = 77;
    QCOMPARE(int(platform->pipe->Call(pipeName.toStdString(), "x", 1, reply, sizeof reply, &bytesRead, 1000)),
             result);
    QCOMPARE(bytesRead, DWORD(0));
}

QTEST_GUILESS_MAIN(TestSitePipe)
#include "tst_sitepipe.moc"
