#include "core/cycle/GraphEngine.h"

#include "core/errors/ErrorReporter.h"
#include "core/export/PictureExport.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"

GraphEngine::GraphEngine(const SettingsModel& settings, const Environment& environment,
                         std::function<const Sources&()> sources, GraphRenderer* renderer)
    : settings_(settings),
      environment_(environment),
      sources_(std::move(sources)),
      renderer_(renderer),
      graph_(settings, environment, environment.clock.now().date())
{
}

GraphColours GraphEngine::screenColours() const
{
    return {settings_.fontColour(), settings_.backColour()};
}

void GraphEngine::setViewSize(const QSize& size, qreal scale)
{
    if (size == viewSize_ && scale == viewScale_)
        return;
    viewSize_ = size;
    viewScale_ = scale;
    redrawPicture();
}

GraphColours GraphEngine::exportColours() const
{
    return {settings_.fontColourExport(), settings_.backColourExport()};
}

GraphPicture GraphEngine::picture(const QSize& size, qreal scale, const GraphColours& colours) const
{
    if (!renderer_ || size.isEmpty())
        return {};
    GraphPictureRequest request;
    request.size = size;
    request.scale = scale;
    request.colours = colours;
    if (!zooms_.empty())
        request.view = zooms_.back();
    return renderer_->render(*graph_.data(), request);
}

void GraphEngine::zoomIn(const ViewRange& view)
{
    if (!(view.xMaximum > view.xMinimum) || !(view.yMaximum > view.yMinimum))
        return;
    zooms_.push_back(view);
    refresh();  // the readings of the part, as they are in the database now
}

void GraphEngine::zoomOut()
{
    if (zooms_.empty())
        return;
    zooms_.pop_back();
    redrawPicture();
}

void GraphEngine::redrawPicture()
{
    if (renderer_ && !viewSize_.isEmpty())
        viewPicture_ = std::make_shared<const GraphPicture>(picture(viewSize_, viewScale_));
    if (changed)
        changed();
}

bool GraphEngine::refresh()
{
    const bool drawn = graph_.refresh();
    redrawPicture();
    return drawn;
}

bool GraphEngine::addTrace(TraceEntry trace)
{
    const Sources& sources = sources_();
    const auto source = std::find_if(sources.begin(), sources.end(),
                                     [&trace](const auto& s) { return s->sourceID() == trace.sourceID; });
    if (source == sources.end()) {
        environment_.errors.report("Graph Error: \r\nthe source " + trace.sourceName +
                                   " is not loaded yet; restart Nimbrel to graph it");
        return false;
    }
    trace.sourceDatabase = (*source)->sourceDatabase();
    trace.dataID = (*source)->dataID();
    clearZoom();
    const bool drawn = graph_.addTrace(trace);
    redrawPicture();
    return drawn;
}

qint32 GraphEngine::saveFavourite(const QString& name)
{
    if (graph_.state().traces.empty())
        return 0;
    return Favourites::save(settings_.primaryDatabase(), name, graph_.asFavourite(), environment_);
}

bool GraphEngine::readFavourite(qint32 favID)
{
    const auto favourite = Favourites::load(settings_.primaryDatabase(), favID, sources_(), environment_);
    if (!favourite)
        return false;
    graph_.apply(*favourite);
    return true;
}

bool GraphEngine::loadFavourite(qint32 favID)
{
    const auto known = cycleFavourites_.find(favID);
    if (known == cycleFavourites_.end())
        return readFavourite(favID);
    graph_.apply(known->second);
    return true;
}

bool GraphEngine::showFavourite(qint32 favID)
{
    clearZoom();
    const bool loaded = readFavourite(favID);
    return refresh() && loaded;
}

void GraphEngine::showFirstFavourite()
{
    const QList<SourceLists::ListEntry> favourites =
        SourceLists::favouriteList(settings_.primaryDatabase(), environment_);
    if (!favourites.isEmpty())
        showFavourite(favourites.first().key);
}

void GraphEngine::moveToToday(const QDate& today)
{
    graph_.moveToToday(today);
}

QList<PictureFavourite> GraphEngine::exportFavourites()
{
    cycleFavourites_.clear();
    QList<PictureFavourite> marked;
    const auto favourites = Favourites::loadMarkedForExport(settings_.primaryDatabase(), sources_(), environment_);
    for (const Favourites::MarkedFavourite& favourite : favourites.value_or(std::vector<Favourites::MarkedFavourite>{})) {
        cycleFavourites_[favourite.favID] = favourite.favourite;
        marked.append({favourite.favID, favourite.number});
    }
    return marked;
}

bool GraphEngine::redraw()
{
    return graph_.refresh();
}

void GraphEngine::showOnScreen()
{
    cycleFavourites_.clear();
    redrawPicture();
}

void GraphEngine::exportPicture(int number)
{
    if (!renderer_)
        return;
    QString error;  // the export is silent: a web picture that fails is tried again next cycle
    PictureExport::exportPicture(*graph_.data(), number, settings_.graphicFolder(),
                                 exportColours(), *renderer_, error);
}
