#include "ui/GraphController.h"

#include "ui/Choosers.h"
#include "ui/GraphView.h"
#include "ui/HistoryDataTab.h"
#include "ui/HistoryGraphTab.h"
#include "ui/TraceDialog.h"
#include "core/errors/MessageBoxes.h"

#include <QAction>
#include <QMenu>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>

namespace {

const QSize kPrintSize{1000, 680};  // logical pixels of a printed graph, drawn three times as fine

}  // namespace

GraphController::GraphController(CycleWorker* worker, const Environment& environment, Choosers& choosers,
                                 QWidget* window)
    : QObject(window), worker_(worker), environment_(environment), choosers_(choosers), window_(window)
{
    graphTab_ = new HistoryGraphTab(window);
    dataTab_ = new HistoryDataTab(choosers, environment.boxes, window);
    connect(worker, &CycleWorker::graphShown, this, &GraphController::graphShown);
    connect(worker, &CycleWorker::favouriteSaved, this, &GraphController::favouriteSaved);
    connect(worker, &CycleWorker::printPictureReady, this, &GraphController::printPictureReady);
    connect(graphTab_, &HistoryGraphTab::rangeEdited, this, [this](const QDate& from, const QDate& to) {
        ask([from, to](CycleWorker& w) { w.setGraphRange(from, to); });
    });
    connect(graphTab_, &HistoryGraphTab::stepWanted, this, [this](CycleWorker::DateStep which, int days) {
        ask([which, days](CycleWorker& w) { w.stepGraph(which, days); });
    });
    connect(graphTab_, &HistoryGraphTab::refreshWanted, this, [this] { ask([](CycleWorker& w) { w.refreshGraph(); }); });
    connect(graphTab_->view(), &GraphView::sizeWanted, this, [this](const QSize& size, qreal scale) {
        ask([size, scale](CycleWorker& w) { w.setGraphView(size, scale); });
    });
    connect(graphTab_->view(), &GraphView::zoomWanted, this, [this](const ViewRange& view) {
        ask([view](CycleWorker& w) { w.zoomGraphIn(view); });
    });
    connect(graphTab_->view(), &GraphView::zoomOutWanted, this, [this] { ask([](CycleWorker& w) { w.zoomGraphOut(); }); });
}

void GraphController::ask(std::function<void(CycleWorker&)> request)
{
    if (!worker_)
        return;
    CycleWorker* worker = worker_;
    QMetaObject::invokeMethod(worker, [worker, request] { request(*worker); }, Qt::QueuedConnection);
}

void GraphController::attach(const Menus& menus)
{
    menus_ = menus;
    connect(menus.addTrace, &QAction::triggered, this, &GraphController::addTrace);
    connect(menus.clearTraces, &QAction::triggered, this, [this] { ask([](CycleWorker& w) { w.clearTraces(); }); });
    connect(menus.addFavourite, &QAction::triggered, this, &GraphController::addFavourite);
    menus.showLegend->setChecked(true);
    for (QAction* option : {menus.showLegend, menus.showStability, menus.singleDay})
        connect(option, &QAction::triggered, this, &GraphController::optionsChanged);
    connect(menus.printPreview, &QAction::triggered, this, &GraphController::printPreview);
}

void GraphController::graphShown(const GraphUpdate& update)
{
    const bool newData = update.data && update.data != shown_.data;
    shown_ = update;
    graphTab_->show(update);
    if (newData)
        dataTab_->show(*update.data);  // a new picture alone leaves the table as it is
    if (menus_.singleDay) {
        menus_.showLegend->setChecked(update.state.options.showLegend);
        menus_.showStability->setChecked(update.state.options.showStability);
        menus_.singleDay->setChecked(update.state.options.singleDay);
    }
}

void GraphController::optionsChanged()
{
    const GraphOptions options{menus_.singleDay->isChecked(), menus_.showStability->isChecked(),
                               menus_.showLegend->isChecked()};
    ask([options](CycleWorker& w) { w.setGraphOptions(options); });
}

void GraphController::addTrace()
{
    if (!traceDialog_) {
        traceDialog_ = new TraceDialog(environment_.boxes, choosers_, window_);
        connect(traceDialog_, &QDialog::accepted, this, [this] {
            if (const std::optional<TraceEntry> trace = traceDialog_->trace())
                ask([trace = *trace](CycleWorker& w) { w.addTrace(trace); });
        });
    }
    traceDialog_->prepare(int(shown_.state.traces.size()) + 1, sources_);
    traceDialog_->open();
}

void GraphController::addFavourite()
{
    const std::vector<TraceEntry>& traces = shown_.state.traces;
    if (traces.empty())
        return;
    const std::optional<QString> typed =
        choosers_.text(window_, tr("Favourite"), tr("Name this Favourite"),
                       Favourites::plainName(traces.front().sourceName + " " + traces.front().typeName()));
    // Blanks around a name would only make two names look alike.
    const QString name = typed.value_or(QString()).trimmed();
    if (name.isEmpty())
        return;
    if (const std::optional<QChar> unstorable = Favourites::unstorableCharacter(name)) {
        environment_.boxes.show(tr("Favourite"),
                                tr("The name may hold only letters of Western European languages, digits, blanks "
                                   "and the usual signs; \"%1\" cannot be part of it. Please choose another name.")
                                    .arg(*unstorable),
                                MessageBoxes::Icon::Exclamation);
        return;
    }
    for (QAction* item : favouriteItems_) {
        if (item->text() == name) {  // exactly: "Week" and "week" are two favourites
            environment_.boxes.show(tr("Favourite Exists"), tr("Already have a Favorite named ") + name,
                                    MessageBoxes::Icon::Exclamation);
            return;
        }
    }
    ask([name](CycleWorker& w) { w.saveFavourite(name); });
}

void GraphController::favouriteSaved(qint32 favID, const QString& name)
{
    if (favID == 0)
        return;
    addFavouriteItem(name, favID);
    menus_.favouritesSeparator->setVisible(true);
}

void GraphController::showFavourites(const QList<SourceLists::ListEntry>& favourites)
{
    qDeleteAll(favouriteItems_);
    favouriteItems_.clear();
    for (const SourceLists::ListEntry& favourite : favourites)
        addFavouriteItem(favourite.name, favourite.key);
    menus_.favouritesSeparator->setVisible(!favourites.isEmpty());
}

void GraphController::addFavouriteItem(const QString& name, qint32 favID)
{
    QAction* item = menus_.favourites->addAction(name);
    item->setData(favID);
    connect(item, &QAction::triggered, this, [this, favID] { ask([favID](CycleWorker& w) { w.showFavourite(favID); }); });
    favouriteItems_ << item;
}

void GraphController::exportPicture()
{
    ask([](CycleWorker& w) { w.exportCurrentPicture(); });
}

void GraphController::printPreview()
{
    ask([](CycleWorker& w) { w.drawPrintPicture(kPrintSize, 3); });
}

void GraphController::printPictureReady(const std::shared_ptr<const GraphPicture>& picture)
{
    if (!picture || picture->isNull())
        return;
    const QImage image = picture->image;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintPreviewDialog preview(&printer, window_);
    preview.setObjectName("printPreviewDialog");
    preview.setWindowTitle(tr("Print Preview"));
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, [&image](QPrinter* target) {
        QPainter painter(target);
        const QRect page = painter.viewport();
        QSize fitted = image.size();
        fitted.scale(page.size(), Qt::KeepAspectRatio);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRect(page.topLeft(), fitted), image);
    });
    preview.exec();
}
