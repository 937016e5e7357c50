#pragma once

#include "core/db/ColumnValues.h"

#include <QDateTime>
#include <QtGlobal>

#include <bitset>
#include <cmath>
#include <unordered_map>

// Minutes as the database counts time: whole minutes from its day zero,
// local time, so that a time read from a file and one read from History
// give the same number.
namespace StoredMinute {

inline qint64 of(mdb::DateTime stored)
{
    return qint64(std::llround(stored.days * 1440));
}

inline qint64 of(const QDateTime& local)
{
    return of(ColumnValues::toDateTime(local));
}

inline QDateTime time(qint64 minute)
{
    return ColumnValues::fromDateTime({double(minute) / 1440});
}

}  // namespace StoredMinute

// A set of minutes (counted from any fixed origin), one bit per minute of
// each day that holds any: ten years of one-minute readings take under a
// megabyte, where a hash set of them would take hundreds.
class MinuteSet {
public:
    // Adds `minute`; false when it was there already.
    bool insert(qint64 minute)
    {
        const qint64 day = minute >= 0 ? minute / 1440 : (minute - 1439) / 1440;
        auto& bits = days_[day];
        const auto of = std::size_t(minute - day * 1440);
        if (bits.test(of))
            return false;
        bits.set(of);
        return true;
    }

private:
    std::unordered_map<qint64, std::bitset<1440>> days_;
};
