#pragma once

#include "core/summaries/WindDay.h"
#include "ui/SummaryTab.h"

class QDateEdit;
class QPlainTextEdit;

// The "Wind Summary" tab: one day of wind of one source, the sum of the
// speeds from each of the sixteen compass points as a compass (north on
// top, clockwise), and the day's strongest wind, when and from where, in
// a text box. A day that cannot be read leaves the compass and the box
// empty (the error routine has the reason).
class WindSummaryTab final : public SummaryTab {
    Q_OBJECT

public:
    explicit WindSummaryTab(const SummaryTools& tools, QWidget* parent = nullptr);

    void draw() override;
    // "Max: 23.4", "Max Time: 14:30", "Dir: WSW", one per line.
    QString maximumText() const;

private:
    void dayRead(const std::optional<WindDay>& day);

    QDateEdit* day_ = nullptr;
    QPlainTextEdit* maximum_ = nullptr;
};
