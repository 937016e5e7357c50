#include "core/settings/SettingsModel.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <gtest/gtest.h>

namespace {

class SettingsStore : public ::testing::Test {
protected:
    // An isolated store in the test's own folder, never the user's.
    std::unique_ptr<QSettings> store(const QString& name = "Nimbrel.conf")
    {
        return std::make_unique<QSettings>(folder.file(name), QSettings::IniFormat);
    }
    bool load(SettingsModel& model, const QString& programFolder = "/opt/nimbrel")
    {
        auto settings = store();
        return model.load(*settings, programFolder, errors);
    }
    QString raw(const QString& key)
    {
        return store()->value(key).toString();
    }

    TempFolder folder;
    RecordingErrors errors;
};

Preferences edited()
{
    Preferences p;
    p.axisMinimum = {"980", "-20", "10", "1", "0.5"};
    p.axisMaximum = {"1040", "35", "90", "60", "50"};
    p.graphicFolder = "C:\\web\\images";
    p.database = "/home/weather/My Weather, 2026.mdb";
    p.errorLog = "/var/log/nimbrel errors.txt";
    p.errorSmtp = "mail.example.org:587";
    p.errorUser = "station";
    p.errorPassword = "p=ss;w,rd \"x\"";
    p.errorFrom = "Station <station@example.org>";
    p.errorTo = "a@example.org; b@example.org";
    p.rssFile = "/srv/templates/feed\u00e9.xml";
    p.intervalPosition = 5;
    p.autoRefresh = true;
    p.autoGraph = true;
    p.autoExport = false;
    p.autoPicture = true;
    p.autoDatabase = true;
    p.unattended = true;
    p.errorMail = true;
    p.fontColour = 255;        // red
    p.backColour = 0xFF0000;   // blue
    p.fontColourExport = 0x00FF00;
    p.backColourExport = 0;
    return p;
}

}  // namespace

TEST_F(SettingsStore, EmptyStoreGivesTheDefaults)
{
    SettingsModel model;
    ASSERT_TRUE(load(model, "/opt/nimbrel"));
    const Preferences p = model.snapshot();
    EXPECT_TRUE(model.firstRun());
    EXPECT_EQ(p.axisMinimum[0], "990.0");
    EXPECT_EQ(p.axisMaximum[0], "1030.0");
    EXPECT_EQ(p.axisMinimum[1], "0");
    EXPECT_EQ(p.axisMaximum[1], "45");
    EXPECT_EQ(p.axisMaximum[2], "100");
    EXPECT_EQ(p.axisMaximum[3], "40");
    EXPECT_EQ(p.axisMaximum[4], "100");
    EXPECT_EQ(p.errorLog, "/opt/nimbrel/ErrorLog.txt");
    EXPECT_EQ(model.cycleMinutes(), 10);
    EXPECT_EQ(model.primaryDatabase(), "");
    for (int flag : {p.autoRefresh, p.autoGraph, p.autoExport, p.autoPicture, p.autoDatabase, p.unattended, p.errorMail})
        EXPECT_EQ(flag, 0);
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(store()->allKeys().isEmpty()) << "defaults are never written back on loading";
}

TEST_F(SettingsStore, ErrorLogDefaultFollowsTheProgramFolderAtLoading)
{
    SettingsModel model;
    ASSERT_TRUE(load(model, "/opt/old"));
    ASSERT_TRUE(load(model, "/opt/new"));
    EXPECT_EQ(model.errorLog(), "/opt/new/ErrorLog.txt");
}

TEST_F(SettingsStore, SavedValuesLoadBackExactly)
{
    SettingsModel model;
    model.replace(edited());
    QString error;
    ASSERT_TRUE(model.save(*store(), error)) << error.toStdString();

    SettingsModel reloaded;
    ASSERT_TRUE(load(reloaded));
    EXPECT_EQ(reloaded.snapshot(), edited());
    EXPECT_FALSE(reloaded.firstRun());
    EXPECT_EQ(reloaded.cycleMinutes(), 60);
    EXPECT_EQ(reloaded.primaryDatabase(), "/home/weather/My Weather, 2026.mdb");
}

TEST_F(SettingsStore, StoredFormsAreTextFlagsBooleansAndSignedColours)
{
    SettingsModel model;
    Preferences p = edited();
    p.backColourExport = -2147483647 - 1;
    model.replace(p);
    QString error;
    ASSERT_TRUE(model.save(*store(), error));
    EXPECT_EQ(raw("Misc/FirstRun"), "False");
    EXPECT_EQ(raw("Data/AutoRefresh"), "1");
    EXPECT_EQ(raw("Data/AutoExport"), "0");
    EXPECT_EQ(raw("Misc/Unattended"), "1");
    EXPECT_EQ(raw("Data/Interval"), "5");
    EXPECT_EQ(raw("Colour/FontColour"), "255");
    EXPECT_EQ(raw("Colour/BackColourExport"), "-2147483648");
    EXPECT_EQ(raw("Trace/Min0"), "980");
    EXPECT_EQ(raw("Data/Graphic"), "C:\\web\\images");
}

TEST_F(SettingsStore, FirstRunStaysTrueForTheRunInWhichItIsFirstSaved)
{
    SettingsModel model;
    ASSERT_TRUE(load(model));
    QString error;
    ASSERT_TRUE(model.save(*store(), error));
    EXPECT_TRUE(model.firstRun());
    EXPECT_EQ(raw("Misc/FirstRun"), "False");
}

TEST_F(SettingsStore, SavingTwiceWritesTheSameFile)
{
    SettingsModel model;
    model.replace(edited());
    QString error;
    ASSERT_TRUE(model.save(*store(), error));
    const QByteArray first = readAll(folder.file("Nimbrel.conf"));
    ASSERT_TRUE(model.save(*store(), error));
    EXPECT_EQ(readAll(folder.file("Nimbrel.conf")), first);
}

TEST_F(SettingsStore, NonNumbersReadAsZeroButAnIntervalIsReported)
{
    auto settings = store();
    settings->setValue("Data/Interval", "ten");
    settings->setValue("Colour/FontColour", "red");
    settings->setValue("Data/AutoRefresh", "yes");
    settings->sync();
    SettingsModel model;
    ASSERT_TRUE(load(model));
    EXPECT_EQ(model.cycleMinutes(), 10);
    EXPECT_EQ(model.fontColour(), 0);
    EXPECT_EQ(model.autoRefresh(), 0);
    // A cycle of "ten" is no cycle: said, and taken as the default.
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_EQ(errors.messages().first(), "Get INI Settings Error: \r\nInterval \"ten\" is not a position in the cycle "
                                         "list (0 to 5); the cycle is 10 minutes until the preferences are saved");
}

TEST_F(SettingsStore, IntervalOutsideTheListIsReportedAndTakenAsTenMinutes)
{
    auto settings = store();
    settings->setValue("Data/Interval", "9");
    settings->setValue("Data/AutoDataBase", "1");
    settings->sync();
    SettingsModel model;
    ASSERT_TRUE(load(model));
    EXPECT_EQ(model.cycleMinutes(), 10);
    EXPECT_EQ(model.autoDatabase(), 1);  // the rest is still read
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages().first().startsWith("Get INI Settings Error: \r\n"));
}

// People edit the settings file by hand: every value reads as the text typed
// after "=", semicolons, commas and backslashes included.
TEST_F(SettingsStore, HandTypedValuesReadAsTyped)
{
    QFile file(folder.file("Nimbrel.conf"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Misc]\nErrorTo=a@x.org;b@y.org\nErrorPass=se;cr=et#1\nErrorFrom=a@x.org,b@y.org\n"
               "FirstRun=false\nErrorMail=2\nErrorSMTP = mail.example.org:587 \n"
               "[Data]\nGraphic=C:\\web\\images\nDatabase=\"/home/me/My Weather, 2026.mdb\"\nInterval=2\n");
    file.close();
    SettingsModel model;
    ASSERT_TRUE(load(model));
    EXPECT_EQ(model.errorTo(), "a@x.org;b@y.org");
    EXPECT_EQ(model.errorPassword(), "se;cr=et#1");
    EXPECT_EQ(model.errorFrom(), "a@x.org,b@y.org");
    EXPECT_EQ(model.errorSmtp(), "mail.example.org:587");
    EXPECT_EQ(model.graphicFolder(), "C:\\web\\images");
    EXPECT_EQ(model.database(), "/home/me/My Weather, 2026.mdb") << "quoted as the store writes it";
    EXPECT_EQ(model.cycleMinutes(), 30);
    EXPECT_FALSE(model.firstRun());
    EXPECT_FALSE(model.errorMail());  // only "1" means on

    // What the store wrote reads back the same, whatever it holds.
    auto settings = store();
    QString error;
    ASSERT_TRUE(model.save(*settings, error)) << error.toStdString();
    settings.reset();
    SettingsModel again;
    ASSERT_TRUE(load(again));
    EXPECT_EQ(again.snapshot(), model.snapshot());
}

TEST_F(SettingsStore, UnreadableStoreIsReportedAndChangesNothing)
{
    SettingsModel model;
    model.setDatabase("/data/weather.mdb");
    ASSERT_TRUE(QDir().mkpath(folder.file("folder.conf")));
    QSettings unreadable(folder.file("folder.conf"), QSettings::IniFormat);
    EXPECT_FALSE(model.load(unreadable, "/opt/nimbrel", errors));
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages().first().startsWith("Get INI Settings Error: \r\n"));
    EXPECT_EQ(model.primaryDatabase(), "/data/weather.mdb");
}

TEST_F(SettingsStore, SaveIntoAnUnwritablePlaceFails)
{
    SettingsModel model;
    ASSERT_TRUE(QDir().mkpath(folder.file("folder.conf")));
    QSettings unwritable(folder.file("folder.conf"), QSettings::IniFormat);
    QString error;
    EXPECT_FALSE(model.save(unwritable, error));
    EXPECT_FALSE(error.isEmpty());
}

TEST_F(SettingsStore, RemoteClientKeysHaveTheirOwnDefaults)
{
    EXPECT_EQ(loadRemoteSettings(*store()), RemoteSettings());
    EXPECT_EQ(RemoteSettings().remotePort, "5850");
    EXPECT_EQ(RemoteSettings().localPort, "8080");
    RemoteSettings changed{"10.0.0.5", "6000", "9090"};
    saveRemoteSettings(*store(), changed);
    EXPECT_EQ(loadRemoteSettings(*store()), changed);
}

TEST(SettingsModel, ChangesAreAnnouncedOnce)
{
    SettingsModel model;
    int announced = 0;
    QObject::connect(&model, &SettingsModel::changed, [&announced] { ++announced; });
    model.setAutoRefresh(true);
    model.setAutoRefresh(true);
    model.setAxisMinimum(0, "900");
    EXPECT_EQ(announced, 2);
    EXPECT_EQ(model.axisMinimum(0), "900");
}
