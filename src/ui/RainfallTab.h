#pragma once

#include "core/summaries/RainDays.h"
#include "ui/SummaryTab.h"

class QDateEdit;

// The "Rainfall" tab: a month of rain days of one source (09:00 to 08:59,
// each named after the day it ends on) as bars, dry days in white, with the
// month's total in the title.
class RainfallTab final : public SummaryTab {
    Q_OBJECT

public:
    explicit RainfallTab(const SummaryTools& tools, QWidget* parent = nullptr);

    void draw() override;

private:
    void monthRead(const RainMonth& month);

    QDateEdit* month_ = nullptr;
};
