#include "settings/SettingsModel.h"
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
        return model.LoadSettings(*settings, programFolder, errors);
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
    p.Min = {"980", "-20", "10", "1", "0.5"};
    p.Max = {"1040", "35", "90", "60", "50"};
    p.Graphic = "C:\\web\\images";
    p.Database = "/home/weather/My Weather, 2026.mdb";
    p.ErrorLog = "/var/log/nimbrel errors.txt";
    p.ErrorSMTP = "mail.example.org:587";
    p.ErrorUser = "station";
    p.ErrorPass = "p=ss;w,rd \"x\"";
    p.ErrorFrom = "Station <station@example.org>";
    p.ErrorTo = "a@example.org; b@example.org";
    p.RSSFile = "/srv/templates/feed\u00e9.xml";
    p.Interval = 5;
    p.AutoRefresh = 1;
    p.AutoGraph = 1;
    p.AutoExport = 0;
    p.AutoPicture = 1;
    p.AutoDataBase = 1;
    p.Unattended = 1;
    p.ErrorMail = 1;
    p.FontColour = 255;        // red
    p.BackColour = 0xFF0000;   // blue
    p.FontColourExport = 0x00FF00;
    p.BackColourExport = 0;
    return p;
}

}  // namespace

TEST_F(SettingsStore, EmptyStoreGivesTheDefaults)
{
    SettingsModel model;
    ASSERT_TRUE(load(model, "/opt/nimbrel"));
    const Preferences p = model.snapshot();
    EXPECT_TRUE(model.FirstTimeRun());
    EXPECT_EQ(p.Min[0], "990.0");
    EXPECT_EQ(p.Max[0], "1030.0");
    EXPECT_EQ(p.Min[1], "0");
    EXPECT_EQ(p.Max[1], "45");
    EXPECT_EQ(p.Max[2], "100");
    EXPECT_EQ(p.Max[3], "40");
    EXPECT_EQ(p.Max[4], "100");
    EXPECT_EQ(p.ErrorLog, "/opt/nimbrel/ErrorLog.txt");
    EXPECT_EQ(model.getInterval(), 10);
    EXPECT_EQ(model.PrimaryDB(), "");
    for (int flag : {p.AutoRefresh, p.AutoGraph, p.AutoExport, p.AutoPicture, p.AutoDataBase, p.Unattended, p.ErrorMail})
        EXPECT_EQ(flag, 0);
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(store()->allKeys().isEmpty()) << "defaults are never written back on loading";
}

TEST_F(SettingsStore, ErrorLogDefaultFollowsTheProgramFolderAtLoading)
{
    SettingsModel model;
    ASSERT_TRUE(load(model, "/opt/old"));
    ASSERT_TRUE(load(model, "/opt/new"));
    EXPECT_EQ(model.ErrorLog(), "/opt/new/ErrorLog.txt");
}

TEST_F(SettingsStore, SavedValuesLoadBackExactly)
{
    SettingsModel model;
    model.replace(edited());
    QString error;
    ASSERT_TRUE(model.SaveSettings(*store(), error)) << error.toStdString();

    SettingsModel reloaded;
    ASSERT_TRUE(load(reloaded));
    EXPECT_EQ(reloaded.snapshot(), edited());
    EXPECT_FALSE(reloaded.FirstTimeRun());
    EXPECT_EQ(reloaded.getInterval(), 60);
    EXPECT_EQ(reloaded.PrimaryDB(), "/home/weather/My Weather, 2026.mdb");
}

TEST_F(SettingsStore, StoredFormsAreTextFlagsBooleansAndSignedColours)
{
    SettingsModel model;
    Preferences p = edited();
    p.BackColourExport = -2147483647 - 1;
    model.replace(p);
    QString error;
    ASSERT_TRUE(model.SaveSettings(*store(), error));
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
    ASSERT_TRUE(model.SaveSettings(*store(), error));
    EXPECT_TRUE(model.FirstTimeRun());
    EXPECT_EQ(raw("Misc/FirstRun"), "False");
}

TEST_F(SettingsStore, SavingTwiceWritesTheSameFile)
{
    SettingsModel model;
    model.replace(edited());
    QString error;
    ASSERT_TRUE(model.SaveSettings(*store(), error));
    const QByteArray first = readAll(folder.file("Nimbrel.conf"));
    ASSERT_TRUE(model.SaveSettings(*store(), error));
    EXPECT_EQ(readAll(folder.file("Nimbrel.conf")), first);
}

TEST_F(SettingsStore, NonNumbersReadAsZero)
{
    auto settings = store();
    settings->setValue("Data/Interval", "ten");
    settings->setValue("Colour/FontColour", "red");
    settings->setValue("Data/AutoRefresh", "yes");
    settings->sync();
    SettingsModel model;
    ASSERT_TRUE(load(model));
    EXPECT_EQ(model.getInterval(), 10);
    EXPECT_EQ(model.FontColour(), 0);
    EXPECT_EQ(model.AutoRefresh(), 0);
    EXPECT_TRUE(errors.empty());
}

TEST_F(SettingsStore, IntervalOutsideTheListIsReportedAndTakenAsTenMinutes)
{
    auto settings = store();
    settings->setValue("Data/Interval", "9");
    settings->setValue("Data/AutoDataBase", "1");
    settings->sync();
    SettingsModel model;
    ASSERT_TRUE(load(model));
    EXPECT_EQ(model.getInterval(), 10);
    EXPECT_EQ(model.AutoDataBase(), 1);  // the rest is still read
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages().first().startsWith("Get INI Settings Error: \r\n"));
}

TEST_F(SettingsStore, HandEditedListsAndFlagsAreUnderstood)
{
    QFile file(folder.file("Nimbrel.conf"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Misc]\nErrorTo=a@example.org, b@example.org\nFirstRun=false\nErrorMail=2\n");
    file.close();
    SettingsModel model;
    ASSERT_TRUE(load(model));
    EXPECT_EQ(model.ErrorTo(), "a@example.org, b@example.org");
    EXPECT_FALSE(model.FirstTimeRun());
    EXPECT_EQ(model.ErrorMail(), 2);  // kept as read: only 1 means on
}

TEST_F(SettingsStore, UnreadableStoreIsReportedAndChangesNothing)
{
    SettingsModel model;
    model.setDatabase("/data/weather.mdb");
    ASSERT_TRUE(QDir().mkpath(folder.file("folder.conf")));
    QSettings unreadable(folder.file("folder.conf"), QSettings::IniFormat);
    EXPECT_FALSE(model.LoadSettings(unreadable, "/opt/nimbrel", errors));
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages().first().startsWith("Get INI Settings Error: \r\n"));
    EXPECT_EQ(model.PrimaryDB(), "/data/weather.mdb");
}

TEST_F(SettingsStore, SaveIntoAnUnwritablePlaceFails)
{
    SettingsModel model;
    ASSERT_TRUE(QDir().mkpath(folder.file("folder.conf")));
    QSettings unwritable(folder.file("folder.conf"), QSettings::IniFormat);
    QString error;
    EXPECT_FALSE(model.SaveSettings(unwritable, error));
    EXPECT_FALSE(error.isEmpty());
}

TEST_F(SettingsStore, RemoteClientKeysHaveTheirOwnDefaults)
{
    EXPECT_EQ(loadRemoteSettings(*store()), RemoteSettings());
    EXPECT_EQ(RemoteSettings().RemotePort, "5850");
    EXPECT_EQ(RemoteSettings().LocalPort, "8080");
    RemoteSettings changed{"10.0.0.5", "6000", "9090"};
    saveRemoteSettings(*store(), changed);
    EXPECT_EQ(loadRemoteSettings(*store()), changed);
}

TEST(SettingsModel, ChangesAreAnnouncedOnce)
{
    SettingsModel model;
    int announced = 0;
    QObject::connect(&model, &SettingsModel::changed, [&announced] { ++announced; });
    model.setAutoRefresh(1);
    model.setAutoRefresh(1);
    model.setMin(0, "900");
    EXPECT_EQ(announced, 2);
    EXPECT_EQ(model.Min(0), "900");
}
