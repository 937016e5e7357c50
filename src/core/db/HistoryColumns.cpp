#include "core/db/HistoryColumns.h"

#include "core/db/ColumnValues.h"
#include "core/db/DatabaseSession.h"
#include "core/text/Compass.h"
#include "core/text/DateText.h"
#include "mdb/RowDecoder.h"

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

// One column read as numbers, and how: straight from the row for a number
// column, a compass text (WindDir) as its code, anything else converted.
struct NumberColumn {
    enum class Kind { Number, Compass, Other };
    std::size_t position = 0;
    Kind kind = Kind::Other;

    NumberColumn(const SessionTable& table, const QString& column)
        : position(std::size_t(table.position(column)))
    {
        if (column.compare("WindDir", Qt::CaseInsensitive) == 0)
            kind = Kind::Compass;
        else if (mdb::isNumberType(table.definition().columns[position].type))
            kind = Kind::Number;
    }

    // The column's number in `row`; NaN where it holds none.
    mdb::Result<double> in(const mdb::RowView& row) const
    {
        if (kind == Kind::Number)
            return row.number(position);
        auto value = row.value(position);
        if (!value)
            return value.error();
        if (kind == Kind::Compass) {
            const auto* text = std::get_if<std::string>(&*value);
            return text ? double(Compass::code(QString::fromStdString(*text))) : std::nan("");
        }
        return ColumnValues::asNumber(*value).value_or(std::nan(""));
    }
};

// What one pass keeps of each row, in the order rows come.
class ColumnCollector {
public:
    ColumnCollector(const SessionTable& table, const QStringList& columns, bool withStability, bool withDayText)
        : stamp_(table, "DateRead"), stability_(table, "Stability"),
          timeTextAt_(std::size_t(table.position("TimeText"))),
          dayTextAt_(withDayText ? std::size_t(table.position("DateText")) : 0),
          withStability_(withStability), withDayText_(withDayText)
    {
        for (const QString& column : columns)
            values_.emplace_back(table, column);
        rows_.values.resize(values_.size());
    }

    // Keeps the row; a failure (a damaged row) comes back as the Error.
    mdb::Status add(const mdb::RowView& row)
    {
        auto stamp = stamp_.in(row);
        if (!stamp)
            return stamp.error();
        if (std::isnan(*stamp))
            return mdb::Status::success();  // a reading without a time has no place on a time axis
        auto hasTimeText = row.text(timeTextAt_, text_);
        if (!hasTimeText)
            return hasTimeText.error();
        const std::size_t index = rows_.stamps.size();
        rows_.stamps.push_back(*stamp);
        const int minute = *hasTimeText ? minutesOf(text_) : -1;
        rows_.minutes.push_back(qint16(minute));
        if (minute < 0 && *hasTimeText)
            rows_.otherTimeTexts.emplace_back(index, QString::fromStdString(text_));
        double stability = std::nan("");
        if (withStability_) {
            auto read = stability_.in(row);
            if (!read)
                return read.error();
            stability = *read;
        }
        rows_.stability.push_back(std::isnan(stability) ? HistoryColumns::kNoStability : qint16(stability));
        if (withDayText_) {
            auto hasDayText = row.text(dayTextAt_, text_);
            if (!hasDayText)
                return hasDayText.error();
            rows_.dayTexts.push_back(*hasDayText ? dayOf(text_) : 0);
        }
        for (std::size_t c = 0; c < values_.size(); ++c) {
            auto value = values_[c].in(row);
            if (!value)
                return value.error();
            rows_.values[c].push_back(*value);
        }
        return mdb::Status::success();
    }

    HistoryColumns take() { return std::move(rows_); }

private:
    NumberColumn stamp_;
    NumberColumn stability_;
    std::size_t timeTextAt_;
    std::size_t dayTextAt_;
    bool withStability_;
    bool withDayText_;
    std::vector<NumberColumn> values_;
    std::string text_;  // the last text read, its storage reused
    HistoryColumns rows_;
};

mdb::Result<HistoryColumns> readPart(const QString& databasePath, qint32 sourceID, const QDateTime& from,
                                     const QDateTime& to, const QStringList& columns, bool withStability,
                                     const Environment& environment, bool withDayText)
{
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    QStringList read = QStringList(columns) << "SourceID" << "DateRead" << "TimeText" << "Stability";
    if (withDayText)
        read << "DateText";
    auto table = (*session)->table("History", read);
    if (!table)
        return table.error();
    ColumnCollector rows(*table, columns, withStability, withDayText);
    mdb::Status kept;
    mdb::Status scanned = (*session)->viewsBetween(*table, {{"SourceID", sourceID}}, {"DateRead", from}, to,
                                                   [&](const mdb::RowView& row) {
                                                       kept = rows.add(row);
                                                       return bool(kept);
                                                   });
    if (!kept)
        return mdb::within("table History", kept.error());
    if (!scanned)
        return scanned.error();
    return rows.take();
}

}  // namespace

qint64 HistoryColumns::storedDay(std::size_t row) const
{
    if (row < dayTexts.size() && dayTexts[row] != 0)
        return dayTexts[row];
    static const qint64 dayZero = DateText::zeroDate().toJulianDay();  // stored times count days from it
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
