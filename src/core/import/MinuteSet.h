#pragma once

#include <QtGlobal>

#include <bitset>
#include <unordered_map>

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
