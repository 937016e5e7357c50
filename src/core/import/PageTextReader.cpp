#include "core/import/PageTextReader.h"

#include "core/text/DateText.h"
#include "core/text/NumberText.h"

#include <array>

namespace {

constexpr double kKnotsPerKmh = 0.539956803;
constexpr int kDaysSearched = 100;
// Time-zone endings of the rows' times, blank and "<" included.
const std::array<const char*, 6> kZoneMarkers = {" WST<", " WDT<", " CST<", " CDT<", " EDT<", " EST<"};

QString stripMarkup(QString text)
{
    text.remove(u'<');
    text.remove(u'>');
    text.remove(u'/');
    return text;
}

// The `length` characters from position `offset` after the start of
// `marker` in `line` (positions from 1: offset 11 after a marker at 5 is
// the 16th character), without markup; none when the marker is missing.
std::optional<QString> after(const QString& line, const char* marker, int offset, int length)
{
    const qsizetype at = line.indexOf(QLatin1String(marker));
    if (at < 0)
        return std::nullopt;
    return stripMarkup(line.mid(at + offset, length));
}

std::optional<double> numberAfter(const QString& line, const char* marker, int offset, int length)
{
    const std::optional<QString> text = after(line, marker, offset, length);
    if (!text)
        return std::nullopt;
    return NumberText::leadingNumber(*text);
}

bool isObservation(const QString& line)
{
    for (const char* marker : kZoneMarkers) {
        if (line.contains(QLatin1String(marker)))
            return true;
    }
    return false;
}

}  // namespace

PageTextReader::PageTextReader(QIODevice& file, const QDate& today) : file_(file), today_(today), date_(today)
{
    if (file_.peek(4096).contains('\0'))
        problem_ = "this is not a text file (it holds binary data)";
}

double PageTextReader::progress() const
{
    const qint64 size = file_.size();
    return size > 0 ? double(file_.pos()) / double(size) : 1.0;
}

std::optional<QString> PageTextReader::readLine()
{
    if (!problem_.isEmpty() || file_.atEnd())
        return std::nullopt;
    ++lineNumber_;
    QByteArray bytes = file_.readLine();
    while (bytes.endsWith('\n') || bytes.endsWith('\r'))
        bytes.chop(1);
    // One byte, one character: the page's positions count bytes.
    return QString::fromLatin1(bytes).replace(u'&', u' ');
}

std::optional<ImportRow> PageTextReader::next()
{
    while (const std::optional<QString> line = readLine()) {
        if (line->contains(QLatin1String("3px;")) && !readHeading(*line))
            return std::nullopt;
        if (!line->contains(QLatin1String("<td align"))) {
            firstRow_ = false;
            continue;
        }
        if (!isObservation(*line))
            continue;
        ++read_;
        std::optional<ImportRow> row = observation(*line);
        firstRow_ = false;
        if (!problem_.isEmpty())
            return std::nullopt;
        if (!row) {
            ++bad_;
            continue;
        }
        return row;
    }
    return std::nullopt;
}

// The date heading: "Sunday November 22, 2026" between "3px;" and "</span>".
bool PageTextReader::readHeading(const QString& line)
{
    const qsizetype p = line.indexOf(QLatin1String("3px;")) + 1;   // positions from 1
    const qsizetype q = line.indexOf(QLatin1String("</span>")) + 1;
    if (q <= p + 6) {
        date_ = today_;
        return true;
    }
    const QString heading = line.mid(p + 5, q - p - 6);
    dayName_ = heading.left(3);
    for (int back = 0; back <= kDaysSearched; ++back) {
        const QDate day = today_.addDays(-back);
        if (DateText::format(day, "dddd MMMM d, yyyy") == heading) {
            date_ = day;
            return true;
        }
    }
    dateNotFound_ = true;
    problem_ = QString("line %1: Date unable to be read (\"%2\" is none of the %3 days up to %4)")
                   .arg(lineNumber_)
                   .arg(heading)
                   .arg(kDaysSearched + 1)
                   .arg(DateText::format(today_, "dd.MM.yyyy"));
    return false;
}

// An observation: its row line, then its values on the lines below. None
// when the row is unusable (no temperature, no time) or the file ends
// within it (problem_ says so).
std::optional<ImportRow> PageTextReader::observation(const QString& rowLine)
{
    const qint64 first = lineNumber_;
    if (const QString day = rowLine.mid(25, 3); day != dayName_) {
        date_ = date_.addDays(-1);  // newest first: a new day is the day before
        dayName_ = DateText::format(date_, "ddd");
    }
    const std::optional<QTime> time = DateText::parseTime(rowLine.mid(29, 5).trimmed());

    std::array<QString, 11> lines;  // the row's value lines, 1 to 11 below it
    for (QString& line : lines) {
        std::optional<QString> next = readLine();
        if (!next) {
            if (problem_.isEmpty())
                problem_ = QString("line %1: the file ends within the observation that starts there").arg(first);
            return std::nullopt;
        }
        line = *next;
    }
    ImportRow row;
    row.windDirection = after(lines[0], "text_wind", 11, 3).value_or(QString()).trimmed();
    row.windSpeed = numberAfter(lines[1], "text_wind", 11, 2).value_or(0) * kKnotsPerKmh;
    const std::optional<double> temperature = numberAfter(lines[3], "text_tempdb", 13, 4);
    row.dewpoint = numberAfter(lines[4], "text_tempdp", 13, 4).value_or(0);
    row.windChill = numberAfter(lines[5], "right", 7, 4).value_or(0);
    row.outHumidity = numberAfter(lines[6], "right", 7, 4).value_or(0);
    double rain = numberAfter(lines[8], "right", 7, 4).value_or(0);
    carryRain(rain);
    row.rain24h = rain;
    row.pressure = numberAfter(lines[10], "right", 7, 6).value_or(0);
    if (!temperature || !time || !time->isValid())
        return std::nullopt;
    row.outTemperature = *temperature;
    row.time = QDateTime(date_, QTime(time->hour(), time->minute()));
    return row;
}

// A row that shows no rain below (older than) one that does takes the
// newer value: the page's rain is a running total.
void PageTextReader::carryRain(double& rain)
{
    if (firstRow_)
        previousRain_ = rain;
    else if (rain == 0 && previousRain_ > 0)
        rain = previousRain_;
    else
        previousRain_ = rain;
}
