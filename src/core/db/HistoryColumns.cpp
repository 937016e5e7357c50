#include "core/db/HistoryColumns.h"

#include "core/db/ColumnValues.h"
#include "core/db/DatabaseSession.h"
#include "core/text/Compass.h"

#include <cmath>
#include <thread>

namespace {

constexpr qint64 kDaysWorthTwoThreads = 31;  // shorter ranges take less than starting a thread saves

// "hh:mm" as minutes of the day; -1 for any other text.
int minutesOf(const std::string& text)
{
    if (text.size() != 5 || text[2] != ':')
        return -1;
    const auto digit = [&text](std::size_t i) { return text[i] >= '0' && text[i] <= '9' ? text[i] - '0' : -100; };
    const int hours = digit(0) * 10 + digit(1);
    const int minutes = digit(3) * 10 + digit(4);
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59)
        return -1;
    return hours * 60 + minutes;
}

// "dd.mm.yyyy" as a Julian day number; 0 for any other text.
qint32 dayOf(const std::string& text)
{
    if (text.size() != 10 || text[2] != '.' || text[5] != '.')
        return 0;
    const auto number = [&text](std::size_t from, std::size_t length) {
        int value = 0;
        for (std::size_t i = from; i < from + length; ++i) {
            if (text[i] < '0' || text[i] > '9')
                return -1;
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    const QDate day(number(6, 4), number(3, 2), number(0, 2));
    return day.isValid() ? qint32(day.toJulianDay()) : 0;
}

double numberOf(const mdb::Value& value, bool compass)
{
    if (const auto* number = std::get_if<double>(&value))
        return *number;  // the usual case: a Double column
    if (compass) {
        const auto* text = std::get_if<std::string>(&value);
        return text ? double(Compass::code(QString::fromStdString(*text))) : std::nan("");
    }
    return ColumnValues::asNumber(value).value_or(std::nan(""));
}

mdb::Result<HistoryColumns> readPart(const QString& databasePath, qint32 sourceID, const QDateTime& from,
                                     const QDateTime& to, const QStringList& columns, bool withStability,
                                     const Environment& environment, bool withDayText)
{
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    QStringList read = QStringList(columns) << "TimeText";
    if (withStability)
        read << "Stability";
    if (withDayText)
        read << "DateText";
    auto table = (*session)->table("History", QStringList(read) << "SourceID" << "DateRead" << "Stability");
    if (!table)
        return table.error();
    const auto at = [&table](const QString& column) { return std::size_t(table->position(column)); };
    const std::size_t stampAt = at("DateRead"), textAt = at("TimeText"), stabilityAt = at("Stability");
    const std::size_t dayTextAt = withDayText ? at("DateText") : 0;
    std::vector<std::size_t> valueAt;
    std::vector<bool> compass;
    for (const QString& column : columns) {
        valueAt.push_back(at(column));
        compass.push_back(column.compare("WindDir", Qt::CaseInsensitive) == 0);
    }

    HistoryColumns rows;
    rows.values.resize(std::size_t(columns.size()));
    const auto visit = [&](const mdb::Row& row) {
        const auto* stamp = std::get_if<mdb::DateTime>(&row.values[stampAt]);
        if (!stamp)
            return true;  // a reading without a time has no place on a time axis
        const std::size_t index = rows.stamps.size();
        rows.stamps.push_back(stamp->days);
        const auto* text = std::get_if<std::string>(&row.values[textAt]);
        const int minute = text ? minutesOf(*text) : -1;
        rows.minutes.push_back(qint16(minute));
        if (minute < 0 && !mdb::isNull(row.values[textAt]))
            rows.otherTimeTexts.emplace_back(index, QString::fromStdString(mdb::toText(row.values[textAt])));
        const std::optional<double> stability =
            withStability ? ColumnValues::asNumber(row.values[stabilityAt]) : std::nullopt;
        rows.stability.push_back(stability ? qint16(*stability) : HistoryColumns::kNoStability);
        if (withDayText) {
            const auto* day = std::get_if<std::string>(&row.values[dayTextAt]);
            rows.dayTexts.push_back(day ? dayOf(*day) : 0);
        }
        for (std::size_t c = 0; c < valueAt.size(); ++c)
            rows.values[c].push_back(numberOf(row.values[valueAt[c]], compass[c]));
        return true;
    };
    mdb::Status scanned =
        (*session)->rowsBetween(*table, {{"SourceID", sourceID}}, {"DateRead", from}, to, visit, read);
    if (!scanned)
        return scanned.error();
    return rows;
}

}  // namespace

qint64 HistoryColumns::storedDay(std::size_t row) const
{
    if (row < dayTexts.size() && dayTexts[row] != 0)
        return dayTexts[row];
    static const qint64 dayZero = QDate(1899, 12, 30).toJulianDay();  // stored times count days from it
    return dayZero + qint64(std::floor(stamps.at(row)));
}

QString HistoryColumns::timeText(std::size_t row) const
{
    const int minute = minutes.at(row);
    if (minute >= 0)
        return QString::asprintf("%02d:%02d", minute / 60, minute % 60);
    const auto other = std::lower_bound(otherTimeTexts.begin(), otherTimeTexts.end(), row,
                                        [](const auto& entry, std::size_t wanted) { return entry.first < wanted; });
    return other != otherTimeTexts.end() && other->first == row ? other->second : QString();
}

void HistoryColumns::append(HistoryColumns&& later)
{
    const std::size_t shift = size();
    stamps.insert(stamps.end(), later.stamps.begin(), later.stamps.end());
    minutes.insert(minutes.end(), later.minutes.begin(), later.minutes.end());
    stability.insert(stability.end(), later.stability.begin(), later.stability.end());
    dayTexts.insert(dayTexts.end(), later.dayTexts.begin(), later.dayTexts.end());
    for (auto& [row, text] : later.otherTimeTexts)
        otherTimeTexts.emplace_back(row + shift, std::move(text));
    values.resize(std::max(values.size(), later.values.size()));
    for (std::size_t c = 0; c < later.values.size(); ++c)
        values[c].insert(values[c].end(), later.values[c].begin(), later.values[c].end());
}

mdb::Result<HistoryColumns> readHistoryColumns(const QString& databasePath, qint32 sourceID, const QDateTime& from,
                                               const QDateTime& to, const QStringList& columns,
                                               bool withStability, const Environment& environment,
                                               bool withDayText)
{
    const qint64 days = from.daysTo(to);
    if (days < kDaysWorthTwoThreads || std::thread::hardware_concurrency() < 2)
        return readPart(databasePath, sourceID, from, to, columns, withStability, environment, withDayText);
    // Two halves at once: until the last second before the middle day, and from it.
    const QDateTime middle(from.date().addDays(days / 2), QTime(0, 0));
    std::optional<mdb::Result<HistoryColumns>> later;
    std::thread second(
        [&] { later = readPart(databasePath, sourceID, middle, to, columns, withStability, environment, withDayText); });
    auto first = readPart(databasePath, sourceID, from, middle.addSecs(-1), columns, withStability, environment, withDayText);
    second.join();
    if (!first)
        return first.error();
    if (!*later)
        return later->error();
    first->append(std::move(**later));
    return first;
}
