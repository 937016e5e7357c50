#include "ui/MaxMinTab.h"

#include "ui/DatePickers.h"
#include "core/graphs/DataTypes.h"
#include "core/settings/SettingsModel.h"
#include "core/summaries/SummaryCharts.h"
#include "core/text/NumberText.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>

MaxMinTab::MaxMinTab(const SummaryTools& tools, QWidget* parent) : SummaryTab(tools, "maxMin", parent)
{
    types_ = new QComboBox(this);
    types_->setObjectName("maxMinTypeList");
    for (int type = 0; type < DataTypes::kCount; ++type)
        types_->addItem(DataTypes::name(type), type);
    types_->setCurrentIndex(DataTypes::kCount > 1 ? 1 : 0);  // Temperature Out
    connect(types_, &QComboBox::activated, this, &MaxMinTab::draw);

    const QDate today = tools_.environment.clock.now().date();
    first_ = DatePickers::day("maxMinFirstDay", today, this);
    last_ = DatePickers::day("maxMinLastDay", today, this);
    for (QDateEdit* picker : {first_, last_})
        connect(picker, &QDateEdit::dateChanged, this, &MaxMinTab::draw);
    clearPrevious_ = new QCheckBox(tr("Clear previous"), this);
    clearPrevious_->setObjectName("maxMinClearPrevious");
    clearPrevious_->setChecked(true);

    controls()->insertWidget(0, new QLabel(tr("Type"), this));
    controls()->insertWidget(1, types_);
    controls()->addSpacing(12);
    controls()->addWidget(new QLabel(tr("From"), this));
    controls()->addWidget(first_);
    controls()->addWidget(new QLabel(tr("To"), this));
    controls()->addWidget(last_);
    controls()->addSpacing(12);
    controls()->addWidget(clearPrevious_);
    controls()->addStretch();
}

void MaxMinTab::draw()
{
    const int type = types_->currentData().isValid() ? types_->currentData().toInt() : -1;
    const QDate first = first_->date(), last = last_->date();
    if (type < 0 || sourceList()->currentIndex() < 0 || first.daysTo(last) <= 0)
        return;
    const QString column = DataTypes::at(type).column;
    DailyExtremesSeries pair{sourceList()->currentText(), DataTypes::name(type), {}};
    const bool clear = clearPrevious_->isChecked();
    read<std::vector<DayExtremes>>(
        [column, first, last, &environment = tools_.environment](const SummarySource& source) {
            return readDailyExtremes(source, column, first, last, environment);
        },
        [this, pair, clear, type](const std::optional<std::vector<DayExtremes>>& days) {
            pairRead(days, pair, clear, type);
        });
}

void MaxMinTab::pairRead(const std::optional<std::vector<DayExtremes>>& days, DailyExtremesSeries pair, bool clear,
                         int type)
{
    if (clear)
        pairs_.clear();
    if (days) {
        pair.days = *days;
        pairs_.push_back(std::move(pair));
    }
    const int group = DataTypes::at(type).scaleGroup;
    const std::pair<double, double> axis{NumberText::leadingNumber(tools_.settings.axisMinimum(group)),
                                         NumberText::leadingNumber(tools_.settings.axisMaximum(group))};
    show(SummaryCharts::maxMin(pairs_, axis, textColour(), backgroundColour()), SummaryTables::maxMin(pairs_));
}
