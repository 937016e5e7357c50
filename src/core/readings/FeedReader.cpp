#include "core/readings/FeedReader.h"

#include "core/readings/LineReader.h"
#include "core/readings/WeatherReading.h"
#include "core/text/DateText.h"
#include "core/text/NumberText.h"

#include <array>

namespace {

constexpr double kKnotsPerKmh = 0.5399568;

// A labelled number: the value starts `offset` characters after the label.
struct NumberLabel {
    const char16_t* label;
    int offset;
    void (WeatherReading::*setter)(double);
};

const std::array<NumberLabel, 4> kNumbersBeforeWind = {{
    {u"Temperature:", 17, &WeatherReading::setTemperatureOut},
    {u"Dew point:", 15, &WeatherReading::setDewpoint},
    {u"Pressure:", 14, &WeatherReading::setBarometer},
    {u"Rain:", 9, &WeatherReading::setRain24h},
}};
const NumberLabel kHumidity = {u"Relative humidity:", 22, &WeatherReading::setHumidityOut};

void readNumber(const QString& line, const NumberLabel& label, WeatherReading& reading)
{
    const qsizetype p = line.indexOf(QStringView(label.label));
    if (p >= 0)
        (reading.*label.setter)(NumberText::leadingNumber(QStringView(line).mid(p + label.offset)));
}

// "Wind:" followed by "NNE at 20 km/h": direction, speed, unit.
void readWind(const QString& line, WeatherReading& reading)
{
    const qsizetype p = line.indexOf(u"Wind:");
    if (p < 0)
        return;
    const QString rest = line.mid(p + 9).trimmed();
    reading.setWindDirectionVerbatim(rest);
    const qsizetype at = rest.indexOf(u"at");
    if (at < 0)
        return;
    reading.setWindSpeed(NumberText::leadingNumber(QStringView(rest).mid(at + 2)));
    reading.setWindDirectionVerbatim(rest.left(at).trimmed());
    if (line.contains(u"km/h"))
        reading.setWindSpeed(reading.windSpeed() * kKnotsPerKmh);
}

// "<pubDate>Sun, 15 Nov 2026 ...": the 11 characters "15 Nov 2026" give the day.
void readPubDate(const QString& line, WeatherReading& reading, const QDateTime& now)
{
    const qsizetype p = line.indexOf(u"<pubDate>");
    if (p < 0)
        return;
    const auto date = DateText::parseDateTime(line.mid(p + 14, 11));
    reading.setReadDate(date ? QDateTime(date->date(), QTime(0, 0)) : QDateTime(now.date(), QTime(0, 0)));
}

// The title's time of day "h:mm am" ends 10 characters before "T</title>".
// A two-digit hour starts one character earlier, so the 8 characters from
// there are tried first.
std::optional<QTime> titleTime(const QString& line, qsizetype q)
{
    if (q >= 11) {
        if (const auto time = DateText::parseTime(line.mid(q - 11, 8).trimmed()))
            return time;
    }
    if (q < 10)
        return std::nullopt;
    return DateText::parseTime(line.mid(q - 10, 7).trimmed());
}

// Whole minutes from `from` to `to`, counted as minute boundaries crossed.
qint64 minutesBetween(const QDateTime& from, const QDateTime& to)
{
    const qint64 fromMinute = from.toSecsSinceEpoch() / 60 - (from.toSecsSinceEpoch() % 60 < 0 ? 1 : 0);
    const qint64 toMinute = to.toSecsSinceEpoch() / 60 - (to.toSecsSinceEpoch() % 60 < 0 ? 1 : 0);
    return toMinute - fromMinute;
}

// Returns true when the line was a title line with a valid time.
bool readTitleTime(const QString& line, WeatherReading& reading, const QDateTime& now)
{
    if (!line.contains(u"<title>Current weather for"))
        return false;
    const qsizetype q = line.indexOf(u"T</title>");
    if (q < 0)
        return false;
    const auto time = titleTime(line, q);
    if (!time)
        return false;

    // Added to the day of an earlier <pubDate> line, or to whatever the reading held.
    const QDateTime day = reading.readDate().isValid() ? reading.readDate()
                                                       : QDateTime(DateText::zeroDate(), QTime(0, 0));
    const int minutes = time->hour() * 60 + time->minute();
    QDateTime when = day.addSecs(qint64(minutes) * 60);
    const qint64 ahead = minutesBetween(now, when);
    if (ahead > 0 && ahead < 60)
        when = when.addSecs(-3600);  // the feed's clock runs an hour ahead
    else if (ahead >= 60)
        when = when.addDays(-1);     // the time belongs to the day before
    reading.setReadDate(when);
    return true;
}

}  // namespace

ReadOutcome readFeed(LineReader& lines, WeatherReading& reading, const QDateTime& now)
{
    ReadOutcome outcome;
    while (auto rawLine = lines.next()) {
        const QString line = rawLine->replace(u'&', u' ');
        for (const NumberLabel& label : kNumbersBeforeWind)
            readNumber(line, label, reading);
        readWind(line, reading);
        readNumber(line, kHumidity, reading);
        readPubDate(line, reading, now);
        if (readTitleTime(line, reading, now))
            outcome.result = true;
    }
    outcome.error = lines.error();
    if (!outcome.error.isEmpty())
        outcome.result = false;
    return outcome;
}
