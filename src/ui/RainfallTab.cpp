#include "ui/RainfallTab.h"

#include "ui/DatePickers.h"
#include "core/summaries/SummaryCharts.h"
#include "core/text/Clock.h"

#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

RainfallTab::RainfallTab(const SummaryTools& tools, QWidget* parent) : SummaryTab(tools, "rain", parent)
{
    month_ = DatePickers::month("rainMonth", tools_.environment.clock.now().date(), this);
    connect(month_, &QDateEdit::dateChanged, this, &RainfallTab::draw);
    // They step by a month; their tooltips say "day", as the program always has.
    QPushButton* back = DatePickers::stepButton("<", "rainMonthBackButton", tr("this trace -1 day"), this);
    QPushButton* forward = DatePickers::stepButton(">", "rainMonthForwardButton", tr("this trace +1 day"), this);
    connect(back, &QPushButton::clicked, this, [this] { month_->setDate(month_->date().addMonths(-1)); });
    connect(forward, &QPushButton::clicked, this, [this] { month_->setDate(month_->date().addMonths(1)); });

    controls()->addSpacing(12);
    controls()->addWidget(new QLabel(tr("Month"), this));
    controls()->addWidget(back);
    controls()->addWidget(month_);
    controls()->addWidget(forward);
    controls()->addStretch();
}

void RainfallTab::draw()
{
    const QDate date = month_->date();
    const QDate month(date.year(), date.month(), 1);
    read<RainMonth>(
        [month, &environment = tools_.environment](const SummarySource& source) {
            return readRainMonth(source, month, environment);
        },
        [this, month](const std::optional<RainMonth>& read) {
            // A failed read shows the month without bars; the error routine has the reason.
            monthRead(read.value_or(RainMonth{month, {}, std::nullopt}));
        });
}

void RainfallTab::monthRead(const RainMonth& month)
{
    show(SummaryCharts::rain(month, textColour(), backgroundColour()), SummaryTables::rain(month));
}
