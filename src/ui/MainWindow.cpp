#include "ui/MainWindow.h"

#include "ui/HintLabel.h"
#include "ui/AboutDialog.h"
#include "ui/ConditionsPanel.h"
#include "ui/DayDiaryDialog.h"
#include "ui/GraphController.h"
#include "ui/HistoryGraphTab.h"
#include "ui/HistoryDataTab.h"
#include "ui/MaxMinTab.h"
#include "ui/RainfallTab.h"
#include "ui/SourceListBox.h"
#include "ui/WindSummaryTab.h"
#include "ui/PreferencesDialog.h"
#include "ui/RemoteClientDialog.h"
#include "core/cycle/CycleWorker.h"
#include "ui/StatusPanels.h"
#include "ui/TrayIcon.h"
#include "ui/WeatherIcons.h"
#include "core/sources/SourceLists.h"
#include "core/errors/MessageBoxes.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"
#include "core/text/DateText.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

const char* const kHelpContact = "https://nimbrel.example.org/issues";

QAction* addItem(QMenu* menu, const QString& caption, const QString& name, bool enabled = true)
{
    QAction* item = menu->addAction(caption);
    item->setObjectName(name);
    item->setEnabled(enabled);
    return item;
}

QAction* addToggle(QMenu* menu, const QString& caption, const QString& name)
{
    QAction* item = addItem(menu, caption, name);
    item->setCheckable(true);
    return item;
}

}  // namespace

MainWindow::MainWindow(SettingsModel& settings, const Environment& environment, QSettings& store, WindowTools tools,
                       QWidget* parent)
    : QMainWindow(parent), settings_(settings), environment_(environment), store_(store), tools_(std::move(tools))
{
    setObjectName("mainWindow");
    setWindowTitle(QApplication::applicationDisplayName());
    setWindowIcon(WeatherIcons::applicationIcon());

    timing_ = new QTimer(this);
    timing_->setObjectName("refreshTimer");
    timing_->setInterval(CycleWorker::tickIntervalMs());

    worker_ = new CycleWorker(settings_, environment_, &renderer_);
    worker_->moveToThread(&workerThread_);
    connect(&workerThread_, &QThread::finished, worker_, &QObject::deleteLater);
    database_ = new DatabaseService(environment_);
    database_->moveToThread(&workerThread_);
    connect(&workerThread_, &QThread::finished, database_, &QObject::deleteLater);
    connect(database_, &DatabaseService::listsLoaded, this, &MainWindow::showLists);
    connect(worker_, &CycleWorker::readingShown, this, [this](const WeatherReading& reading) { showReading(reading); });
    connect(worker_, &CycleWorker::loggingProblemChanged, this, &MainWindow::showLoggingProblem);
    connect(worker_, &CycleWorker::trayStateChanged, this, &MainWindow::setTrayIcon);
    connect(timing_, &QTimer::timeout, this, [this] { worker_->requestTick(); });
    graph_ = new GraphController(worker_, environment_, tools_.choosers, this);

    auto* tabs = new QTabWidget(this);
    tabs->setObjectName("mainTabs");
    tabs->addTab(buildConditionsTab(), tr("Current Conditions"));
    tabs->addTab(graph_->graphTab(), tr("History Graph"));
    tabs->addTab(graph_->dataTab(), tr("History Data"));
    const SummaryTools summaryTools{*database_, settings_, environment_, tools_.choosers};
    summaries_ = {new MaxMinTab(summaryTools, this), new WindSummaryTab(summaryTools, this),
                  new RainfallTab(summaryTools, this)};
    tabs->addTab(summaries_[0], tr("Max && Mins"));
    tabs->addTab(summaries_[1], tr("Wind Summary"));
    tabs->addTab(summaries_[2], tr("Rainfall"));
    tabs->addTab(buildExportsTab(), tr("Exports"));
    setCentralWidget(tabs);
    statusPanels_ = new StatusPanels(statusBar());
    buildMenus();

    workerThread_.setObjectName("Refresh cycle");
    workerThread_.start();

    if (!restoreGeometry(store_.value("Window/Geometry").toByteArray()))
        resize(1040, 680);
}

MainWindow::~MainWindow()
{
    stopWorker();
}

QWidget* MainWindow::buildConditionsTab()
{
    auto* page = new QWidget(this);
    panel_ = new ConditionsPanel(page);
    connect(panel_->sourceList(), &QComboBox::activated, this, &MainWindow::currentSourceChosen);

    auto* dayLog = new QPushButton(tr("Make Day Log Entry"), page);
    dayLog->setObjectName("dayLogButton");
    connect(dayLog, &QPushButton::clicked, this, &MainWindow::showDayDiary);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(dayLog);

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(panel_);
    layout->addLayout(buttons);
    return page;
}

QWidget* MainWindow::buildExportsTab()
{
    auto* page = new QWidget(this);
    page->setObjectName("exportsTab");
    auto* rss = new QGroupBox(tr("Test RSS Export"), page);
    testSources_ = new QComboBox(rss);
    testSources_->setObjectName("testSourceCombo");
    testSources_->setMinimumContentsLength(20);
    auto* exportRss = new QPushButton(tr("Export RSS Data"), rss);
    exportRss->setObjectName("exportFeedButton");
    exportRss->setToolTip(tr("Saves to export folder as set in prefs."));
    connect(exportRss, &QPushButton::clicked, this, &MainWindow::exportTestSource);
    auto* rssRow = new QHBoxLayout;
    rssRow->addWidget(new QLabel(tr("Source"), rss));
    rssRow->addWidget(testSources_);
    rssRow->addWidget(exportRss);
    rssRow->addStretch();
    auto* rssLayout = new QVBoxLayout(rss);
    rssLayout->addWidget(hintLabel(tr("Fills the feed template of the preferences with the source's latest reading "
                                 "and writes the source's export file, as every cycle does."),
                              rss));
    rssLayout->addLayout(rssRow);

    auto* picture = new QGroupBox(tr("Test Picture Export"), page);
    auto* exportPicture = new QPushButton(tr("Dump current Graph to GIF file wgraph0.gif"), picture);
    exportPicture->setObjectName("exportPictureButton");
    exportPicture->setToolTip(tr("Saves to export folder as set in prefs."));
    connect(exportPicture, &QPushButton::clicked, this, [this] { graph_->exportPicture(); });
    auto* pictureRow = new QHBoxLayout;
    pictureRow->addWidget(exportPicture);
    pictureRow->addStretch();
    auto* pictureLayout = new QVBoxLayout(picture);
    pictureLayout->addWidget(hintLabel(tr("Saves the history graph as it is shown as a GIF picture for a web site, "
                                     "as every cycle does for the favourites marked in the preferences. Each "
                                     "cycle writes those as wgraphN.gif, N being the favourite's number from 0, "
                                     "so when the first favourite is marked its picture replaces this "
                                     "wgraph0.gif at the next cycle."),
                                  picture));
    pictureLayout->addLayout(pictureRow);

    auto* layout = new QVBoxLayout(page);
    layout->addWidget(rss);
    layout->addWidget(picture);
    layout->addStretch();
    return page;
}

void MainWindow::buildMenus()
{
    GraphController::Menus graphMenus{};
    QMenu* traces = menuBar()->addMenu(tr("Traces"));
    traces->setObjectName("tracesMenu");
    graphMenus.addTrace = addItem(traces, tr("Add New Trace"), "addTraceAction");
    graphMenus.clearTraces = addItem(traces, tr("Clear Traces"), "clearTracesAction");

    graphMenus.favourites = menuBar()->addMenu(tr("Favourites"));
    graphMenus.favourites->setObjectName("favouritesMenu");
    graphMenus.addFavourite = addItem(graphMenus.favourites, tr("add to Favourites"), "addFavouriteAction");
    graphMenus.favouritesSeparator = graphMenus.favourites->addSeparator();
    graphMenus.favouritesSeparator->setObjectName("favouritesSeparator");
    graphMenus.favouritesSeparator->setVisible(false);

    QMenu* options = menuBar()->addMenu(tr("Options"));
    options->setObjectName("optionsMenu");
    graphMenus.showLegend = addToggle(options, tr("Show Legend"), "showLegendAction");
    graphMenus.showStability = addToggle(options, tr("Show Stability Transitions"), "showStabilityAction");
    graphMenus.singleDay = addToggle(options, tr("Single Day Range"), "singleDayRangeAction");
    options->addSeparator()->setObjectName("optionsSeparator");
    graphMenus.printPreview = addItem(options, tr("Print Preview"), "printPreviewAction");
    connect(addItem(options, tr("Preferences"), "preferencesAction"), &QAction::triggered, this,
            &MainWindow::showPreferences);
    connect(addItem(options, tr("Remote Data D/L"), "remoteDataAction"), &QAction::triggered, this,
            &MainWindow::showRemoteCollection);
    graph_->attach(graphMenus);

    QMenu* help = menuBar()->addMenu(tr("Help"));
    help->setObjectName("helpMenu");
    connect(addItem(help, tr("Notes"), "notesAction"), &QAction::triggered, this, &MainWindow::showNotes);
    connect(addItem(help, tr("About"), "aboutAction"), &QAction::triggered, this, &MainWindow::showAbout);

    QAction* exit = menuBar()->addAction(tr("Exit"));
    exit->setObjectName("exitAction");
    connect(exit, &QAction::triggered, this, &QWidget::close);
}

void MainWindow::startUp()
{
    const QString database = settings_.primaryDatabase();
    // Queued, never waited for: the database is read on the worker thread.
    const bool firstRun = settings_.firstRun();
    QMetaObject::invokeMethod(
        worker_,
        [worker = worker_, database, firstRun] {
            worker->start(database);
            if (!firstRun)
                worker->showFirstFavourite();
        },
        Qt::QueuedConnection);
    database_->requestLists(database);
    if (firstRun) {
        environment_.boxes.show(tr("New Setup"),
                                tr("Welcome to ") + QApplication::applicationDisplayName() + "\r\n" +
                                    tr("Please setup your preferences under the Options Menu"),
                                MessageBoxes::Icon::Information);
    }
    showTrayIcon(true);
    timing_->start();
}

void MainWindow::showLists(const QList<SourceLists::ListEntry>& sources,
                           const QList<SourceLists::ListEntry>& favourites)
{
    if (!worker_)
        return;  // arrived after the window closed
    graph_->showFavourites(favourites);
    graph_->setSources(sources);
    fillSourceLists(sources);
}

void MainWindow::fillSourceLists(const QList<SourceLists::ListEntry>& sources)
{
    for (QComboBox* list : {panel_->sourceList(), testSources_})
        fillSourceList(list, sources);
    for (SummaryTab* summary : summaries_)
        summary->setSources(sources);
    currentSourceChosen();
}

void MainWindow::currentSourceChosen()
{
    if (!worker_)
        return;
    const QVariant chosen = panel_->sourceList()->currentData();
    worker_->setPanelSource(chosen.isValid() ? std::optional<qint32>(chosen.toInt()) : std::nullopt);
    if (chosen.isValid())
        QMetaObject::invokeMethod(worker_, &CycleWorker::showPanelSource, Qt::QueuedConnection);
    else
        showReading(std::nullopt);  // no source: no reading of one to show
}

void MainWindow::exportTestSource()
{
    if (!worker_)
        return;
    if (settings_.rssFile().isEmpty() || testSources_->currentIndex() < 0)
        return;
    const qint32 sourceID = testSources_->currentData().toInt();
    QMetaObject::invokeMethod(worker_, [this, sourceID] { worker_->exportSource(sourceID); }, Qt::QueuedConnection);
}

void MainWindow::showReading(const std::optional<WeatherReading>& reading)
{
    conditions_ = CurrentConditions();
    if (reading)
        conditions_.showReading(*reading);
    panel_->display(conditions_);
    statusPanels_->display(conditions_);
}

void MainWindow::showLoggingProblem(const QString& problem)
{
    loggingProblem_ = problem;
    statusPanels_->showLoggingProblem(problem);
    if (tray_)
        tray_->setToolTip(trayToolTip());
}

QString MainWindow::trayToolTip() const
{
    return loggingProblem_.isEmpty() ? QStringLiteral("Nimbrel!") : QStringLiteral("Nimbrel!\n") + loggingProblem_;
}

void MainWindow::showTrayIcon(bool show)
{
    if (!show) {
        // Later, never at once: the tray's own menu may be handling the
        // click that closes the window.
        if (tray_) {
            tray_->hide();
            tray_->deleteLater();
        }
        tray_ = nullptr;
        return;
    }
    if (tray_)
        return;
    tray_ = new TrayIcon(this);
    tray_->addMenuItem(tr("Show Nimbrel"), "open", TrayIcon::ItemKind::Default);
    tray_->addMenuItem(tr("Pause"), "pause", TrayIcon::ItemKind::Check);
    tray_->addMenuItem("-", "");
    tray_->addMenuItem(tr("About..."), "about");
    tray_->addMenuItem("-", "");
    tray_->addMenuItem(tr("Exit"), "close");
    tray_->setMenuChecked("pause", false);
    tray_->setToolTip(trayToolTip());
    tray_->setState(TrayState::Idle);
    connect(tray_, &TrayIcon::menuClicked, this, &MainWindow::trayMenuClick);
    connect(tray_, &TrayIcon::doubleClicked, this, &MainWindow::showFromTray);
    if (TrayIcon::available())
        tray_->show();
    else
        statusBar()->showMessage(tr("This desktop has no notification area: Nimbrel runs in its window only."),
                                 15000);
}

void MainWindow::setTrayIcon(TrayState state)
{
    if (tray_)
        tray_->setState(state);
}

void MainWindow::trayMenuClick(const QString& key)
{
    if (key == u"open") {
        showMaximized();
        showFromTray();
    } else if (key == u"pause") {
        // The check item has already changed its mark.
        paused_ = tray_->getMenuChecked("pause");
        if (paused_)
            timing_->stop();
        else
            timing_->start();
    } else if (key == u"about") {
        showAbout();
    } else if (key == u"close") {
        close();
    } else {
        environment_.boxes.show(QApplication::applicationDisplayName(), "Clicked item with key " + key,
                                MessageBoxes::Icon::Information);
    }
}

void MainWindow::showFromTray()
{
    // A minimised window is still "visible": bring it back to its normal size.
    if (isMinimized() || !isVisible())
        showNormal();
    raise();
    activateWindow();
}

void MainWindow::runClockFaster(double speed)
{
    timing_->setInterval(CycleWorker::tickIntervalMs(speed));
    auto* clock = new QLabel(this);
    clock->setObjectName("fastClockLabel");
    clock->setToolTip(tr("The demo's clock runs %1 times faster than the real one").arg(speed));
    statusBar()->addPermanentWidget(clock);
    auto* update = new QTimer(this);
    const auto show = [this, clock, speed] {
        clock->setText(tr("Clock \u00D7%1: %2").arg(speed).arg(
            DateText::format(environment_.clock.now(), QStringLiteral("HH:mm dd-MMM"))));
    };
    connect(update, &QTimer::timeout, this, show);
    show();
    update->start(250);
}

void MainWindow::showNotes()
{
    environment_.boxes.show(tr("Notes"),
                            tr("Nimbrel logs and graphs the readings of your weather station.\r\n\r\n"
                               "For help, questions and reports of problems, write to the project's issue page:\r\n") +
                                kHelpContact,
                            MessageBoxes::Icon::Information);
}

void MainWindow::showAbout()
{
    auto* about = new AboutDialog(kHelpContact, systemInformationTool(), this);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->open();
}

void MainWindow::showPreferences()
{
    if (!worker_)
        return;
    timing_->stop();  // nothing runs on settings half-edited
    if (!preferences_) {
        PreferencesContext context{settings_, store_, environment_, *database_, tools_.choosers, tools_.sendTestMail};
        preferences_ = new PreferencesDialog(context, this);
        connect(preferences_, &QDialog::finished, this, &MainWindow::preferencesClosed);
    }
    preferences_->load();
    preferences_->open();
}

void MainWindow::preferencesClosed()
{
    if (!worker_)
        return;
    // The sources, the Primary database or the cycle may have changed.
    const QString database = settings_.primaryDatabase();
    QMetaObject::invokeMethod(worker_, [this, database] { worker_->start(database); }, Qt::QueuedConnection);
    database_->requestLists(database);
    if (!paused_)
        timing_->start();
}

void MainWindow::showRemoteCollection()
{
    if (!database_)
        return;
    timing_->stop();  // the download and the cycle would write the same file
    auto* dialog = new RemoteClientDialog(settings_.primaryDatabase(), store_, *database_, environment_, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, this, [this] {
        if (!paused_)
            timing_->start();
    });
    dialog->open();
}

void MainWindow::showDayDiary()
{
    if (!database_)
        return;
    if (!diary_)
        diary_ = new DayDiaryDialog(settings_, *database_, this);
    diary_->showDay(environment_.clock.now().date());
    diary_->open();
}

void MainWindow::stopWorker()
{
    timing_->stop();
    if (!workerThread_.isRunning())
        return;
    workerThread_.quit();
    // The worker may be waiting for a message box on this thread: keep it answered.
    while (!workerThread_.wait(50))
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    // Deleted with the thread's end; results still on their way find them gone.
    graph_->detach();
    worker_ = nullptr;
    database_ = nullptr;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    stopWorker();
    store_.setValue("Window/Geometry", saveGeometry());
    showTrayIcon(false);
    event->accept();
}
