#include "ui/SummaryTab.h"

#include "ui/ChartView.h"
#include "ui/DataTableView.h"
#include "ui/SourceListBox.h"
#include "ui/SummaryTableModel.h"
#include "core/settings/SettingsModel.h"
#include "core/settings/StoredColour.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSplitter>
#include <QVBoxLayout>

SummaryTab::SummaryTab(const SummaryTools& tools, const QString& name, QWidget* parent)
    : QWidget(parent), tools_(tools)
{
    setObjectName(name + "Tab");
    sources_ = new QComboBox(this);
    sources_->setObjectName(name + "SourceList");
    sources_->setMinimumContentsLength(10);
    connect(sources_, &QComboBox::activated, this, [this] { draw(); });
    controls_ = new QHBoxLayout;
    controls_->addWidget(new QLabel(tr("Source"), this));
    controls_->addWidget(sources_);

    chart_ = new ChartView(tools_.service, this);
    chart_->setObjectName(name + "Chart");
    model_ = new SummaryTableModel(this);
    table_ = new DataTableView(name, model_, [this] { return model_->table().toCsv(); }, tr("Save Summary"),
                               tools_.choosers, tools_.environment.boxes, this);

    auto* sidePanel = new QWidget(this);
    side_ = new QVBoxLayout(sidePanel);
    side_->setContentsMargins(0, 0, 0, 0);
    side_->addWidget(table_, 1);
    auto* split = new QSplitter(Qt::Horizontal, this);
    split->addWidget(chart_);
    split->addWidget(sidePanel);
    split->setStretchFactor(0, 2);
    split->setStretchFactor(1, 1);
    split->setSizes({640, 320});
    split->setChildrenCollapsible(false);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(controls_);
    layout->addWidget(split, 1);
}

void SummaryTab::setSources(const QList<SourceLists::ListEntry>& sources)
{
    fillSourceList(sources_, sources);
    draw();
}

std::optional<qint32> SummaryTab::currentSourceID() const
{
    const QVariant chosen = sources_->currentData();
    return chosen.isValid() ? std::optional<qint32>(chosen.toInt()) : std::nullopt;
}

QString SummaryTab::databasePath() const
{
    return tools_.settings.primaryDatabase();
}

void SummaryTab::show(plot::Chart chart, SummaryTable table)
{
    chart_->setChart(std::move(chart));
    model_->setTable(std::move(table));
}

QColor SummaryTab::textColour() const
{
    return StoredColour::toColour(tools_.settings.fontColour());
}

QColor SummaryTab::backgroundColour() const
{
    return StoredColour::toColour(tools_.settings.backColour());
}
