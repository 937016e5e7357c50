#include "core/db/ColumnValues.h"

#include "core/text/NumberText.h"

#include <cmath>
#include <limits>
#include <optional>

namespace ColumnValues {

namespace {

using mdb::ColumnType;
using mdb::Error;
using mdb::invalidArgument;
using mdb::notFound;

std::optional<double> asNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return value.toDouble();
    case QMetaType::Bool:
        return value.toBool() ? -1.0 : 0.0;  // a stored "yes" counts as -1
    default:
        return std::nullopt;
    }
}

Error mismatch(const mdb::Column& column)
{
    return invalidArgument("type mismatch: column " + column.name + " takes " + mdb::typeName(column.type) + " values");
}

Error overflow(const mdb::Column& column, double number)
{
    return invalidArgument("overflow: " + NumberText::generalNumber(number).toStdString() + " does not fit column " +
                 column.name);
}

template <typename Whole>
mdb::Result<mdb::Value> wholeNumber(const mdb::Column& column, double number)
{
    const double rounded = std::nearbyint(number);  // half to even, the default rounding mode
    if (!(rounded >= double(std::numeric_limits<Whole>::min()) &&
          rounded <= double(std::numeric_limits<Whole>::max())))
        return overflow(column, number);
    return mdb::Value(Whole(rounded));
}

mdb::Result<mdb::Value> numeric(const mdb::Column& column, double number)
{
    switch (column.type) {
    case ColumnType::Byte:
        return wholeNumber<uint8_t>(column, number);
    case ColumnType::Integer:
        return wholeNumber<int16_t>(column, number);
    case ColumnType::Long:
        return wholeNumber<int32_t>(column, number);
    case ColumnType::Single:
        if (std::isfinite(number) && std::fabs(number) > double(std::numeric_limits<float>::max()))
            return overflow(column, number);
        return mdb::Value(float(number));
    case ColumnType::Double:
        return mdb::Value(number);
    case ColumnType::Currency: {
        const double scaled = std::nearbyint(number * 10000.0);
        if (!(std::fabs(scaled) < 9.2e18))
            return overflow(column, number);
        return mdb::Value(mdb::Currency{int64_t(scaled)});
    }
    case ColumnType::DateTime:
        return mdb::Value(mdb::DateTime{number});
    case ColumnType::Boolean:
        return mdb::Value(number != 0);
    case ColumnType::Text:
    case ColumnType::Memo:
        return mdb::Value(NumberText::generalNumber(number).toStdString());
    default:
        return mismatch(column);
    }
}

}  // namespace

std::optional<double> asNumber(const mdb::Value& value)
{
    if (const auto* number = std::get_if<double>(&value))
        return *number;  // the usual case, first
    return std::visit(
        [](const auto& held) -> std::optional<double> {
            using T = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<T, bool>)
                return held ? -1.0 : 0.0;
            else if constexpr (std::is_same_v<T, uint8_t> || std::is_same_v<T, int16_t> ||
                               std::is_same_v<T, int32_t> || std::is_same_v<T, float> ||
                               std::is_same_v<T, double>)
                return double(held);
            else if constexpr (std::is_same_v<T, mdb::Currency>)
                return double(held.tenThousandths) / 10000.0;
            else if constexpr (std::is_same_v<T, mdb::DateTime>)
                return held.days;
            else
                return std::nullopt;
        },
        value);
}

mdb::DateTime toDateTime(const QDateTime& local)
{
    const QDate date = local.date();
    const QTime time = local.time();
    return mdb::fromLocalDateTime(
        {date.year(), date.month(), date.day(), time.hour(), time.minute(), time.second()});
}

QDateTime fromDateTime(mdb::DateTime stored)
{
    const mdb::LocalDateTime local = mdb::toLocalDateTime(stored);
    return QDateTime(QDate(local.year, local.month, local.day), QTime(local.hour, local.minute, local.second));
}

mdb::Result<mdb::Value> toStored(const mdb::Column& column, const QVariant& value)
{
    if (value.isNull())
        return mdb::Value(mdb::Null{});
    if (const std::optional<double> number = asNumber(value))
        return numeric(column, *number);
    switch (value.typeId()) {
    case QMetaType::QString:
        if (column.type == ColumnType::Text || column.type == ColumnType::Memo)
            return mdb::Value(value.toString().toStdString());
        return mismatch(column);
    case QMetaType::QDateTime:
        if (column.type == ColumnType::DateTime)
            return mdb::Value(toDateTime(value.toDateTime()));
        return mismatch(column);
    case QMetaType::QDate:
        if (column.type == ColumnType::DateTime)
            return mdb::Value(toDateTime(value.toDate().startOfDay()));
        return mismatch(column);
    default:
        return mismatch(column);
    }
}

QVariant fromStored(const mdb::Value& value)
{
    return std::visit(
        [&value](const auto& held) -> QVariant {
            using T = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<T, mdb::Null>)
                return QVariant();
            else if constexpr (std::is_same_v<T, bool>)
                return held;
            else if constexpr (std::is_same_v<T, uint8_t> || std::is_same_v<T, int16_t> || std::is_same_v<T, int32_t>)
                return int(held);
            else if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>)
                return double(held);
            else if constexpr (std::is_same_v<T, mdb::Currency>)
                return double(held.tenThousandths) / 10000.0;
            else if constexpr (std::is_same_v<T, mdb::DateTime>)
                return fromDateTime(held);
            else if constexpr (std::is_same_v<T, std::string>)
                return QString::fromStdString(held);
            else if constexpr (std::is_same_v<T, mdb::Bytes>)
                return QByteArray(reinterpret_cast<const char*>(held.data()), qsizetype(held.size()));
            else
                return QString::fromStdString(mdb::toText(value));
        },
        value);
}

namespace {

// Texts compare as their index keys do: letter case and trailing blanks do not count.
int compareTexts(const std::string& a, const std::string& b)
{
    const auto trimmed = [](const std::string& text) {
        QString result = QString::fromStdString(text);
        qsizetype end = result.size();
        while (end > 0 && result[end - 1] == u' ')
            --end;
        result.truncate(end);
        return result;
    };
    return trimmed(a).compare(trimmed(b), Qt::CaseInsensitive);
}

}  // namespace

bool equal(const mdb::Value& a, const mdb::Value& b)
{
    if (mdb::isNull(a) || mdb::isNull(b))
        return false;
    const std::optional<double> left = asNumber(a);
    const std::optional<double> right = asNumber(b);
    if (left && right)
        return *left == *right;
    if (std::holds_alternative<std::string>(a) && std::holds_alternative<std::string>(b))
        return compareTexts(std::get<std::string>(a), std::get<std::string>(b)) == 0;
    return a == b;
}

int compare(const mdb::Value& a, const mdb::Value& b)
{
    if (mdb::isNull(a) || mdb::isNull(b))
        return int(!mdb::isNull(a)) - int(!mdb::isNull(b));
    const std::optional<double> left = asNumber(a);
    const std::optional<double> right = asNumber(b);
    if (left && right)
        return (*left > *right) - (*left < *right);
    if (std::holds_alternative<std::string>(a) && std::holds_alternative<std::string>(b))
        return compareTexts(std::get<std::string>(a), std::get<std::string>(b));
    return 0;
}

}  // namespace ColumnValues
