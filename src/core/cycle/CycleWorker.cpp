#include "core/cycle/CycleWorker.h"

#include "core/text/Clock.h"

CycleWorker::CycleWorker(const SettingsModel& settings, const Environment& environment)
    : environment_(environment), cycle_(settings, environment, *this, graph_)
{
    qRegisterMetaType<WeatherReading>("WeatherReading");
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
