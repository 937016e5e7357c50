#include "../mdb/AccessCheck.h"
#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/errors/Environment.h"
#include "core/graphs/Favourites.h"
#include "core/readings/StationSimulator.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"
#include "support/TestSupport.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QThread>

#include <csignal>

#include <gtest/gtest.h>

namespace {

// A station, its database with one source and a favourite marked for its
// picture, and a settings file, in a temporary folder; `nimbrel run
// --headless` on them, its clock 600 times faster (a ten-minute mark a
// second), with no display of any kind.
class HeadlessRunTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(NimbrelSchema::createDatabase(database.toStdString()));
        ASSERT_TRUE(insertRow(database, "Sources",
                              {{"SourceID", 1}, {"SourceName", "Garden"}, {"SourceType", 0}, {"SourceFileName", station},
                               {"SourceDatabase", database}, {"DataID", 1}, {"LogMultiple", 1}}));
        TraceEntry temperature;
        temperature.sourceID = 1;
        temperature.sourceName = "Garden";
        temperature.sourceDatabase = database;
        temperature.dataType = 1;
        const qint32 favourite = Favourites::save(database, "Today", {false, 0, {temperature}}, environment);
        ASSERT_NE(favourite, 0);
        ASSERT_TRUE(SourceLists::setFavouriteExport(database, favourite, true, environment));
        QString error;
        ASSERT_TRUE(StationSimulator::writeCurrentDataFile(station, QDateTime::currentDateTime(), error));
        QSettings settings(settingsFile, QSettings::IniFormat);
        settings.setValue("Data/Database", database);
        settings.setValue("Data/Graphic", folder.path());
        settings.setValue("Data/Interval", "0");
        for (const char* flag : {"AutoRefresh", "AutoDataBase", "AutoGraph", "AutoPicture"})
            settings.setValue(QString("Data/") + flag, "1");
        settings.setValue("Data/AutoExport", "0");
        settings.setValue("Misc/ErrorLog", folder.file("ErrorLog.txt"));
        settings.setValue("Misc/Unattended", "0");  // unattended anyway
        settings.setValue("Misc/FirstRun", "False");
    }

    void start(QProcess& process)
    {
        QProcessEnvironment bare = QProcessEnvironment::systemEnvironment();
        for (const char* display : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            bare.remove(display);
        bare.insert("TZ", "UTC");
        bare.insert("XDG_RUNTIME_DIR", folder.path());
        bare.insert("HOME", folder.path());
        process.setProcessEnvironment(bare);
        process.start(QStringLiteral(NIMBREL_PROGRAM),
                      {"run", "--headless", "--settings", settingsFile, "--speed", "600"});
        ASSERT_TRUE(process.waitForStarted(5000));
    }

    // The times of the rows logged so far, in storage order.
    QList<QDateTime> logged()
    {
        QList<QDateTime> times;
        auto session = DatabaseSession::open(database, DatabaseSession::Access::Read, environment);
        if (!session)
            return times;
        auto history = (*session)->table("History");
        (void)(*session)->scan(*history, [&](const mdb::Row& row) {
            times << history->value(row, "DateRead").toDateTime();
            return true;
        });
        return times;
    }

    static bool waitFor(const std::function<bool()>& done, int ms)
    {
        for (QDeadlineTimer deadline(ms); !deadline.hasExpired(); QThread::msleep(100)) {
            if (done())
                return true;
        }
        return done();
    }

    TempFolder folder;
    QString database = folder.file("Weather.mdb");
    QString station = folder.file("currdat.lst");
    QString settingsFile = folder.file("nimbrel.ini");
    RecordingErrors errors;
    RecordingMessageBoxes boxes;
    SystemClock clock;
    Environment environment{errors, boxes, clock};
};

}  // namespace

// Rows at the marks, the favourite's picture, a second start refused,
// SIGHUP taking a longer cycle, and SIGTERM stopping it with the file whole.
TEST_F(HeadlessRunTest, LogsAtTheMarksWithoutADisplayAndObeysSignals)
{
    QProcess run;
    start(run);
    EXPECT_TRUE(waitFor([&] { return logged().size() >= 3; }, 20000)) << run.readAllStandardError().toStdString();
    for (const QDateTime& time : logged())
        EXPECT_EQ(time.time().minute() % 10, 0) << "logged at a ten-minute mark";
    EXPECT_TRUE(waitFor([&] { return QFileInfo(folder.file("wgraph0.gif")).size() > 0; }, 10000));

    QProcess second;
    start(second);
    ASSERT_TRUE(second.waitForFinished(10000));
    EXPECT_EQ(second.exitCode(), 3);
    EXPECT_TRUE(second.readAllStandardError().contains("already running"));

    QSettings(settingsFile, QSettings::IniFormat).setValue("Data/Interval", "2");  // 30 minutes
    ::kill(pid_t(run.processId()), SIGHUP);
    QThread::msleep(1500);
    const qsizetype before = logged().size();
    EXPECT_TRUE(waitFor([&] { return logged().size() >= before + 4; }, 30000));
    // On a loaded machine a ten-minute mark due before the change may still
    // come first: the intervals from the second reading on are the new ones.
    const QList<QDateTime> after = logged().mid(before);
    for (qsizetype i = 2; i < after.size(); ++i)
        EXPECT_EQ(after[i - 1].secsTo(after[i]), 30 * 60) << "after SIGHUP, a reading every 30 minutes";

    run.terminate();
    ASSERT_TRUE(run.waitForFinished(10000));
    EXPECT_EQ(run.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(run.exitCode(), 0);
    const QString log = QString::fromUtf8(run.readAllStandardError());
    EXPECT_TRUE(log.contains("info: SIGHUP: reading the settings again")) << log.toStdString();
    EXPECT_TRUE(log.contains("info: SIGTERM: stopping")) << log.toStdString();
    EXPECT_FALSE(log.contains("error:")) << log.toStdString();
    if (AccessCheck::available()) {
        const AccessCheck::Outcome checked = AccessCheck::check(database.toStdString());
        EXPECT_TRUE(checked.opened && checked.problems.empty()) << checked.output;
    }
}

// A database that cannot be opened does not stop it: the error goes to the
// log file and to standard error with its level, and it goes on.
TEST_F(HeadlessRunTest, KeepsRunningAndReportsWhenTheDatabaseIsMissing)
{
    QSettings(settingsFile, QSettings::IniFormat).setValue("Data/Database", folder.file("gone/Weather.mdb"));
    QProcess run;
    start(run);
    EXPECT_TRUE(waitFor([&] { return QFileInfo(folder.file("ErrorLog.txt")).size() > 0; }, 20000));
    QThread::msleep(1500);
    EXPECT_EQ(run.state(), QProcess::Running);
    run.terminate();
    ASSERT_TRUE(run.waitForFinished(10000));
    EXPECT_EQ(run.exitCode(), 0);
    EXPECT_TRUE(run.readAllStandardError().contains("error: ")) << "errors on standard error with their level";
}

// A database that Access holds open does not stop it either: it says so at
// each mark, and logs again once Access lets the file go.
TEST_F(HeadlessRunTest, WaitsOutADatabaseHeldByAccess)
{
    QFile lock(folder.file("Weather.ldb"));
    ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
    lock.close();
    QProcess run;
    start(run);
    const auto logText = [&] {
        QFile log(folder.file("ErrorLog.txt"));
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    };
    EXPECT_TRUE(waitFor([&] { return logText().contains("is open in Access"); }, 20000)) << logText().toStdString();
    EXPECT_EQ(run.state(), QProcess::Running);
    EXPECT_TRUE(logged().isEmpty());

    ASSERT_TRUE(QFile::remove(folder.file("Weather.ldb")));
    EXPECT_TRUE(waitFor([&] { return logged().size() >= 2; }, 20000)) << "logging again once the file is free";
    run.terminate();
    ASSERT_TRUE(run.waitForFinished(10000));
    EXPECT_EQ(run.exitCode(), 0);
}

TEST(HeadlessRunUsage, RefusesWhatItDoesNotKnow)
{
    for (const QStringList& wrong : {QStringList{"run"}, QStringList{"run", "--headless", "x"},
                                     QStringList{"run", "--headless", "--settings"},
                                     QStringList{"run", "--headless", "--colour"}}) {
        QProcess process;
        process.start(QStringLiteral(NIMBREL_PROGRAM), wrong);
        ASSERT_TRUE(process.waitForFinished(10000));
        EXPECT_EQ(process.exitCode(), 2) << wrong.join(' ').toStdString();
        EXPECT_TRUE(process.readAllStandardError().contains("Usage: nimbrel run")) << wrong.join(' ').toStdString();
    }
}
