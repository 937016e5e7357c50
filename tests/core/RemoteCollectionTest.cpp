#include "DatabaseFixture.h"
#include "support/GeneratedReadings.h"

#include "../mdb/AccessCheck.h"
#include "core/db/DatabaseSession.h"
#include "core/import/HistoryImport.h"
#include "core/remote/RemoteDownload.h"
#include "core/remote/RemoteServer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

namespace {

// Runs the event loop until `done` or `ms` have passed; whether it is done.
bool waitFor(const std::function<bool()>& done, int ms = 10000)
{
    QDeadlineTimer deadline(ms);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

// A database worker as the window has one: a thread of its own, work in order.
class Worker {
public:
    Worker()
    {
        context_.moveToThread(&thread_);
        thread_.start();
    }
    ~Worker()
    {
        thread_.quit();
        thread_.wait();
    }
    RemoteDownload::Runner runner() { return RemoteDownload::runnerOn(context_); }

private:
    QThread thread_;
    QObject context_;
};

class RemoteCollectionTest : public DatabaseFixture {
protected:
    void SetUp() override
    {
        DatabaseFixture::SetUp();
        ASSERT_TRUE(NimbrelSchema::createDatabase(local.toStdString()));
        addSource(path, 1, "Garden", 101);
        addSource(path, 2, "Roof", 2);
        addSource(local, 7, "Garden", 7);
        store(path, 101, QDateTime(QDate(2026, 11, 20), QTime(0, 0)), 432);  // three days
        store(path, 2, QDateTime(QDate(2026, 11, 22), QTime(0, 0)), 10);
        options.database = path;
        options.port = 0;
    }

    static void addSource(const QString& database, qint32 id, const QString& name, qint32 dataID)
    {
        ASSERT_TRUE(insertRow(database, "Sources",
                              {{"SourceID", id}, {"SourceName", name}, {"SourceDatabase", database}, {"DataID", dataID}}));
    }

    void store(const QString& database, qint32 sourceID, const QDateTime& from, int count)
    {
        GeneratedReadings readings(from, count);
        ASSERT_TRUE(HistoryImport::run(readings, database, sourceID, environment).ok());
    }

    std::unique_ptr<RemoteServer> startServer()
    {
        auto server = std::make_unique<RemoteServer>(options, environment,
                                                     [this](const QString& line) { serverLog << line; });
        QString error;
        EXPECT_TRUE(server->listen(error)) << error.toStdString();
        return server;
    }

    // A download connected to `port`, its source list received.
    std::unique_ptr<RemoteDownload> connected(quint16 port)
    {
        auto download = std::make_unique<RemoteDownload>(local, environment, worker.runner());
        QObject::connect(download.get(), &RemoteDownload::listed,
                         [this](const QList<RemoteProtocol::SourceEntry>& sources) { listed = sources; });
        download->client().connectTo("127.0.0.1", port, 0);
        QObject::connect(&download->client(), &RemoteClient::connected, [&download] {
            download->client().requestList();
        });
        EXPECT_TRUE(waitFor([this] { return !listed.isEmpty(); }));
        return download;
    }

    static void waitUntilStored(RemoteDownload& download, qint64 received)
    {
        EXPECT_TRUE(waitFor([&] { return download.received() >= received && download.idle(); }));
    }

    qint64 localRows() { return qint64(MdbTools::exportTable(local.toStdString(), "History").rows.size()); }

    QString local = folder.file("Collected.mdb");
    ServerOptions options;
    QStringList serverLog;
    QList<RemoteProtocol::SourceEntry> listed;
    Worker worker;
};

// A scripted server: sends `script`, piece by piece, to the first client.
class ScriptedServer {
public:
    explicit ScriptedServer(QList<QByteArray> pieces) : pieces_(std::move(pieces))
    {
        server_.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server_, &QTcpServer::newConnection, [this] {
            client_ = server_.nextPendingConnection();
            for (const QByteArray& piece : std::as_const(pieces_)) {
                client_->write(piece);
                client_->flush();
                client_->waitForBytesWritten(1000);
            }
        });
    }
    quint16 port() const { return server_.serverPort(); }
    QTcpSocket* client() const { return client_; }

private:
    QTcpServer server_;
    QList<QByteArray> pieces_;
    QTcpSocket* client_ = nullptr;
};

QByteArray readingText(const QString& time, int fields = 18, const QString& date = "21.11.2026")
{
    QStringList parts = {"RQ[4]", "1012.5", "21.5", "45", "8.5", "80", "5.2", "7.9", "6.5", "---", "123.4",
                         time,    date,     "0.2",  "1.4", "1", "2", "0"};
    while (parts.size() > fields)
        parts.removeLast();
    while (parts.size() < fields)
        parts << "9";
    return parts.join('\t').toLatin1() + "[END]";
}

}  // namespace

// The whole way: the list, every reading of a source stored under the local
// source of its name, a second download adding nothing, a source without a
// local namesake storing nothing, and the file an Access file still.
TEST_F(RemoteCollectionTest, DownloadsFromTheServerIntoTheLocalSourceOfTheSameName)
{
    auto server = startServer();
    auto download = connected(server->port());
    EXPECT_EQ(listed, (QList<RemoteProtocol::SourceEntry>{{1, "Garden"}, {2, "Roof"}}));

    QStringList storedNames;
    QObject::connect(download.get(), &RemoteDownload::stored, [&](const QString& name) { storedNames << name; });
    download->request({1}, std::nullopt);
    waitUntilStored(*download, 432);
    EXPECT_EQ(download->counts().stored, 432);
    EXPECT_TRUE(storedNames.contains("Garden"));
    const MdbTools::Export rows = MdbTools::exportTable(local.toStdString(), "History");
    ASSERT_EQ(rows.rows.size(), 432u);
    EXPECT_EQ(cell(rows, 0, "SourceID"), "7");
    EXPECT_EQ(cell(rows, 0, "DateText"), "20.11.2026");
    EXPECT_EQ(cell(rows, 0, "WindDir"), "<null>") << "\"---\" is stored as null";
    EXPECT_EQ(cell(rows, 1, "WindDir"), "WSW");
    EXPECT_EQ(cell(rows, 431, "TimeText"), "23:50");
    EXPECT_EQ(cell(rows, 3, "OutTemperature"), "-4.7");

    download->request({1, 2}, std::nullopt);
    waitUntilStored(*download, 432 + 432 + 10);
    EXPECT_EQ(download->counts().stored, 432) << "nothing new from a second download";
    EXPECT_EQ(download->counts().duplicates, 432);
    EXPECT_EQ(download->counts().bad, 10) << "Roof has no local source";
    EXPECT_EQ(localRows(), 432);
    if (AccessCheck::available()) {
        const AccessCheck::Outcome checked = AccessCheck::check(local.toStdString());
        EXPECT_TRUE(checked.opened && checked.problems.empty()) << checked.output;
    }
    EXPECT_TRUE(errors.empty());
}

// From a day on, and readings logged after the server started are sent too.
TEST_F(RemoteCollectionTest, DownloadsFromADay)
{
    auto server = startServer();
    store(path, 101, QDateTime(QDate(2026, 11, 23), QTime(0, 0)), 6);  // while the server runs
    auto download = connected(server->port());
    download->request({1}, QDate(2026, 11, 22));
    waitUntilStored(*download, 150);
    EXPECT_EQ(download->received(), 144 + 6);
    EXPECT_EQ(localRows(), 150);
    EXPECT_TRUE(serverLog.filter("RQ[1]22/11/2026: 150 readings sent").size() == 1) << serverLog.join('\n').toStdString();
}

// Messages in one packet, split byte by byte, "[END]" at the start, the
// wrong number of fields and a date that is none: what can be used is.
TEST_F(RemoteCollectionTest, ClientTakesWhatAHostileServerSendsApart)
{
    QByteArray split = "LS\t[4]Garden[END]" + readingText("10:00");
    QList<QByteArray> pieces = {split + readingText("10:10")};  // three messages in one packet
    for (char byte : readingText("10:20"))
        pieces << QByteArray(1, byte);
    pieces << readingText("10:30", 17) << readingText("10:40", 19) << readingText("10:50", 18, "31.02.2026");
    pieces << readingText("10:20");  // the same reading again
    pieces << "[END]" + readingText("11:00");  // kept forever as the spec has it
    ScriptedServer script(pieces);

    RemoteDownload download(local, environment, worker.runner());
    download.client().connectTo("127.0.0.1", script.port(), 0);
    EXPECT_TRUE(waitFor([&] { return download.received() >= 5 && download.idle(); }));
    EXPECT_TRUE(waitFor([&] { return download.idle(); }));
    EXPECT_EQ(download.received(), 5) << "17 and 19 fields are ignored; [END] first keeps the rest waiting";
    EXPECT_EQ(download.counts().stored, 3);
    EXPECT_EQ(download.counts().duplicates, 1);
    EXPECT_EQ(download.counts().bad, 1) << "31 February";
    EXPECT_EQ(localRows(), 3);
}

// A server that sends without end is cut off at the bound and logged; one
// that never answers or closes in the middle of a message hangs nothing.
TEST_F(RemoteCollectionTest, ClientIsBoundedAgainstServersThatMisbehave)
{
    {
        ScriptedServer flood({QByteArray(10 * 1024 * 1024, 'x')});
        RemoteDownload download(local, environment, worker.runner());
        download.client().connectTo("127.0.0.1", flood.port(), 0);
        EXPECT_TRUE(waitFor([&] { return !errors.messages().isEmpty(); }));
        EXPECT_TRUE(waitFor([&] { return !download.client().isOpen(); }));
    }
    {
        ScriptedServer silent({});
        RemoteClient client;
        bool closed = false;
        QObject::connect(&client, &RemoteClient::closed, [&] { closed = true; });
        QObject::connect(&client, &RemoteClient::connected, [&] {
            client.requestList();
            client.leave(std::chrono::milliseconds(300));
        });
        client.connectTo("127.0.0.1", silent.port(), 0);
        EXPECT_TRUE(waitFor([&] { return closed; }, 3000)) << "leaving does not wait for a silent server";
    }
    {
        ScriptedServer halfway({readingText("10:00").left(40)});
        RemoteDownload download(local, environment, worker.runner());
        bool closed = false;
        QObject::connect(&download.client(), &RemoteClient::closed, [&] { closed = true; });
        download.client().connectTo("127.0.0.1", halfway.port(), 0);
        EXPECT_TRUE(waitFor([&] { return halfway.client() != nullptr; }));
        halfway.client()->close();
        EXPECT_TRUE(waitFor([&] { return closed; }));
        EXPECT_EQ(download.received(), 0);
    }
    const QStringList logged = errors.messages();
    ASSERT_EQ(logged.size(), 1) << "the flood only";
    EXPECT_TRUE(logged[0].startsWith("\r\nSocket Error: \r\n")) << logged[0].toStdString();
    EXPECT_TRUE(logged[0].contains("without \"[END]\"")) << logged[0].toStdString();
}

// Requests arrive in any pieces; garbage is ignored up to a bound, then the
// connection is closed; a 17th connection is refused, and idle ones are
// closed.
TEST_F(RemoteCollectionTest, ServerStandsUpToClientsThatMisbehave)
{
    options.idleLimit = std::chrono::milliseconds(2000);
    auto server = startServer();
    const auto open = [&] {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, server->port());
        EXPECT_TRUE(socket->waitForConnected(3000));
        return socket;
    };
    const auto answer = [](QTcpSocket& socket) {
        QByteArray got;
        waitFor([&] {
            got += socket.readAll();
            return got.endsWith("[END]") || socket.state() != QAbstractSocket::ConnectedState;
        }, 3000);
        return got;
    };

    auto polite = open();
    for (char byte : QByteArray("hello?LS"))
        polite->write(QByteArray(1, byte)), polite->flush(), QCoreApplication::processEvents();
    EXPECT_EQ(answer(*polite), "LS\t[1]Garden\t[2]Roof[END]") << "garbage before a request is skipped";
    polite->write("RQ[9]");
    polite->write("LS");
    EXPECT_EQ(answer(*polite), "LS\t[1]Garden\t[2]Roof[END]") << "an unknown source sends nothing";

    auto rude = open();
    rude->write(QByteArray(300, 'z'));
    EXPECT_TRUE(waitFor([&] { return rude->state() == QAbstractSocket::UnconnectedState; }));

    EXPECT_TRUE(waitFor([&] { return server->connectionCount() == 1; }));
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    for (int i = 0; i < 16; ++i)
        idle.push_back(open());
    EXPECT_TRUE(waitFor([&] { return idle.back()->state() == QAbstractSocket::UnconnectedState; }))
        << "the 17th connection is refused";
    EXPECT_TRUE(waitFor([&] { return server->connectionCount() == 16; }));
    EXPECT_TRUE(waitFor([&] { return server->connectionCount() == 0; }, 6000)) << "idle connections are closed";
    EXPECT_EQ(serverLog.filter("idle too long").size(), 16);
    EXPECT_EQ(serverLog.filter("refused").size(), 1);
    EXPECT_TRUE(serverLog.filter("no such source").size() == 1);
}

// For a client that reads nothing the server keeps no more than the bound
// and a chunk waiting: it does not read the whole source into memory.
TEST_F(RemoteCollectionTest, ServerWaitsForAClientThatDoesNotRead)
{
    store(path, 2, QDateTime(QDate(2025, 1, 1), QTime(0, 0)), 20000);
    options.sendBound = 64 * 1024;
    options.chunkRows = 200;
    auto server = startServer();
    QTcpSocket socket;
    socket.setReadBufferSize(1);
    socket.connectToHost(QHostAddress::LocalHost, server->port());
    ASSERT_TRUE(socket.waitForConnected(3000));
    socket.write("RQ[2]");
    waitFor([] { return false; }, 1000);
    socket.setReadBufferSize(0);
    qint64 got = 0;
    EXPECT_TRUE(waitFor([&] {
        got += socket.readAll().count("[END]");
        return got == 20010;
    }, 30000)) << got;
    EXPECT_EQ(serverLog.filter("RQ[2]: 20010 readings sent").size(), 1);
    EXPECT_LE(server->largestBacklog(), options.sendBound + options.chunkRows * 200);
}

// The allowed networks decide who may talk; an IPv4 peer is recognised on a
// server listening on every address.
TEST_F(RemoteCollectionTest, ServerAnswersOnlyAllowedAddresses)
{
    options.allowed = {QHostAddress::parseSubnet("10.0.0.0/8")};
    auto refusing = startServer();
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, refusing->port());
    EXPECT_TRUE(waitFor([&] { return serverLog.filter("not an allowed address").size() == 1; }));
    options.allowed = {QHostAddress::parseSubnet("127.0.0.0/8")};
    options.bind = QHostAddress::Any;
    auto allowing = startServer();
    QTcpSocket welcome;
    welcome.connectToHost(QHostAddress::LocalHost, allowing->port());
    welcome.write("LS");
    EXPECT_TRUE(waitFor([&] { return welcome.bytesAvailable() > 0; }));
}

// A local port another program holds: the client connects from any free
// port and says so in the error log.
TEST_F(RemoteCollectionTest, ATakenLocalPortGivesWayToAnyFreePort)
{
    auto server = startServer();
    QTcpServer holder;
    ASSERT_TRUE(holder.listen(QHostAddress::AnyIPv4, 0));
    RemoteDownload download(local, environment, worker.runner());
    bool connected = false;
    QObject::connect(&download.client(), &RemoteClient::connected, [&] { connected = true; });
    download.client().connectTo("127.0.0.1", server->port(), holder.serverPort());
    EXPECT_TRUE(waitFor([&] { return connected; }));
    const QStringList logged = errors.messages();
    ASSERT_EQ(logged.size(), 1) << logged.join("|").toStdString();
    EXPECT_TRUE(logged[0].contains(QString("local port %1 is taken").arg(holder.serverPort()))) << logged[0].toStdString();
    EXPECT_EQ(RemoteClient::portNumber("65535"), 65535);
    EXPECT_EQ(RemoteClient::portNumber("32768"), 32768) << "beyond a 16-bit signed number";
    for (const char* refused : {"0", "-1", "65536", "58x", ""})
        EXPECT_EQ(RemoteClient::portNumber(refused), std::nullopt) << refused;
}
