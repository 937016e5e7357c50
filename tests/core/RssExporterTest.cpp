#include "core/export/RssExporter.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/WeatherSource.h"
#include "core/text/Clock.h"
#include "core/errors/Environment.h"
#include "support/TestSupport.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

const QDateTime kNow(QDate(2026, 11, 15), QTime(15, 4, 55));

class RssExporterTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        source.setSourceName("Ridge ~TempOut~ Hill");  // a later token inside a value is replaced too
        source.setExportFileName(folder.file("feed.xml"));
        WeatherReading& w = source.reading();
        w.setReadDate(QDateTime(QDate(2026, 11, 15), QTime(15, 7, 42)));
        w.setTemperatureOut(-2.5);
        w.setWindChill(-7.25);
        w.setDewpoint(-4.1);
        w.setHumidityOut(86);
        w.setWindSpeed(10);
        w.setWindDirection("NNE");
        w.setRain24h(0.3);
        w.setBarometer(1013.25);
        settings.setRssFile(goldenPath("rss/template.xml"));
    }

    TempFolder folder;
    RecordingErrors errors;
    RecordingMessageBoxes boxes;
    FixedClock clock{kNow};
    Environment environment{errors, boxes, clock};
    SettingsModel settings;
    WeatherSource source{environment};
    RssExporter exporter{settings, environment};
};

// To regenerate the golden file: NIMBREL_UPDATE_GOLDEN=1 core_tests --gtest_filter='RssExporter*'
TEST_F(RssExporterTest, FillsTheTemplateAsTheGoldenFileShows)
{
    EXPECT_TRUE(exporter.exportRSS(source));
    EXPECT_TRUE(errors.empty()) << errors.messages().join("|").toStdString();
    expectSameAsGolden(readAll(source.exportFileName()), goldenPath("rss/expected.xml"));
}

TEST_F(RssExporterTest, ValuesInTheirForms)
{
    const auto filled = [this](const QByteArray& line) {
        return RssExporter::fillTemplate(line, source, kNow);
    };
    EXPECT_EQ(filled("~Windspeed~"), "18.5\r\n") << "10 knots in km/h";
    source.reading().setWindSpeed(0);
    EXPECT_EQ(filled("~Windspeed~"), "0.0\r\n");
    source.reading().setReadDate(QDateTime(QDate(2026, 11, 15), QTime(0, 5)));
    EXPECT_EQ(filled("~ReadTime~"), "12:05am\r\n");
    source.reading().setReadDate(QDateTime(QDate(2026, 11, 15), QTime(12, 30)));
    EXPECT_EQ(filled("~ReadTime~"), "12:30pm\r\n");
    EXPECT_EQ(filled("~NOW~"), "Sun, 15 Nov 2026 15:04:55\r\n");
    EXPECT_EQ(filled(""), "") << "an empty template gives an empty file";
    EXPECT_EQ(filled("a\nb\r\n"), "a\r\nb\r\n");

    // Values go in as the template's own encoding has them.
    source.setSourceName(QString::fromUtf8("Zürich"));
    EXPECT_EQ(filled("~SourceName~"), "Z\xc3\xbcrich\r\n");
    EXPECT_EQ(filled("<?xml encoding=\"ISO-8859-1\"?>~SourceName~"), "<?xml encoding=\"ISO-8859-1\"?>Z\xfcrich\r\n");
    EXPECT_EQ(filled("\xb0 ~SourceName~"), "\xb0 Z\xfcrich\r\n") << "a single-byte template";
}

TEST_F(RssExporterTest, NoExportFileDoesNothing)
{
    source.setExportFileName("");
    EXPECT_FALSE(exporter.exportRSS(source));
    EXPECT_TRUE(errors.empty());
}

TEST_F(RssExporterTest, OutputIsRewrittenWhole)
{
    folder.write("feed.xml", QByteArray(10000, 'x'));
    ASSERT_TRUE(exporter.exportRSS(source));
    EXPECT_FALSE(readAll(source.exportFileName()).contains('x' + QByteArray(50, 'x')));
    EXPECT_LT(readAll(source.exportFileName()).size(), 1000);
}

TEST_F(RssExporterTest, AReaderOfTheOldFileNeverSeesItEmptied)
{
    const QByteArray old = "<rss>the feed of ten minutes ago</rss>\r\n";
    folder.write("feed.xml", old);
    QFile reader(source.exportFileName());  // a web server sending the feed
    ASSERT_TRUE(reader.open(QIODevice::ReadOnly));
    ASSERT_TRUE(exporter.exportRSS(source));
    EXPECT_EQ(reader.readAll(), old) << "the old feed is replaced whole, not emptied under the reader";
    EXPECT_TRUE(readAll(source.exportFileName()).contains("Ridge"));
}

TEST_F(RssExporterTest, FailuresAreReportedOnce)
{
    settings.setRssFile(folder.file("no template.xml"));
    EXPECT_FALSE(exporter.exportRSS(source));
    settings.setRssFile(goldenPath("rss/template.xml"));
    source.setExportFileName(folder.path());  // a folder cannot be written as a file
    EXPECT_FALSE(exporter.exportRSS(source));
    const QStringList messages = errors.messages();
    ASSERT_EQ(messages.size(), 2);
    EXPECT_TRUE(messages[0].startsWith("RSS Data Export Error: \r\ncannot read the template")) << messages[0].toStdString();
    EXPECT_TRUE(messages[1].startsWith("RSS Data Export Error: \r\ncannot write")) << messages[1].toStdString();
}

}  // namespace
