#include "core/cycle/RefreshCycle.h"

#include "core/settings/SettingsModel.h"

#include <algorithm>

RefreshCycle::RefreshCycle(const SettingsModel& settings, const Environment& environment, CycleView& view,
                           CycleGraph& graph)
    : settings_(settings),
      view_(view),
      graph_(graph),
      logger_(environment),
      exporter_(settings, environment),
      panelErrors_(environment.errors)
{
}

QDateTime RefreshCycle::nextDueAfter(const QDateTime& now, int minutes)
{
    // Worked out on the timeline, never from a wall-clock time: in the hour
    // that repeats when the clocks go back, 02:00 is named twice, and the
    // mark must be the one after `now`. Clock changes shift whole hours, so
    // the minutes past the mark are the same either way.
    const QDateTime due = now.addSecs(60LL * minutes);
    const QTime time = due.time();
    return due.addMSecs(-(qint64(time.minute() % 10) * 60000 + time.second() * 1000 + time.msec()));
}

void RefreshCycle::start(std::vector<std::shared_ptr<WeatherSource>> sources, const QDateTime& now)
{
    sources_ = std::move(sources);
    nextDue_ = nextDueAfter(now, settings_.cycleMinutes());
    countdown_ = 0;  // the first tick makes the once-a-minute pass at once
    skipRedraw_ = false;
    // What stops every reading is told at once, not at the first cycle.
    if (settings_.autoDatabase())
        setLoggingProblem(loggingBlocked());
}

QString RefreshCycle::loggingBlocked() const
{
    if (settings_.primaryDatabase().isEmpty())
        return QStringLiteral("Nothing is logged: no Primary Weather Database is set");
    if (sources_.empty())
        return QStringLiteral("Nothing is logged: the Primary Weather Database has no sources, or they could not be "
                              "read");
    if (std::all_of(sources_.begin(), sources_.end(), [](const auto& source) { return source->logMultiple() == 0; }))
        return QStringLiteral("Nothing is logged: every source's Log Cycle Multipler is 0 (off)");
    return {};
}

void RefreshCycle::setLoggingProblem(const QString& problem)
{
    if (loggingProblem_ == problem)
        return;
    loggingProblem_ = problem;
    view_.showLoggingProblem(problem);
}

void RefreshCycle::setPanelSource(std::optional<qint32> sourceID)
{
    QMutexLocker lock(&panelMutex_);
    panelSource_ = sourceID;
}

WeatherSource* RefreshCycle::findSource(qint32 sourceID) const
{
    for (const auto& source : sources_) {
        if (source->sourceID() == sourceID)
            return source.get();
    }
    return nullptr;
}

bool RefreshCycle::refreshPanel(bool showTrayState)
{
    std::optional<qint32> chosen;
    {
        QMutexLocker lock(&panelMutex_);
        chosen = panelSource_;
    }
    if (!chosen)
        return false;
    if (showTrayState)
        view_.setTrayState(TrayState::ReadingPanel);
    WeatherSource* source = findSource(*chosen);
    if (!source || !source->refresh(panelErrors_))
        return false;
    view_.showReading(source->reading());
    return true;
}

void RefreshCycle::showPanelSource()
{
    refreshPanel(false);
}

bool RefreshCycle::exportSource(qint32 sourceID)
{
    WeatherSource* source = findSource(sourceID);
    if (settings_.rssFile().isEmpty() || !source)
        return false;
    return exporter_.exportRSS(*source);
}

QString RefreshCycle::logAllSources(const QDateTime& now)
{
    const bool exporting = settings_.autoExport() && !settings_.rssFile().isEmpty();
    QStringList failed;
    for (const auto& source : sources_) {
        source->setLogCounter(source->logCounter() - 1);
        if (source->logCounter() >= 1)
            continue;
        // A failed read leaves the counter as it is: the source is tried again next cycle.
        if (!source->refresh()) {
            failed << QStringLiteral("the file of %1 could not be read").arg(source->sourceName());
            continue;
        }
        // A station file's reading belongs to the cycle's slot, so that a
        // cycle repeated in the same slot finds its row already logged.
        if (source->sourceKind() == SourceKind::StationFile)
            source->reading().setReadDate(nextDue_);
        if (logger_.log(settings_.primaryDatabase(), source->sourceID(), source->reading()) ==
            ReadingLogger::Outcome::Failed)
            failed << QStringLiteral("the reading of %1 could not be written to the database").arg(source->sourceName());
        if (exporting)
            exporter_.exportRSS(*source);
        source->setLogCounter(source->logMultiple());
    }
    if (const QString blocked = loggingBlocked(); !blocked.isEmpty())
        return blocked;
    if (failed.isEmpty())
        return {};
    return QStringLiteral("Not logged at %1: %2%3")
        .arg(now.toString(QStringLiteral("HH:mm")), failed.first(),
             failed.size() > 1 ? QStringLiteral(" (and %1 more)").arg(failed.size() - 1) : QString());
}

void RefreshCycle::updateGraph(const QDate& today)
{
    view_.setTrayState(TrayState::RunningCycle);
    graph_.moveToToday(today);
    if (settings_.autoPicture()) {
        // A failed redraw (reported by the graph) ends the pictures of this
        // cycle; the next cycle tries them all again.
        for (const PictureFavourite& favourite : graph_.exportFavourites()) {
            graph_.loadFavourite(favourite.favID);
            if (!graph_.redraw())
                break;
            graph_.exportPicture(favourite.number);
        }
        graph_.showOnScreen();
        return;
    }
    // Without pictures a cycle that logged nothing redraws one minute later,
    // by running again.
    if (settings_.autoDatabase() || skipRedraw_) {
        graph_.redraw();
        graph_.showOnScreen();
        skipRedraw_ = false;
    } else {
        skipRedraw_ = true;
    }
}

void RefreshCycle::tick(const QDateTime& now)
{
    const bool autoRefresh = settings_.autoRefresh();
    if (countdown_ == kTicksPerMinute && autoRefresh)
        view_.setTrayState(TrayState::Idle);
    if (--countdown_ >= 1)
        return;

    if (autoRefresh)
        refreshPanel(true);
    if (nextDue_.secsTo(now) >= 0) {
        panelErrors_.newCycle();
        if (settings_.autoDatabase()) {
            view_.setTrayState(TrayState::RunningCycle);
            setLoggingProblem(logAllSources(now));
        } else {
            setLoggingProblem({});  // logging is switched off: nothing to warn of
        }
        if (settings_.autoGraph())
            updateGraph(now.date());
        if (!skipRedraw_)
            nextDue_ = nextDueAfter(now, settings_.cycleMinutes());
    }
    countdown_ = kTicksPerMinute;
}
