#include "core/readings/CurrentDataReader.h"

#include "core/readings/LineReader.h"
#include "core/readings/WeatherReading.h"
#include "core/text/DateText.h"
#include "core/text/NumberText.h"

#include <QRegularExpression>
#include <QTimeZone>
#include <array>

namespace {

// What a section's value sets in the reading.
struct Target {
    void (WeatherReading::*setNumber)(double) = nullptr;          // numeric fields
    void (WeatherReading::*setText)(const QString&) = nullptr;    // codes and the wind direction
    bool isTime = false;                                       // readDate
};

constexpr Target number(void (WeatherReading::*setter)(double)) { return Target{setter, nullptr, false}; }
constexpr Target text(void (WeatherReading::*setter)(const QString&)) { return Target{nullptr, setter, false}; }
constexpr Target readDate() { return Target{nullptr, nullptr, true}; }

// One known section. Blank-separated layout: the value is on the
// `linesAfter`-th line after the header, at 1-based column `column`; text and
// code values are `length` characters long, numbers run as far as the
// leading-number rule goes. Compact layout: the value of `key`.
struct Section {
    const char16_t* header;
    int linesAfter;
    int column;
    int length;
    const char16_t* key;
    Target target;
};

const std::array<Section, 16> kSections = {{
    {u"[time]", 4, 39, 20, u"last_actualisation", readDate()},
    {u"[weather_picture]", 2, 10, 2, u"number", text(&WeatherReading::setStabilityFromCode)},
    {u"[weather_tendency]", 3, 10, 2, u"number", text(&WeatherReading::setTrendFromCode)},
    {u"[indoor_temperature]", 1, 10, 4, u"deg_C", number(&WeatherReading::setTemperatureIn)},
    {u"[outdoor_temperature]", 1, 10, 4, u"deg_C", number(&WeatherReading::setTemperatureOut)},
    {u"[indoor_humidity]", 1, 12, 4, u"percent", number(&WeatherReading::setHumidityIn)},
    {u"[outdoor_humidity]", 1, 12, 4, u"percent", number(&WeatherReading::setHumidityOut)},
    {u"[dewpoint]", 1, 10, 4, u"deg_C", number(&WeatherReading::setDewpoint)},
    {u"[windchill]", 1, 10, 4, u"deg_C", number(&WeatherReading::setWindChill)},
    {u"[wind_speed]", 4, 8, 4, u"knt", number(&WeatherReading::setWindSpeed)},
    {u"[wind_direction]", 2, 9, 3, u"name", text(&WeatherReading::setWindDirection)},
    {u"[rain_total]", 1, 7, 4, u"mm", number(&WeatherReading::setRainTotal)},
    {u"[rain_24h]", 1, 7, 4, u"mm", number(&WeatherReading::setRain24h)},
    {u"[rain_1h]", 1, 7, 4, u"mm", number(&WeatherReading::setRain1h)},
    {u"[pressure_relative]", 1, 8, 6, u"hpa", number(&WeatherReading::setBarometer)},
    {u"[storm_alarm]", 2, 10, 2, u"number", text(&WeatherReading::setStormFromCode)},
}};

const Section* sectionFor(const QString& line)
{
    for (const Section& section : kSections) {
        if (line == QStringView(section.header))
            return &section;
    }
    return nullptr;
}

QString withoutAmpersands(QString line)
{
    return line.replace(u'&', u' ');
}

// A compact-layout value line: a key written directly against "=".
bool isCompactLine(const QString& line)
{
    static const QRegularExpression compact(QStringLiteral("^[A-Za-z0-9_]+="));
    return compact.match(line).hasMatch();
}

// The blank-separated time: 20 characters S from column 39, re-assembled as
// S[8..16] + S[5..7] + S[1..4] + S[17..20] (1-based), which turns
// "Jul 03 16:00:24 2006" into "16:00:24 03 Jul 2006".
void applyBlankSeparatedTime(const QString& line, WeatherReading& reading)
{
    const QString s = line.mid(38, 20);
    const QString assembled = s.mid(7, 9) + s.mid(4, 3) + s.mid(0, 4) + s.mid(16, 4);
    if (const auto when = DateText::parseDateTime(assembled))
        reading.setReadDate(*when);
}

void applyBlankSeparated(const Section& section, const QString& line, WeatherReading& reading)
{
    const Target& target = section.target;
    if (target.isTime)
        applyBlankSeparatedTime(line, reading);
    else if (target.setNumber)
        (reading.*target.setNumber)(NumberText::leadingNumber(QStringView(line).mid(section.column - 1)));
    else
        (reading.*target.setText)(line.mid(section.column - 1, section.length));
}

// last_actualisation: whole seconds since 1900-01-01 00:00 UTC.
void applyCompactTime(const QString& value, WeatherReading& reading)
{
    bool ok = false;
    const qint64 seconds = value.toLongLong(&ok);
    if (!ok || seconds <= 0)
        return;
    const QDateTime epoch1900(QDate(1900, 1, 1), QTime(0, 0), Qt::UTC);
    reading.setReadDate(epoch1900.addSecs(seconds).toLocalTime());
}

void applyCompact(const Section& section, const QString& value, WeatherReading& reading)
{
    if (value == u"---")
        return;  // the station has no value for this field
    const Target& target = section.target;
    if (target.isTime)
        applyCompactTime(value, reading);
    else if (target.setNumber)
        (reading.*target.setNumber)(NumberText::leadingNumber(value));
    else
        (reading.*target.setText)(value);
}

QString endOfFileInside(const LineReader& lines, const Section& section)
{
    return QStringLiteral("%1: input past end of file in section %2 (line %3); the file was cut off")
        .arg(lines.path(), QString::fromUtf16(section.header))
        .arg(lines.lineNumber());
}

// Takes the fixed number of lines after the header; the last one holds the value.
bool readBlankSeparated(LineReader& lines, const Section& section, WeatherReading& reading, QString& error)
{
    QString valueLine;
    for (int i = 0; i < section.linesAfter; ++i) {
        const auto line = lines.next();
        if (!line) {
            error = lines.error().isEmpty() ? endOfFileInside(lines, section) : lines.error();
            return false;
        }
        valueLine = withoutAmpersands(*line);
    }
    applyBlankSeparated(section, valueLine, reading);
    return true;
}

// Reads the section's key=value lines up to a blank line, the next header or
// the end of the file; the next header is left for the caller.
bool readCompact(LineReader& lines, const Section& section, WeatherReading& reading, QString& error)
{
    while (const auto peeked = lines.peek()) {
        if (peeked->trimmed().isEmpty() || peeked->startsWith(u'['))
            break;
        const QString line = withoutAmpersands(*lines.next());
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0 || QStringView(line).left(equals) != QStringView(section.key))
            continue;
        QString value = line.mid(equals + 1).trimmed();
        if (value.startsWith(u'"')) {
            if (value.size() < 2 || !value.endsWith(u'"')) {
                error = QStringLiteral("%1: line %2: value of %3 in section %4 is not closed; the file was cut off")
                            .arg(lines.path()).arg(lines.lineNumber())
                            .arg(QString::fromUtf16(section.key), QString::fromUtf16(section.header));
                return false;
            }
            value = value.mid(1, value.size() - 2);
        }
        applyCompact(section, value, reading);
    }
    if (!lines.error().isEmpty()) {
        error = lines.error();
        return false;
    }
    return true;
}

}  // namespace

ReadOutcome readCurrentData(LineReader& lines, WeatherReading& reading)
{
    ReadOutcome outcome;
    while (const auto rawLine = lines.next()) {
        outcome.result = true;
        const Section* section = sectionFor(withoutAmpersands(*rawLine));
        if (!section)
            continue;

        const auto first = lines.peek();
        if (!first) {
            outcome.error = lines.error().isEmpty() ? endOfFileInside(lines, *section) : lines.error();
            break;
        }
        const bool ok = isCompactLine(*first) ? readCompact(lines, *section, reading, outcome.error)
                                               : readBlankSeparated(lines, *section, reading, outcome.error);
        if (!ok)
            break;
    }
    if (outcome.error.isEmpty())
        outcome.error = lines.error();
    if (!outcome.error.isEmpty())
        outcome.result = false;
    return outcome;
}
