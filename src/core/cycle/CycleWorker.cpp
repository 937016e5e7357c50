#include "core/cycle/CycleWorker.h"

#include "core/text/Clock.h"

CycleWorker::CycleWorker(const SettingsModel& settings, const Environment& environment, GraphRenderer* renderer)
    : environment_(environment),
      graph_(settings, environment, [this]() -> const GraphEngine::Sources& { return cycle_.sources(); }, renderer),
      cycle_(settings, environment, *this, graph_)
{
    qRegisterMetaType<WeatherReading>("WeatherReading");
    qRegisterMetaType<GraphUpdate>("GraphUpdate");
    qRegisterMetaType<GraphOptions>("GraphOptions");
    qRegisterMetaType<TraceEntry>("TraceEntry");
    qRegisterMetaType<CycleWorker::DateStep>("CycleWorker::DateStep");
    qRegisterMetaType<std::shared_ptr<const GraphPicture>>("std::shared_ptr<const GraphPicture>");
    graph_.changed = [this] { emit graphShown(graph_.update()); };
}

void CycleWorker::start(const QString& databasePath)
{
    cycle_.start(loadSources(databasePath, environment_), environment_.clock.now());
    emit started();
}

void CycleWorker::requestTick()
{
    if (tickPending_.exchange(true))
        return;
    QMetaObject::invokeMethod(this, &CycleWorker::tick, Qt::QueuedConnection);
}

void CycleWorker::tick()
{
    cycle_.tick(environment_.clock.now());
    tickPending_ = false;
}

void CycleWorker::showPanelSource()
{
    cycle_.showPanelSource();
}

void CycleWorker::exportSource(qint32 sourceID)
{
    cycle_.exportSource(sourceID);
}

void CycleWorker::setGraphRange(const QDate& from, const QDate& to)
{
    graph_.graph().setRange(from, to);
    graph_.clearZoom();
    graph_.refresh();
}

void CycleWorker::stepGraph(DateStep which, int days)
{
    HistoryGraph& graph = graph_.graph();
    graph_.clearZoom();
    if (which == DateStep::From)
        graph.stepFrom(days);
    else if (which == DateStep::To)
        graph.stepTo(days);
    else
        graph.stepBoth(days);
    graph_.refresh();
}

void CycleWorker::setGraphOptions(const GraphOptions& options)
{
    if (options.singleDay != graph_.graph().state().options.singleDay)
        graph_.clearZoom();  // the x axis counts other units
    if (graph_.graph().setOptions(options))
        graph_.refresh();  // the x axis changes: every trace is read again
    else
        graph_.redrawPicture();
}

void CycleWorker::clearTraces()
{
    graph_.graph().clearTraces();
    graph_.clearZoom();
    graph_.redrawPicture();
}

void CycleWorker::saveFavourite(const QString& name)
{
    emit favouriteSaved(graph_.saveFavourite(name), name);
}

void CycleWorker::drawPrintPicture(const QSize& size, qreal scale)
{
    emit printPictureReady(std::make_shared<const GraphPicture>(graph_.printPicture(size, scale)));
}
