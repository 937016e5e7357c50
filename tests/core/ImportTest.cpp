#include "DatabaseFixture.h"

#include "../mdb/AccessCheck.h"
#include "core/db/DatabaseSession.h"
#include "core/import/HistoryImport.h"
#include "core/import/PageTextReader.h"
#include "core/import/StationHistoryReader.h"

#include <QBuffer>
#include <QFile>
#include <QtEndian>

#include <cstring>

namespace {

// One observation of a page in the page's own layout: the row line with
// the day name at position 26 and the time at 30, and its eleven value
// lines, each value right after its marker's closing quote and ">".
struct Observation {
    const char* day;
    const char* time;
    const char* direction;
    const char* speed;  // km/h
    const char* temperature;
    const char* dewpoint;
    const char* feelsLike;
    const char* humidity;
    const char* rain;
    const char* pressure;
};

QByteArray pageOf(const QString& heading, const std::vector<Observation>& observations)
{
    QByteArray page = "<html><body>\n<div style=\"padding: 3px;\">" + heading.toLatin1() + "</span></div>\n<table>\n";
    for (const Observation& o : observations) {
        const QByteArray row = QByteArray("<tr><td align=\"left\">").leftJustified(25, 'x') + o.day + " " + o.time +
                               " EST</td>\n";
        Q_ASSERT(row.indexOf(o.day) == 25 && row.indexOf(o.time) == 29);
        page += row;
        // No direction: the line ends after the marker (a page's calm rows).
        page += QByteArray("<td class=\"text_wind\">") + o.direction + (*o.direction ? "</td>\n" : "\n");
        page += QByteArray("<td class=\"text_wind\">") + o.speed + "</td>\n";
        page += "<td>(gust)</td>\n";
        page += QByteArray("<td class=\"text_tempdb\">") + o.temperature + "</td>\n";
        page += QByteArray("<td class=\"text_tempdp\">") + o.dewpoint + "</td>\n";
        page += QByteArray("<td align=\"right\">") + o.feelsLike + "</td>\n";
        page += QByteArray("<td align=\"right\">") + o.humidity + "</td>\n";
        page += "<td>(rain since)</td>\n";
        page += QByteArray("<td align=\"right\">") + o.rain + "</td>\n";
        page += "<td>(cloud)</td>\n";
        page += QByteArray("<td align=\"right\">") + o.pressure + "</td></tr>\n";
    }
    return page + "</table></body></html>\n";
}

// A history record in the station program's layout.
QByteArray record(const QDateTime& time, float pressure, float windMs, qint32 direction, float rainTotal,
                  float outTemperature, float outHumidity)
{
    QByteArray bytes(StationHistoryReader::kRecordSize, '\0');
    const double days = double(QDate(1899, 12, 30).daysTo(time.date())) + time.time().msecsSinceStartOfDay() / 86400000.0;
    qToLittleEndian(days, bytes.data());
    const auto put = [&bytes](int offset, float value) { qToLittleEndian(value, bytes.data() + offset); };
    put(8, pressure - 24);
    put(12, pressure);
    put(16, windMs);
    qToLittleEndian(direction, bytes.data() + 20);
    put(24, 51.0f);  // no gust
    put(28, rainTotal);
    put(36, 21.5f);
    put(40, outTemperature);
    put(44, 40.0f);
    put(48, outHumidity);
    return bytes;
}

class ImportTest : public DatabaseFixture {
protected:
    void SetUp() override
    {
        DatabaseFixture::SetUp();
        clock.set(QDateTime(QDate(2026, 11, 23), QTime(12, 0)));
    }

    ImportOutcome importPage(const QByteArray& page, const HistoryImport::Progress& progress = {})
    {
        QBuffer buffer;
        buffer.setData(page);
        buffer.open(QIODevice::ReadOnly);
        PageTextReader reader(buffer, clock.now().date());
        return HistoryImport::run(reader, path, 3, environment, progress);
    }

    ImportOutcome importHistory(const QString& file, int cycle = 0, const HistoryImport::Progress& progress = {})
    {
        QFile input(file);
        EXPECT_TRUE(input.open(QIODevice::ReadOnly));
        QString error;
        EXPECT_TRUE(StationHistoryReader::inspect(input, clock.now(), error)) << error.toStdString();
        StationHistoryReader reader(input, clock.now(), cycle);
        return HistoryImport::run(reader, path, 3, environment, progress);
    }

    // History's rows as mdbtools reads them, in storage order.
    MdbTools::Export history() const { return exported("History"); }
};

const Observation kRecent{"Mon", "01:00", "NNE", "20", "12.5", "-1.5", "10.2", "87", "0.4", "1012.3"};
const Observation kMidnight{"Sun", "23:30", "N</", "9", "11.0", "-2.0", "9.8", "90", "0", "1012.9"};
const Observation kEarlier{"Sun", "23:00", "", "0", "10.5", "-2.2", "10.5", "91", "0.2", "1013.0"};

}  // namespace

// Every value of a hand-made page lands in its column: positions, markup,
// km/h to knots, rain carried into the older row, the day before midnight.
TEST_F(ImportTest, PageTextRowsAcrossMidnight)
{
    const ImportOutcome outcome = importPage(pageOf("Monday November 23, 2026", {kRecent, kMidnight, kEarlier}));
    ASSERT_TRUE(outcome.ok()) << outcome.problem.toStdString();
    EXPECT_EQ(outcome.counts.stored, 3);
    const MdbTools::Export rows = history();
    ASSERT_EQ(rows.rows.size(), 3u);
    EXPECT_EQ(cell(rows, 0, "DateText"), "23.11.2026");
    EXPECT_EQ(cell(rows, 0, "TimeText"), "01:00");
    EXPECT_EQ(cell(rows, 0, "WindDir"), "NNE");
    EXPECT_NEAR(std::stod(cell(rows, 0, "WindSpeed")), 10.79913606, 1e-6);
    EXPECT_EQ(cell(rows, 0, "OutTemperature"), "12.5");
    EXPECT_EQ(cell(rows, 0, "Dewpoint"), "-1.5");
    EXPECT_EQ(cell(rows, 0, "Windchill"), "10.2");
    EXPECT_EQ(cell(rows, 0, "OutHumidity"), "87");
    EXPECT_EQ(cell(rows, 0, "Rain24Hr"), "0.4");
    EXPECT_EQ(cell(rows, 0, "Pressure"), "1012.3");
    EXPECT_EQ(cell(rows, 0, "SourceID"), "3");
    for (const char* zero : {"InTemperature", "InHumidity", "RainTotal", "Rain1Hr", "BarTrend", "Stability", "Storm"})
        EXPECT_EQ(cell(rows, 0, zero), "0") << zero;
    EXPECT_EQ(cell(rows, 1, "DateText"), "22.11.2026") << "23:30 is the day before 01:00";
    EXPECT_EQ(cell(rows, 1, "WindDir"), "N") << "markup stripped";
    EXPECT_EQ(cell(rows, 1, "Rain24Hr"), "0.4") << "a row with 0 takes the newer row's rain";
    EXPECT_EQ(cell(rows, 2, "WindDir"), "<null>");
    EXPECT_EQ(cell(rows, 2, "Rain24Hr"), "0.2");
}

// The same minute again is left out and not counted; a page without rows
// imports nothing; a heading that is none of the last 101 days stops the
// import with the rows before it kept.
TEST_F(ImportTest, PageTextDuplicatesEmptyPagesAndUnknownDates)
{
    ASSERT_TRUE(importPage(pageOf("Monday November 23, 2026", {kMidnight})).ok());
    const ImportOutcome again = importPage(pageOf("Monday November 23, 2026", {kRecent, kMidnight}));
    EXPECT_EQ(again.counts.stored, 1);
    EXPECT_EQ(again.counts.duplicates, 1);
    EXPECT_EQ(history().rows.size(), 2u);

    const ImportOutcome none = importPage("<html><body><p>Another site's page</p></body></html>\n");
    EXPECT_TRUE(none.ok());
    EXPECT_EQ(none.counts.read, 0);
    EXPECT_EQ(none.counts.stored, 0);

    QByteArray twoDays = pageOf("Monday November 23, 2026", {kEarlier});
    twoDays += pageOf("Friday July 3, 2026", {kRecent});  // 143 days back
    const ImportOutcome stopped = importPage(twoDays);
    EXPECT_FALSE(stopped.ok());
    EXPECT_TRUE(stopped.problem.contains("Date unable to be read")) << stopped.problem.toStdString();
    EXPECT_TRUE(stopped.problem.contains("Friday July 3, 2026"));
    EXPECT_EQ(stopped.counts.stored, 1) << "the row before the heading is kept";

    QByteArray cut = pageOf("Monday November 23, 2026", {kRecent});
    cut.truncate(cut.indexOf("text_tempdp"));
    const ImportOutcome truncated = importPage(cut);
    EXPECT_TRUE(truncated.problem.contains("ends within the observation")) << truncated.problem.toStdString();
    EXPECT_FALSE(importPage(QByteArray("GIF89a\0\0\x01", 9) + pageOf("Monday November 23, 2026", {kRecent})).ok());
}

// The first and last records of a real station's history, checked against
// values worked out from their bytes; a record with rain in the hour before
// it; and importing again adds nothing.
TEST_F(ImportTest, StationHistoryFromFixtures)
{
    SKIP_WITHOUT_FIXTURES();
    const ImportOutcome outcome = importHistory(fixturePath("history-hwpro-ws3600.dat"));
    ASSERT_TRUE(outcome.ok()) << outcome.problem.toStdString();
    EXPECT_EQ(outcome.counts.read, 20881);
    EXPECT_EQ(outcome.counts.stored, 20881);
    EXPECT_EQ(outcome.counts.bad, 0);
    const MdbTools::Export rows = history();
    ASSERT_EQ(rows.rows.size(), 20881u);
    EXPECT_EQ(cell(rows, 0, "DateText"), "17.04.2005");
    EXPECT_EQ(cell(rows, 0, "TimeText"), "20:30");
    EXPECT_EQ(cell(rows, 0, "Pressure"), "1017.6");
    EXPECT_EQ(cell(rows, 0, "WindSpeed"), "0.4");  // 0.2 m/s
    EXPECT_EQ(cell(rows, 0, "WindDir"), "WNW");     // index 13
    EXPECT_EQ(cell(rows, 0, "InHumidity"), "30");
    EXPECT_EQ(cell(rows, 0, "OutHumidity"), "65");
    EXPECT_EQ(cell(rows, 0, "Dewpoint"), "11.9");   // Magnus, 18.6 °C at 65 %
    EXPECT_NEAR(std::stod(cell(rows, 0, "Windchill")), 18.6, 1e-5);  // too warm for wind chill
    EXPECT_EQ(cell(rows, 0, "BarTrend"), "-1");
    const std::size_t last = rows.rows.size() - 1;
    EXPECT_EQ(cell(rows, last, "DateText"), "02.05.2005");
    EXPECT_EQ(cell(rows, last, "TimeText"), "08:30");
    EXPECT_EQ(cell(rows, last, "WindSpeed"), "5.2");  // 2.7 m/s
    EXPECT_EQ(cell(rows, last, "WindDir"), "NW");
    EXPECT_EQ(cell(rows, last, "Windchill"), "1.3");  // 3.8 °C in 9.7 km/h
    EXPECT_EQ(cell(rows, last, "Dewpoint"), "-4.7");
    EXPECT_NEAR(std::stod(cell(rows, last, "RainTotal")), 32.116, 1e-4);
    EXPECT_EQ(cell(rows, 2610, "TimeText"), "16:00");
    EXPECT_EQ(cell(rows, 2610, "DateText"), "19.04.2005");
    EXPECT_NEAR(std::stod(cell(rows, 2610, "Rain1Hr")), 9.324, 1e-3);
    EXPECT_NEAR(std::stod(cell(rows, 2610, "Rain24Hr")), 24.864, 1e-3);

    const ImportOutcome again = importHistory(fixturePath("history-hwpro-ws3600.dat"));
    EXPECT_EQ(again.counts.stored, 0);
    EXPECT_EQ(again.counts.duplicates, 20881);
    if (AccessCheck::available()) {
        const AccessCheck::Outcome checked = AccessCheck::check(path.toStdString());
        EXPECT_TRUE(checked.opened && checked.problems.empty()) << checked.output;
    }
}

// Cancelled after the first batch and imported again, a file gives the
// rows one import gives; one row per log cycle keeps the first of each ten
// minutes while the rain of the hour still counts every record.
TEST_F(ImportTest, StationHistoryCancelledThinnedAndResumedFromFixtures)
{
    SKIP_WITHOUT_FIXTURES();
    const ImportOutcome cancelled = importHistory(fixturePath("history-hwpro-ws3600.dat"), 10,
                                                  [](const ImportCounts&, double) { return false; });
    EXPECT_TRUE(cancelled.cancelled);
    EXPECT_EQ(cancelled.counts.stored, HistoryImport::kBatch);
    const ImportOutcome rest = importHistory(fixturePath("history-hwpro-ws3600.dat"), 10);
    EXPECT_EQ(rest.counts.duplicates, HistoryImport::kBatch);
    EXPECT_EQ(rest.counts.thinned + rest.counts.duplicates + rest.counts.stored, 20881);
    const MdbTools::Export rows = history();
    EXPECT_EQ(qint64(rows.rows.size()), cancelled.counts.stored + rest.counts.stored);
    EXPECT_EQ(rows.rows.size(), 2089u);  // the ten-minute stretches from 20:30 on the 17th to 08:30 on 2 May
    for (std::size_t row = 0; row < rows.rows.size(); row += 97)
        EXPECT_EQ(cell(rows, row, "TimeText").back(), '0') << row;
}

// Records no station can have written are left out and counted; a file cut
// within a record says where; earlier 36-byte histories and other files are
// refused with what they are.
TEST_F(ImportTest, StationHistoryBadRecordsAndOtherFiles)
{
    const QDateTime start(QDate(2026, 11, 1), QTime(9, 0));
    QByteArray file;
    file += record(start, 1013, 2, 0, 10.0f, 5, 80);
    file += record(start.addSecs(60), 1013, 2, 16, 10.0f, 5, 80);    // no such direction
    file += record(start.addSecs(120), 1013, 2, 1, 10.0f, 5, 101);   // humidity above 100
    file += record(start.addSecs(180), 700, 2, 1, 10.0f, 5, 80);     // pressure
    file += record(start.addSecs(240), 1013, 120, 1, 10.0f, 5, 80);  // wind
    file += record(QDateTime(QDate(1985, 1, 1), QTime(0, 0)), 1013, 2, 1, 10.0f, 5, 80);
    file += record(start.addDays(30), 1013, 2, 1, 10.0f, 5, 80);     // after tomorrow
    file += record(start.addSecs(300), 1013, 2, 1, 2.5f, 5, 80);     // the counter was reset
    file += record(start.addSecs(360), 1013, 2, 1, 3.0f, 5, 80).left(20);
    const QString damaged = folder.write("history.dat", file);

    QFile input(damaged);
    ASSERT_TRUE(input.open(QIODevice::ReadOnly));
    StationHistoryReader reader(input, clock.now());
    const ImportOutcome outcome = HistoryImport::run(reader, path, 3, environment);
    EXPECT_EQ(outcome.counts.stored, 2);
    EXPECT_EQ(outcome.counts.bad, 7);
    EXPECT_TRUE(outcome.problem.contains("record 9 is cut short")) << outcome.problem.toStdString();
    const MdbTools::Export rows = history();
    ASSERT_EQ(rows.rows.size(), 2u);
    EXPECT_EQ(cell(rows, 1, "Rain1Hr"), "2.5") << "rain after a reset counts from 0";

    QString error;
    QByteArray earlier;
    for (int i = 0; i < 3; ++i)
        earlier += record(start.addSecs(60 * i), 1013, 2, 1, 1, 5, 80).left(36);
    QFile old(folder.write("old.dat", earlier));
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_FALSE(StationHistoryReader::inspect(old, clock.now(), error));
    EXPECT_TRUE(error.contains("36-byte")) << error.toStdString();
    QFile text(folder.write("page.txt", pageOf("Monday November 23, 2026", {kRecent})));
    ASSERT_TRUE(text.open(QIODevice::ReadOnly));
    EXPECT_FALSE(StationHistoryReader::inspect(text, clock.now(), error));
    EXPECT_TRUE(error.contains("not a station history")) << error.toStdString();
    // A database another task is writing: the import waits a moment, then says so.
    {
        auto writing = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(writing);
        environment.lockWait = std::chrono::milliseconds(50);
        QFile again(damaged);
        ASSERT_TRUE(again.open(QIODevice::ReadOnly));
        StationHistoryReader locked(again, clock.now());
        const ImportOutcome refused = HistoryImport::run(locked, path, 3, environment);
        EXPECT_FALSE(refused.ok());
        EXPECT_TRUE(refused.problem.contains("in use")) << refused.problem.toStdString();
        EXPECT_EQ(refused.counts.stored, 0);
    }
    QFile empty(folder.write("empty.dat", {}));
    ASSERT_TRUE(empty.open(QIODevice::ReadOnly));
    EXPECT_FALSE(StationHistoryReader::inspect(empty, clock.now(), error));
    EXPECT_TRUE(error.contains("empty"));
}
