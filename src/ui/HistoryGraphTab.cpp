#include "ui/HistoryGraphTab.h"

#include "ui/DatePickers.h"
#include "ui/GraphView.h"

#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

HistoryGraphTab::HistoryGraphTab(QWidget* parent) : QWidget(parent)
{
    using Step = CycleWorker::DateStep;
    from_ = DatePickers::day("fromDatePicker", {}, this);
    to_ = DatePickers::day("toDatePicker", {}, this);
    for (QDateEdit* picker : {from_, to_})
        connect(picker, &QDateEdit::dateChanged, this, [this] { emit rangeEdited(from_->date(), to_->date()); });
    fromBack_ = dayButton("<", "fromBackButton", tr("this trace -1 day"), Step::From, -1);
    fromForward_ = dayButton(">", "fromForwardButton", tr("this trace +1 day"), Step::From, +1);
    QPushButton* toBack = dayButton("<", "toBackButton", tr("this trace -1 day"), Step::To, -1);
    QPushButton* toForward = dayButton(">", "toForwardButton", tr("this trace +1 day"), Step::To, +1);
    QPushButton* bothBack = dayButton("<<", "bothBackButton", tr("both trace -1 day"), Step::Both, -1);
    QPushButton* bothForward = dayButton(">>", "bothForwardButton", tr("both trace +1 day"), Step::Both, +1);
    auto* refresh = new QPushButton(tr("Refresh"), this);
    refresh->setObjectName("refreshGraphButton");
    refresh->setToolTip(tr("Refresh Graph"));
    connect(refresh, &QPushButton::clicked, this, &HistoryGraphTab::refreshWanted);
    view_ = new GraphView(this);

    auto* controls = new QHBoxLayout;
    controls->addWidget(new QLabel(tr("From"), this));
    for (QWidget* widget : std::initializer_list<QWidget*>{fromBack_, from_, fromForward_})
        controls->addWidget(widget);
    controls->addSpacing(12);
    controls->addWidget(new QLabel(tr("To"), this));
    for (QWidget* widget : std::initializer_list<QWidget*>{toBack, to_, toForward})
        controls->addWidget(widget);
    controls->addSpacing(12);
    controls->addWidget(bothBack);
    controls->addWidget(bothForward);
    controls->addStretch();
    controls->addWidget(refresh);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(controls);
    layout->addWidget(view_, 1);
}

QPushButton* HistoryGraphTab::dayButton(const QString& text, const QString& name, const QString& tip,
                                        CycleWorker::DateStep which, int days)
{
    QPushButton* button = DatePickers::stepButton(text, name, tip, this);
    connect(button, &QPushButton::clicked, this, [this, which, days] { emit stepWanted(which, days); });
    return button;
}

void HistoryGraphTab::show(const GraphUpdate& update)
{
    {
        const QSignalBlocker blockFrom(from_);
        const QSignalBlocker blockTo(to_);
        from_->setDate(update.state.from);
        to_->setDate(update.state.to);
    }
    applyDayOnly(update.state.options.singleDay);
    view_->show(update);
}

void HistoryGraphTab::applyDayOnly(bool singleDay)
{
    for (QWidget* widget : std::initializer_list<QWidget*>{from_, fromBack_, fromForward_})
        widget->setEnabled(!singleDay);
}
