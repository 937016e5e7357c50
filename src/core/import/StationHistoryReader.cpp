#include "core/import/StationHistoryReader.h"

#include "core/readings/Meteorology.h"
#include "core/text/Compass.h"
#include "core/import/MinuteSet.h"

#include <QtEndian>

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

constexpr int kEarlierRecordSize = 36;
constexpr qsizetype kRecordsPerRead = 4096;

// A float as the shortest decimal that reads back as it (24.1f, not
// 24.100000381), so that stored values are the ones the station showed.
double decimal(float value)
{
    if (!std::isfinite(value))
        return double(value);
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, value);
    double result = 0;
    std::from_chars(text, written.ptr, result);
    return result;
}

double rounded(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return std::round(value * scale) / scale;
}

float floatAt(const char* record, int offset)
{
    const quint32 bits = qFromLittleEndian<quint32>(record + offset);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

double daysAt(const char* record)
{
    const quint64 bits = qFromLittleEndian<quint64>(record);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The minutes a station can have recorded, seen at `now`: from 1990 to a
// day after now.
struct Plausible {
    static Plausible at(const QDateTime& now)
    {
        return {StoredMinute::of(QDateTime(QDate(1990, 1, 1), QTime(0, 0))), StoredMinute::of(now.addDays(1))};
    }

    // The minute a day count (as the database counts days) falls on; none
    // outside the span.
    std::optional<qint64> minuteOf(double days) const
    {
        if (!std::isfinite(days))
            return std::nullopt;
        const double minutes = std::round(days * 1440);
        if (minutes < double(earliest) || minutes > double(latest))
            return std::nullopt;
        return qint64(minutes);
    }

    qint64 earliest;
    qint64 latest;
};


}  // namespace

struct StationHistoryReader::Record {
    double days;
    float absolutePressure, relativePressure, wind;
    qint32 direction;
    float gust, rainTotal, rainNew, inTemperature, outTemperature, inHumidity, outHumidity;

    static Record at(const char* bytes)
    {
        Record r{};
        r.days = daysAt(bytes);
        r.absolutePressure = floatAt(bytes, 8);
        r.relativePressure = floatAt(bytes, 12);
        r.wind = floatAt(bytes, 16);
        r.direction = qFromLittleEndian<qint32>(bytes + 20);
        r.gust = floatAt(bytes, 24);
        r.rainTotal = floatAt(bytes, 28);
        r.rainNew = floatAt(bytes, 32);
        r.inTemperature = floatAt(bytes, 36);
        r.outTemperature = floatAt(bytes, 40);
        r.inHumidity = floatAt(bytes, 44);
        r.outHumidity = floatAt(bytes, 48);
        return r;
    }

    bool measurable() const
    {
        const auto within = [](float value, float low, float high) { return value >= low && value <= high; };
        return direction >= 0 && direction <= 15 && within(inHumidity, 0, 100) && within(outHumidity, 0, 100) &&
               within(relativePressure, 800, 1100) && within(wind, 0, 100) && std::isfinite(inTemperature) &&
               std::isfinite(outTemperature) && std::isfinite(rainTotal) && rainTotal >= 0;
    }
};

std::optional<StationHistoryReader::Contents> StationHistoryReader::inspect(QIODevice& file, const QDateTime& now,
                                                                            QString& error)
{
    const qint64 size = file.size();
    if (size == 0) {
        error = "the file is empty";
        return std::nullopt;
    }
    const QByteArray head = file.peek(2 * kRecordSize);
    const Plausible plausible = Plausible::at(now);
    const auto plausibleAt = [&head, &plausible](int offset) {
        return head.size() >= offset + 8 && plausible.minuteOf(daysAt(head.constData() + offset)).has_value();
    };
    const bool newLayout = size >= kRecordSize && plausibleAt(0) && (size < 2 * kRecordSize || plausibleAt(kRecordSize));
    const bool earlierLayout = size % kEarlierRecordSize == 0 && plausibleAt(0) &&
                               (size < 2 * kEarlierRecordSize || plausibleAt(kEarlierRecordSize));
    if (earlierLayout && (!newLayout || size % kRecordSize != 0)) {
        error = "this history holds the 36-byte records of earlier versions of the station program, which "
                "Nimbrel cannot read; save it again with a later version (56-byte records)";
        return std::nullopt;
    }
    if (!newLayout) {
        error = "this is not a station history file (history.dat with 56-byte records)";
        return std::nullopt;
    }
    Contents contents;
    contents.records = size / kRecordSize;
    contents.first = StoredMinute::time(*plausible.minuteOf(daysAt(head.constData())));
    if (!file.seek((contents.records - 1) * kRecordSize)) {
        error = file.errorString();
        return std::nullopt;
    }
    const QByteArray last = file.read(kRecordSize);
    file.seek(0);
    if (const auto minute = last.size() == kRecordSize ? plausible.minuteOf(daysAt(last.constData())) : std::nullopt)
        contents.last = StoredMinute::time(*minute);
    return contents;
}

StationHistoryReader::StationHistoryReader(QIODevice& file, const QDateTime& now, int cycleMinutes)
    : file_(file), cycleMinutes_(cycleMinutes)
{
    const Plausible plausible = Plausible::at(now);
    earliest_ = plausible.earliest;
    latest_ = plausible.latest;
}

double StationHistoryReader::progress() const
{
    const qint64 size = file_.size();
    return size > 0 ? double(file_.pos() - (buffer_.size() - offset_)) / double(size) : 1.0;
}

// More records into the buffer; false at the end of the file.
bool StationHistoryReader::fill()
{
    buffer_ = buffer_.mid(offset_) + file_.read(kRecordsPerRead * kRecordSize);
    offset_ = 0;
    if (buffer_.size() >= kRecordSize)
        return true;
    if (!buffer_.isEmpty()) {
        ++read_;
        ++bad_;
        problem_ = QString("record %1 is cut short: the file ends %2 bytes into it")
                       .arg(read_)
                       .arg(buffer_.size());
        buffer_.clear();
    }
    return false;
}

std::optional<ImportRow> StationHistoryReader::next()
{
    while (buffer_.size() - offset_ >= kRecordSize || fill()) {
        const Record record = Record::at(buffer_.constData() + offset_);
        offset_ += kRecordSize;
        ++read_;
        if (std::optional<ImportRow> row = rowOf(record))
            return row;
    }
    return std::nullopt;
}

std::optional<ImportRow> StationHistoryReader::rowOf(const Record& record)
{
    const std::optional<qint64> minute = Plausible{earliest_, latest_}.minuteOf(record.days);
    if (!minute || !record.measurable()) {
        ++bad_;
        return std::nullopt;
    }
    ImportRow row;
    countRain(*minute, decimal(record.rainTotal), row);  // every record counts for the rain
    if (cycleMinutes_ > 0) {
        const qint64 slot = *minute / cycleMinutes_;
        if (slot == lastSlot_) {
            ++thinned_;
            return std::nullopt;
        }
        lastSlot_ = slot;
    }
    row.time = StoredMinute::time(*minute);
    row.pressure = decimal(record.relativePressure);
    row.inTemperature = decimal(record.inTemperature);
    row.inHumidity = decimal(record.inHumidity);
    row.outTemperature = decimal(record.outTemperature);
    row.outHumidity = decimal(record.outHumidity);
    row.windSpeed = rounded(decimal(record.wind) * Meteorology::kKnotsPerMetrePerSecond, 1);
    row.windDirection = Compass::text(record.direction + 1);
    row.dewpoint = row.outHumidity > 0 ? rounded(Meteorology::dewpoint(row.outTemperature, row.outHumidity), 1)
                                        : row.outTemperature;
    row.windChill = rounded(Meteorology::windChill(row.outTemperature, row.windSpeed), 1);
    row.trend = row.stability = row.storm = -1;
    return row;
}

// The rain of the last hour and day up to `minute`, from the counter.
void StationHistoryReader::countRain(qint64 minute, double total, ImportRow& row)
{
    double fallen = 0;
    if (lastTotal_)
        fallen = total < *lastTotal_ ? total : total - *lastTotal_;  // a reset counts from 0
    lastTotal_ = total;
    rain_.emplace_back(minute, fallen);
    rainDay_ += fallen;
    while (!rain_.empty() && rain_.front().first <= minute - 1440) {
        rainDay_ -= rain_.front().second;
        rain_.pop_front();
    }
    // The hour's sum from the kept minutes each time: few, and free of drift.
    double rainHour = 0;
    for (auto it = rain_.rbegin(); it != rain_.rend() && it->first > minute - 60; ++it)
        rainHour += it->second;
    row.rainTotal = total;
    row.rain1h = rounded(rainHour, 3);
    row.rain24h = rounded(std::max(0.0, rainDay_), 3);
}
