#include "ui/WindSummaryTab.h"

#include "ui/DatePickers.h"
#include "core/summaries/SummaryCharts.h"
#include "core/text/Clock.h"
#include "core/text/NumberText.h"

#include <QComboBox>
#include <QDateEdit>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

WindSummaryTab::WindSummaryTab(const SummaryTools& tools, QWidget* parent) : SummaryTab(tools, "wind", parent)
{
    day_ = DatePickers::day("windDay", tools_.environment.clock.now().date(), this);
    connect(day_, &QDateEdit::dateChanged, this, &WindSummaryTab::draw);
    QPushButton* back = DatePickers::stepButton("<", "windDayBackButton", tr("one day back"), this);
    QPushButton* forward = DatePickers::stepButton(">", "windDayForwardButton", tr("one day forward"), this);
    // Moving the picker draws (its dateChanged).
    connect(back, &QPushButton::clicked, this, [this] { day_->setDate(day_->date().addDays(-1)); });
    connect(forward, &QPushButton::clicked, this, [this] { day_->setDate(day_->date().addDays(1)); });

    controls()->addSpacing(12);
    controls()->addWidget(new QLabel(tr("Day"), this));
    controls()->addWidget(back);
    controls()->addWidget(day_);
    controls()->addWidget(forward);
    controls()->addStretch();

    maximum_ = new QPlainTextEdit(this);
    maximum_->setObjectName("windMaximumText");
    maximum_->setReadOnly(true);
    maximum_->setMaximumHeight(maximum_->fontMetrics().lineSpacing() * 4);
    side()->insertWidget(0, maximum_);
}

void WindSummaryTab::draw()
{
    const QDate day = day_->date();
    read<WindDay>(
        [day, &environment = tools_.environment](const SummarySource& source) {
            return readWindDay(source, day, environment);
        },
        [this](const std::optional<WindDay>& wind) { dayRead(wind); });
}

void WindSummaryTab::dayRead(const std::optional<WindDay>& day)
{
    const WindDay shown = day.value_or(WindDay{});
    show(SummaryCharts::wind(shown, textColour(), backgroundColour()),
         day ? SummaryTables::wind(*day) : SummaryTable{});
    maximum_->setPlainText(day ? "Max: " + NumberText::generalNumber(day->maximum) + "\r\nMax Time: " +
                                     day->maximumTime + "\r\nDir: " + day->maximumDirection
                               : QString());
}

QString WindSummaryTab::maximumText() const
{
    return maximum_->toPlainText();
}
