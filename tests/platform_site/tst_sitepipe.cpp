// The service pipe client against a local-socket peer that follows the site's
// framing, answers oddly, or not at all.

#include "sitefixture.h"

#include "platform/site/sitedirectory.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QString>

#include <chrono>
#include <future>

using namespace OCL;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QByteArray Header(quint32 length) {
    QByteArray h(4, '\0');
    for (int i = 0; i < 4; ++i)
        h[i] = char((length >> (8 * i)) & 0xFF);
    return h;
}

// The service's end of the pipe: once a whole request is in, it answers with
// the given bytes (a well-formed reply or not) and hangs up or stays silent.
class Peer : public QObject {
public:
    Peer(QByteArray answer, bool hangUp) : m_answer(std::move(answer)), m_hangUp(hangUp) {
        QObject::connect(&m_server, &QLocalServer::newConnection, this, [this] {
            while (QLocalSocket* socket = m_server.nextPendingConnection()) {
                socket->setParent(this);
                QObject::connect(socket, &QLocalSocket::readyRead, this, [this, socket] { Read(socket); });
            }
        });
    }
    bool Listen(const std::filesystem::path& path) {
        std::filesystem::create_directories(path.parent_path());
        QLocalServer::removeServer(QString::fromStdString(path.string()));
        return m_server.listen(QString::fromStdString(path.string()));
    }
    QByteArray received;

private:
    void Read(QLocalSocket* socket) {
        m_buffer += socket->readAll();
        if (m_buffer.size() < 4 || m_buffer.left(4) != Header(quint32(m_buffer.size() - 4)))
            return;
        received = m_buffer.mid(4);
        socket->write(m_answer);
        if (m_hangUp)
            socket->disconnectFromServer();
    }

    QByteArray m_answer;
    bool m_hangUp;
    QLocalServer m_server;
    QByteArray m_buffer;
};

struct Outcome {
    DWORD result = 0xDEAD;
    DWORD bytesRead = 0xDEAD;
    QByteArray reply;
    qint64 elapsedMs = 0;
};

// Calls on a thread of its own while this thread's event loop serves the peer.
void CallAway(IServicePipe& pipe, DWORD replySize, Outcome* o) {
    auto future = std::async(std::launch::async, [&pipe, replySize, o] {
        o->reply = QByteArray(int(replySize), '\xCC');
        QElapsedTimer timer;
        timer.start();
        o->result = pipe.Call("\\\\RAS1\\pipe\\cwsvcpipe", "UPDATE_UPDATE", 13, o->reply.data(), replySize,
                              &o->bytesRead, 400);
        o->elapsedMs = timer.elapsed();
    });
    QTRY_VERIFY_WITH_TIMEOUT(future.wait_for(0ms) == std::future_status::ready, 30000);
}

} // namespace

class TestSitePipe : public QObject {
    Q_OBJECT

private slots:
    void transaction_data() {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("hangUp");
        QTest::addColumn<int>("replySize");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("bytesRead");

        const QByteArray accepted = Header(18) + "0,Session Accepted";
        QTest::newRow("accepted") << accepted << true << 2000 << 0 << 18;
        QTest::newRow("empty reply") << Header(0) << true << 200 << 0 << 0;
        QTest::newRow("reply fills the buffer") << accepted << true << 18 << 0 << 18;
        QTest::newRow("reply cut") << accepted << true << 10 << 234 << 10;
        QTest::newRow("large reply cut")
            << Header(1 << 20) + QByteArray(1 << 20, 'r') << true << 2000 << 234 << 2000;
        QTest::newRow("silent peer") << QByteArray() << false << 200 << 121 << 0;
        QTest::newRow("header, then silence") << Header(10) << false << 200 << 121 << 0;
        QTest::newRow("short header") << QByteArray("\x05\x00", 2) << true << 200 << 109 << 0;
        QTest::newRow("length beyond 16 MiB") << Header((16u << 20) + 1) << false << 200 << 109 << 0;
        QTest::newRow("closed in the middle of the reply")
            << Header(100) + QByteArray(10, 'x') << true << 200 << 109 << 0;
        QTest::newRow("closed without a reply") << QByteArray() << true << 200 << 109 << 0;
    }

    void transaction() {
        QFETCH(QByteArray, answer);
        QFETCH(bool, hangUp);
        QFETCH(int, replySize);
        QFETCH(int, result);
        QFETCH(int, bytesRead);

        SiteTest::Site site;
        site.WriteHosts();
        auto platform = site.Open();
        Peer peer(answer, hangUp);
        QVERIFY(peer.Listen(OCL::Site::SiteDirectory(site.Root()).PipeSocket("RAS1", "cwsvcpipe")));

        Outcome o;
        CallAway(*platform->pipe, DWORD(replySize), &o);
        QTRY_COMPARE(peer.received, QByteArray("UPDATE_UPDATE"));
        QCOMPARE(int(o.result), result);
        QCOMPARE(int(o.bytesRead), bytesRead);
        // Only what came is copied, and never beyond the caller's buffer.
        QCOMPARE(o.reply.left(bytesRead), answer.mid(4, bytesRead));
        QCOMPARE(o.reply.mid(bytesRead), QByteArray(replySize - bytesRead, '\xCC'));
        if (result == int(Err::SemTimeout))
            QVERIFY2(o.elapsedMs >= 350 && o.elapsedMs < 5000, QByteArray::number(o.elapsedMs).constData());
    }

    void failures_data() {
        QTest::addColumn<QString>("pipeName");
        QTest::addColumn<bool>("staleFile");
        QTest::addColumn<int>("result");

        QTest::newRow("left-over file") << u"\\\\RAS1\\pipe\\cwsvcpipe"_s << true << 2;
        QTest::newRow("bare name") << u"cwsvcpipe"_s << false << 123;
        QTest::newRow("no pipe part") << u"\\\\RAS1\\cwsvcpipe"_s << false << 123;
        QTest::newRow("slash in the name") << u"\\\\RAS1\\pipe\\a/b"_s << false << 123;
    }

    void failures() {
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
        QCOMPARE(
            int(platform->pipe->Call(pipeName.toStdString(), "x", 1, reply, sizeof reply, &bytesRead, 1000)),
            result);
        QCOMPARE(bytesRead, DWORD(0));
    }
};

QTEST_GUILESS_MAIN(TestSitePipe)
#include "tst_sitepipe.moc"
