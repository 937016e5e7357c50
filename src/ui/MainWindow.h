#pragma once

#include "core/cycle/CurrentConditions.h"
#include "core/cycle/DatabaseService.h"
#include "core/cycle/RefreshCycle.h"
#include "core/errors/Environment.h"
#include "core/graphs/HistoryChart.h"

#include <QMainWindow>
#include <QThread>

#include <functional>

class Choosers;
class ConditionsPanel;
class GraphController;
class CycleWorker;
class DayDiaryDialog;
class PreferencesDialog;
class QAction;
class QComboBox;
class QMenu;
class QSettings;
class QTimer;
class SettingsModel;
class StatusPanels;
class SummaryTab;
class TrayIcon;

// What the window's dialogs use besides the environment: the platform's
// file and colour choosers, and the mail test (called on the worker thread).
struct WindowTools {
    Choosers& choosers;
    std::function<bool()> sendTestMail;
};

// The program's main window. startUp() starts the program: it greets a
// first-time user, asks the worker thread for the menus' and lists' rows and
// starts the refresh cycle, which runs on that thread while the window shows
// its results; the history graph is drawn there too. The window itself never
// opens the database. Closing the window ends the program, after the cycle's
// current piece of work has finished.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    // `store` keeps the window's size and place between runs.
    MainWindow(SettingsModel& settings, const Environment& environment, QSettings& store, WindowTools tools,
               QWidget* parent = nullptr);
    ~MainWindow() override;

    void startUp();

    // The refresh timer (Timing): five seconds, running unless paused.
    QTimer* timer() const { return timing_; }
    TrayIcon* tray() const { return tray_; }
    const CurrentConditions& conditions() const { return conditions_; }

    // Shows the window at its normal size (even when minimised) and in front.
    void showFromTray();

    // The program's clock runs `speed` times faster than the real one (the
    // demo's --speed): the timer ticks as often faster, and the status bar
    // says so with the clock's time.
    void runClockFaster(double speed);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    QWidget* buildConditionsTab();
    QWidget* buildExportsTab();
    void showTrayIcon(bool show);
    void setTrayIcon(TrayState state);
    void trayMenuClick(const QString& key);
    void showLists(const QList<SourceLists::ListEntry>& sources, const QList<SourceLists::ListEntry>& favourites);
    void fillSourceLists(const QList<SourceLists::ListEntry>& sources);
    void currentSourceChosen();
    void exportTestSource();
    // The panel and the status bar show the reading, or nothing.
    void showReading(const std::optional<WeatherReading>& reading);
    void showLoggingProblem(const QString& problem);
    // "Nimbrel!", with why readings are not logged when they are not.
    QString trayToolTip() const;
    void showNotes();
    void showAbout();
    void showPreferences();
    void preferencesClosed();
    void showDayDiary();
    void showRemoteCollection();
    void stopWorker();

    SettingsModel& settings_;
    const Environment& environment_;
    QSettings& store_;
    WindowTools tools_;
    CurrentConditions conditions_;
    ConditionsPanel* panel_ = nullptr;
    StatusPanels* statusPanels_ = nullptr;
    QComboBox* testSources_ = nullptr;
    TrayIcon* tray_ = nullptr;
    QTimer* timing_ = nullptr;
    QThread workerThread_;
    CycleWorker* worker_ = nullptr;
    DatabaseService* database_ = nullptr;
    HistoryChartRenderer renderer_;  // draws the graph's pictures on the worker thread
    GraphController* graph_ = nullptr;
    QList<SummaryTab*> summaries_;  // Max & Mins, Wind Summary, Rainfall
    PreferencesDialog* preferences_ = nullptr;  // made at first use, then kept
    DayDiaryDialog* diary_ = nullptr;
    bool paused_ = false;  // the tray's Pause is ticked
    QString loggingProblem_;  // why readings are not logged; empty while they are
};
