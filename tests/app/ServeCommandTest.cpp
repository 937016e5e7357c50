#include "core/db/NimbrelSchema.h"
#include "core/errors/Environment.h"
#include "core/import/HistoryImport.h"
#include "core/text/Clock.h"
#include "support/GeneratedReadings.h"
#include "support/TestSupport.h"

#include "ProgramRun.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

namespace {

// A database with the source "Garden" (number 4) and 20,000 readings of it.
class ServeCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(NimbrelSchema::createDatabase(path.toStdString()));
        RecordingErrors errors;
        RecordingMessageBoxes boxes;
        FixedClock clock{QDateTime::currentDateTime()};
        const Environment environment{errors, boxes, clock};
        ASSERT_TRUE(insertRow(path, "Sources",
                              {{"SourceID", 4}, {"SourceName", "Garden"}, {"SourceDatabase", path}, {"DataID", 4}}));
        GeneratedReadings readings(QDateTime(QDate(2026, 1, 1), QTime(0, 0)), 20000);
        ASSERT_TRUE(HistoryImport::run(readings, path, 4, environment).ok());
    }

    QByteArray fileHash() const
    {
        return QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256);
    }

    TempFolder folder;
    QString path = folder.file("Weather.mdb");
};

}  // namespace

TEST_F(ServeCommandTest, UsageErrorsAndWhatCannotBeServed)
{
    for (const QStringList& wrong : {QStringList{}, QStringList{path, path}, QStringList{path, "--port", "x"},
                                     QStringList{path, "--port", "70000"}, QStringList{path, "--bind", "here"},
                                     QStringList{path, "--allow", "garden/24"}, QStringList{path, "--colour"}}) {
        const ProgramRun run = nimbrel(QStringList{"serve"} + wrong);
        EXPECT_EQ(run.exitCode, 2) << wrong.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains("Usage: nimbrel serve")) << run.err.toStdString();
    }
    const ProgramRun missing = nimbrel({"serve", folder.file("none.mdb")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("no database")) << missing.err.toStdString();

    QTcpServer holder;
    ASSERT_TRUE(holder.listen(QHostAddress::LocalHost, 0));
    const ProgramRun taken = nimbrel({"serve", path, "--port", QString::number(holder.serverPort())});
    EXPECT_EQ(taken.exitCode, 1);
    EXPECT_TRUE(taken.err.contains("cannot listen")) << taken.err.toStdString();
}

// Served as a separate process: the list, readings, and SIGTERM in the
// middle of sending ten thousands of them stops it at once, cleanly, the
// file untouched.
TEST_F(ServeCommandTest, ServesUntilSigterm)
{
    const QByteArray before = fileHash();
    QProcess server;
    server.setProcessChannelMode(QProcess::SeparateChannels);
    server.start(QStringLiteral(NIMBREL_PROGRAM), {"serve", path, "--port", "0"});
    QString log;
    quint16 port = 0;
    const QRegularExpression serving("port (\\d+)");
    for (int i = 0; i < 100 && port == 0; ++i) {
        server.waitForReadyRead(100);
        log += QString::fromUtf8(server.readAllStandardError());
        port = quint16(serving.match(log).captured(1).toUInt());
    }
    ASSERT_NE(port, 0) << log.toStdString();

    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, port);
    ASSERT_TRUE(client.waitForConnected(3000));
    client.write("LS");
    QByteArray got;
    while (!got.endsWith("[END]") && client.waitForReadyRead(3000))
        got += client.readAll();
    EXPECT_EQ(got, "LS\t[4]Garden[END]");

    client.write("RQ[4]");
    got.clear();
    while (got.count("[END]") < 100 && client.waitForReadyRead(3000))
        got += client.readAll();
    EXPECT_TRUE(got.startsWith("RQ[4]\t1000\t0\t0\t-5\t0\t0\t0\t0\t---\t100\t00:00\t01.01.2026\t0\t0\t-1\t0\t0[END]"))
        << got.left(200).toStdString();
    server.terminate();  // SIGTERM, while readings are still going out
    ASSERT_TRUE(server.waitForFinished(5000));
    EXPECT_EQ(server.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(server.exitCode(), 0);
    log += QString::fromUtf8(server.readAllStandardError());
    EXPECT_TRUE(log.contains("connected")) << log.toStdString();
    EXPECT_TRUE(log.contains("LS: 1 sources")) << log.toStdString();
    EXPECT_TRUE(log.contains("RQ[4]: sending the readings of Garden")) << log.toStdString();
    EXPECT_TRUE(log.contains("stopping (SIGTERM)")) << log.toStdString();
    EXPECT_EQ(fileHash(), before) << "a server never writes";
}
