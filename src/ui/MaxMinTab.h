#pragma once

#include "core/summaries/DailyExtremes.h"
#include "ui/SummaryTab.h"

#include <vector>

class QCheckBox;
class QDateEdit;

// The "Max & Mins" tab: each day's lowest and highest value of one quantity
// of one source over a range of days, as a Max and a Min series. Without
// "Clear previous" each draw adds its pair beside the earlier ones (their
// names say which source and quantity); a range of one day, or a reversed
// one, draws nothing.
class MaxMinTab final : public SummaryTab {
    Q_OBJECT

public:
    explicit MaxMinTab(const SummaryTools& tools, QWidget* parent = nullptr);

    void draw() override;
    // The pairs drawn, oldest first.
    const std::vector<DailyExtremesSeries>& pairs() const { return pairs_; }

private:
    void pairRead(const std::optional<std::vector<DayExtremes>>& days, DailyExtremesSeries pair, bool clear,
                  int type);

    QComboBox* types_ = nullptr;
    QDateEdit* first_ = nullptr;
    QDateEdit* last_ = nullptr;
    QCheckBox* clearPrevious_ = nullptr;
    std::vector<DailyExtremesSeries> pairs_;
};
