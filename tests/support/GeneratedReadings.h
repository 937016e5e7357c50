#pragma once

#include "core/import/ImportReader.h"

// Readings every ten minutes from `from`, `count` of them, for filling a
// database as an import does: values that change from row to row, every
// fifth row without a wind direction.
class GeneratedReadings final : public ImportReader {
public:
    GeneratedReadings(QDateTime from, int count) : time_(std::move(from)), count_(count) {}

    std::optional<ImportRow> next() override
    {
        if (read_ == count_)
            return std::nullopt;
        ImportRow row;
        row.time = time_.addSecs(600 * read_);
        row.pressure = 1000 + read_ % 30;
        row.outTemperature = -5 + 0.1 * (read_ % 200);
        row.windSpeed = read_ % 7;
        row.windDirection = read_ % 5 == 0 ? QString() : QStringLiteral("WSW");
        row.rainTotal = 100 + 0.3 * read_;
        row.trend = -1;
        ++read_;
        return row;
    }
    double progress() const override { return double(read_) / count_; }

private:
    QDateTime time_;
    int count_;
};
