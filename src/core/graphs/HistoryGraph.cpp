#include "core/graphs/HistoryGraph.h"

#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"
#include "core/graphs/DataTypes.h"
#include "core/graphs/TraceReader.h"
#include "core/settings/SettingsModel.h"
#include "core/text/NumberText.h"

#include <QCoreApplication>

#include <algorithm>

HistoryGraph::HistoryGraph(const SettingsModel& settings, const Environment& environment, const QDate& today)
    : settings_(settings), environment_(environment), data_(std::make_shared<GraphData>())
{
    state_.from = today;
    state_.to = today;
    resetRange();  // an empty graph of today until the first drawing
}

void HistoryGraph::stepFrom(int days)
{
    state_.from = state_.from.addDays(days);
    if (state_.from.daysTo(state_.to) < 0)
        state_.to = state_.from;
}

void HistoryGraph::stepTo(int days)
{
    state_.to = state_.to.addDays(days);
    if (state_.from.daysTo(state_.to) < 0)
        state_.from = state_.to;
}

void HistoryGraph::stepBoth(int days)
{
    state_.from = state_.from.addDays(days);
    state_.to = state_.to.addDays(days);
}

bool HistoryGraph::setOptions(const GraphOptions& options)
{
    const bool readAgain = options.singleDay != state_.options.singleDay ||
                           (options.showStability && !data_->stabilityRead && !data_->traces.empty());
    state_.options = options;
    if (!readAgain) {
        auto data = std::make_shared<GraphData>(*data_);
        data->options = options;
        data_ = data;
    }
    return readAgain;
}

void HistoryGraph::moveToToday(const QDate& today)
{
    const qint64 behind = state_.to.daysTo(today);
    if (behind <= 0)
        return;
    state_.to = state_.to.addDays(behind);
    state_.from = state_.from.addDays(behind);
}

void HistoryGraph::apply(const Favourite& favourite)
{
    if (favourite.traces.empty())
        return;
    state_.options.singleDay = favourite.dayOnly;
    if (!favourite.dayOnly)
        state_.from = state_.to.addDays(-favourite.dateRange);
    state_.traces = favourite.traces;
}

Favourite HistoryGraph::asFavourite() const
{
    return {state_.options.singleDay, int(state_.from.daysTo(state_.to)), state_.traces};
}

bool HistoryGraph::resetRange()
{
    auto data = std::make_shared<GraphData>();
    data_ = data;
    if (!state_.from.isValid() || !state_.to.isValid())
        return false;
    if (state_.from.daysTo(state_.to) < 0) {
        environment_.boxes.show(QCoreApplication::applicationName(), QStringLiteral("Date Range Invalid"),
                                MessageBoxes::Icon::Exclamation);
        state_.to = state_.from;
    }
    data->range = {state_.from, state_.to};
    data->options = state_.options;
    data->stabilityRead = state_.options.showStability;
    std::tie(data->xMinimum, data->xMaximum) = GraphData::xRangeOf(data->range, state_.options.singleDay);
    return true;
}

bool HistoryGraph::refresh()
{
    if (!resetRange())
        return true;  // nothing to draw until both days are set
    GraphData data = *data_;
    TraceReader reader(data.range, state_.options.singleDay, data.stabilityRead, environment_);
    bool drawn = true;
    for (std::size_t i = 0; i < state_.traces.size() && drawn; ++i)
        drawn = drawTrace(i, reader, data);
    fitValueAxis(data);
    data_ = std::make_shared<const GraphData>(std::move(data));
    return drawn;
}

bool HistoryGraph::addTrace(const TraceEntry& trace)
{
    state_.traces.push_back(trace);
    if (data_->range.first.isNull() && !resetRange())
        return true;
    GraphData data = *data_;
    TraceReader reader(data.range, data.options.singleDay, data.stabilityRead, environment_);
    const bool drawn = drawTrace(state_.traces.size() - 1, reader, data);
    fitValueAxis(data);
    data_ = std::make_shared<const GraphData>(std::move(data));
    return drawn;
}

void HistoryGraph::clearTraces()
{
    state_.traces.clear();
    resetRange();
}

bool HistoryGraph::drawTrace(std::size_t index, TraceReader& reader, GraphData& data)
{
    const TraceEntry& trace = state_.traces[index];
    if (trace.dataType < 0 || trace.dataType >= DataTypes::kCount) {
        environment_.errors.report("Graph Error: \r\nthe trace " + trace.sourceName + " has no quantity number " +
                                   QString::number(trace.dataType));
        return false;
    }
    BusyScope busy(environment_.busy);
    auto series = reader.series(state_.traces, index);
    if (!series) {
        environment_.errors.report("Database Read Error: \r\n" + QString::fromStdString(series.error().message));
        return false;
    }
    data.traces.push_back(std::move(*series));
    return true;
}

void HistoryGraph::fitValueAxis(GraphData& data) const
{
    data.yMinimum.reset();
    data.yMaximum.reset();
    const auto include = [&data](double low, double high) {
        data.yMinimum = std::min(data.yMinimum.value_or(low), low);
        data.yMaximum = std::max(data.yMaximum.value_or(high), high);
    };
    for (const TraceSeries& series : data.traces) {
        if (series.skipped)
            continue;
        const int group = DataTypes::at(series.trace.dataType).scaleGroup;
        const double a = NumberText::leadingNumber(settings_.axisMinimum(group));
        const double b = NumberText::leadingNumber(settings_.axisMaximum(group));
        include(std::min(a, b), std::max(a, b));
        if (!series.y.empty())
            include(series.minimum, series.maximum);
    }
}
