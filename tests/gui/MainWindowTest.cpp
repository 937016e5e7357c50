#include "core/cycle/DemoStation.h"
#include "core/db/DatabaseSession.h"
#include "ui/AboutDialog.h"
#include "ui/ConditionsPanel.h"
#include "ui/DayDiaryDialog.h"
#include "ui/MainWindow.h"
#include "ui/PreferencesDialog.h"
#include "ui/StatusPanels.h"
#include "ui/TrayIcon.h"
#include "ui/WeatherIcons.h"
#include "core/readings/StationSimulator.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"
#include "core/text/NumberText.h"
#include "mdb/FileSystem.h"
#include "support/TestSupport.h"
#include "DemoWindow.h"
#include "GuiTestRegistry.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTabWidget>
#include <QThread>
#include <QTimer>
#include <QtTest>

// The main window on the demo station, offscreen: what it loads at start,
// what it shows, and what its menus and buttons do.
class MainWindowTest : public QObject {
    Q_OBJECT

    const QDateTime kNow{QDate(2026, 3, 10), QTime(14, 23, 0)};

    using Running = DemoWindow;

    std::unique_ptr<Running> start(bool firstRun = false)
    {
        auto run = std::make_unique<Running>(kNow);
        run->open(firstRun ? run->folder.file("fresh.ini") : QString());
        return run;
    }

private slots:
    void startShowsTheFirstSourceAtOnce()
    {
        auto run = start();
        auto* sources = namedChild<QComboBox>(run->window.get(), "currentSourceCombo");
        QTRY_COMPARE(sources->count(), 1);
        QCOMPARE(sources->currentText(), QString("Demo Station"));
        QCOMPARE(namedChild<QComboBox>(run->window.get(), "testSourceCombo")->currentText(), QString("Demo Station"));

        const WeatherReading expected = StationSimulator::weatherAt(kNow);
        auto* temperature = namedChild<QLabel>(run->window.get(), "temperatureOutValue");
        QTRY_COMPARE(temperature->text(), NumberText::generalNumber(expected.temperatureOut()));
        QCOMPARE(namedChild<QLabel>(run->window.get(), "readTimeValue")->text(), QString("14:23 10-Mar-2026"));
        QCOMPARE(namedChild<QLabel>(run->window.get(), "windText")->text(),
                 "Wind: " + expected.windDirection() + " @ " + NumberText::generalNumber(expected.windSpeed()) +
                     "knots ");
        QVERIFY(run->window->timer()->isActive());
        QCOMPARE(run->window->timer()->interval(), 5000);
        QVERIFY(run->errors.empty());
        QVERIFY(run->boxes.boxes().empty());
        QCOMPARE(run->files.openedOnWindowThread.loadRelaxed(), 0);  // all on the worker thread
        run->window->statusBar()->clearMessage();
        saveGrab(run->window.get(), "main-window.png");
    }

    // A storm: the weather picture stays, the storm shows in the rain panel;
    // a rising barometer shows the up arrow in the panel and the status bar.
    void picturesFollowTheReading()
    {
        QMainWindow window;
        auto* panel = new ConditionsPanel(&window);
        window.setCentralWidget(panel);
        StatusPanels status(window.statusBar());
        window.resize(1040, 560);
        window.show();

        CurrentConditions conditions;
        WeatherReading w = StationSimulator::weatherAt(kNow);
        w.setStabilityFromCode("0");
        w.setTrendFromCode("1");
        conditions.showReading(w);
        w.setStormFromCode("1");
        w.setStabilityFromCode("2");
        conditions.showReading(w);
        panel->display(conditions);
        status.display(conditions);

        QCOMPARE(namedChild<QLabel>(&window, "trendPicture")->toolTip(), QString("up"));
        QCOMPARE(namedChild<QLabel>(&window, "weatherPicture")->toolTip(), QString("rain"));
        QVERIFY(!namedChild<QLabel>(&window, "weatherPicture")->pixmap().isNull());
        auto* rain = namedChild<QWidget>(&window, "rain");
        auto* rainPicture = rain->findChildren<QLabel*>().front();
        QCOMPARE(rainPicture->toolTip(), QString("storm"));
        QVERIFY(rainPicture->isVisible());
        QCOMPARE(namedChild<QLabel>(&window, "rainText")->text(), conditions.panelText("rain"));
        saveGrab(&window, "storm-and-rising-pressure.png");

        // Every picture, large and small, for a person to look at.
        QPixmap sheet(8 * 100, 130);
        sheet.fill(Qt::white);
        QPainter painter(&sheet);
        int x = 0;
        for (const char* key : {"up", "down", "sun", "cloud", "rain", "storm"}) {
            QVERIFY(!WeatherIcons::picture(key, 96).isNull());
            painter.drawPixmap(x, 0, WeatherIcons::picture(key, 96));
            painter.drawPixmap(x + 40, 104, WeatherIcons::picture(key, 16));
            x += 100;
        }
        for (int state = 0; state < 3; ++state)
            painter.drawPixmap(600 + state * 64, 20, WeatherIcons::trayIcon(state).pixmap(48));
        painter.end();
        QDir().mkpath("screens");
        sheet.save("screens/pictures.png");
        QVERIFY(WeatherIcons::picture("", 96).isNull());
    }

    // Every status bar panel shows its whole text, however narrow the window.
    // A panel is never cut short: those that fit are shown, whole, the time
    // and the temperature first.
    void statusPanelsShowTheirWholeText()
    {
        QMainWindow window;
        StatusPanels status(window.statusBar());
        window.resize(600, 300);
        window.show();
        CurrentConditions conditions;
        WeatherReading w = StationSimulator::weatherAt(kNow);
        w.setHumidityOut(60);
        w.setRainTotal(1250.5);
        w.setBarometer(1013.25);
        w.setWindDirection("NNW");
        conditions.showReading(w);
        status.display(conditions);
        for (const int width : {600, 1400}) {
            window.resize(width, 300);
            QTest::qWait(50);
            QStringList shown;
            for (const QString& key : CurrentConditions::panelKeys()) {
                auto* text = namedChild<QLabel>(&window, key + "Text");
                if (!text->isVisibleTo(&window))
                    continue;
                shown << key;
                const int room = text->visibleRegion().boundingRect().width();
                QVERIFY2(room >= text->fontMetrics().horizontalAdvance(text->text()),
                         qPrintable(key + ": " + text->text() + QString(" shown in %1 pixels").arg(room)));
            }
            QVERIFY(shown.contains("time") && shown.contains("tempout"));
            QVERIFY(width < 1000 || shown.size() == 7);
            if (width == 600)
                saveGrab(&window, "status-panels-narrow.png");
        }
    }

    // Before the first reading the bar shows no panels: no row of empty
    // separators.
    void noReadingShowsNoEmptyPanels()
    {
        QMainWindow window;
        StatusPanels status(window.statusBar());
        window.resize(1200, 300);
        window.show();
        status.display(CurrentConditions());
        QTest::qWait(20);
        for (const QString& key : CurrentConditions::panelKeys())
            QVERIFY2(!namedChild<QWidget>(&window, key)->isVisibleTo(&window), qPrintable(key));
    }

    void theWindowShrinksTo800Pixels()
    {
        auto run = start();
        run->window->resize(800, 600);
        QTest::qWait(100);
        QCOMPARE(run->window->width(), 800);
        saveGrab(run->window.get(), "main-window-800.png");
    }

    // Logging that stops for any reason is said in the status bar and the
    // tray's tooltip until readings are logged again.
    void aStopOfLoggingIsShownInTheStatusBarAndTheTray()
    {
        auto run = start();
        auto* warning = namedChild<QLabel>(run->window.get(), "loggingProblemLabel");
        QVERIFY(!warning->isVisibleTo(run->window.get()));
        namedChild<QAction>(run->window.get(), "preferencesAction")->trigger();
        auto* dialog = namedChild<PreferencesDialog>(run->window.get(), "preferencesDialog");
        QTRY_VERIFY(!namedChild<QLineEdit>(dialog, "sourceNameEdit")->text().isEmpty());
        auto* primary = namedChild<QLineEdit>(dialog, "primaryDatabaseEdit");
        const QString moved = run->folder.file("moved away.mdb");
        primary->setText(moved);
        namedChild<QPushButton>(dialog, "okButton")->click();
        QTRY_VERIFY(warning->isVisibleTo(run->window.get()));
        QCOMPARE(warning->text(),
                 QString("Nothing is logged: the Primary Weather Database has no sources, or they could not be read"));
        QCOMPARE(run->window->tray()->icon()->toolTip(), "Nimbrel!\n" + warning->text());
        QVERIFY2(run->window->conditions().label(1).isEmpty(), "no source, so no reading of one");
        QVERIFY(run->errors.messages().join("|").contains("moved away.mdb"));
        run->window->statusBar()->clearMessage();
        saveGrab(run->window.get(), "logging-stopped.png");

        namedChild<QAction>(run->window.get(), "preferencesAction")->trigger();
        primary->setText(run->demo.databasePath());
        namedChild<QPushButton>(dialog, "okButton")->click();
        QTRY_VERIFY(!warning->isVisibleTo(run->window.get()));
        QCOMPARE(run->window->tray()->icon()->toolTip(), QString("Nimbrel!"));
        run->errors.messages();
    }

    void firstRunGreetsAndLeavesTheListsEmpty()
    {
        auto run = start(true);
        QCOMPARE(run->boxes.boxes().size(), std::size_t(1));
        const auto box = run->boxes.boxes().front();
        QCOMPARE(box.title, QString("New Setup"));
        QCOMPARE(box.text, "Welcome to " + QGuiApplication::applicationDisplayName() +
                               "\r\nPlease setup your preferences under the Options Menu");
        QCOMPARE(box.icon, MessageBoxes::Icon::Information);
        QCOMPARE(namedChild<QComboBox>(run->window.get(), "currentSourceCombo")->count(), 0);
    }

    // A new user's first run: a database made from the preferences, a source
    // on the station's file, logging on; at the next ten-minute mark the
    // first reading is in the database. (The pictures of the README's set-up
    // walk come from here.)
    void aNewUserSetsUpTheirOwnStation()
    {
        auto run = start(true);
        const QString stationFile = run->folder.file("station/currdat.lst");
        QDir().mkpath(run->folder.file("station"));
        QString error;
        QVERIFY2(StationSimulator::writeCurrentDataFile(stationFile, kNow, error), qPrintable(error));

        namedChild<QAction>(run->window.get(), "preferencesAction")->trigger();
        auto* dialog = namedChild<PreferencesDialog>(run->window.get(), "preferencesDialog");
        // A folder that does not exist yet, as the README's walk names it.
        const QString database = run->folder.file("Weather/My Weather.mdb");
        run->choosers.files = {run->folder.file("Weather/My Weather")};
        namedChild<QPushButton>(dialog, "newDatabaseButton")->click();
        QTRY_COMPARE(namedChild<QLineEdit>(dialog, "primaryDatabaseEdit")->text(), database);
        namedChild<QPushButton>(dialog, "newSourceButton")->click();
        QTRY_VERIFY(namedChild<QLineEdit>(dialog, "sourceNameEdit")->isEnabled());  // the number has come
        QCOMPARE(namedChild<QLabel>(dialog, "sourceNumberLabel")->text(), QString("Source No.0"));
        QTest::keyClicks(namedChild<QLineEdit>(dialog, "sourceNameEdit"), "Back Garden");
        run->choosers.files = {stationFile, database};
        namedChild<QPushButton>(dialog, "pickSourceFileButton")->click();
        namedChild<QPushButton>(dialog, "pickSourceDatabaseButton")->click();
        namedChild<QLineEdit>(dialog, "logMultipleEdit")->setText("1");
        saveGrab(dialog, "setup-source.png");
        namedChild<QPushButton>(dialog, "saveSourceButton")->click();
        QTRY_VERIFY(!namedChild<QPushButton>(dialog, "saveSourceButton")->isEnabled());

        namedChild<QTabWidget>(dialog, "preferencesTabs")->setCurrentIndex(3);
        namedChild<QCheckBox>(dialog, "autoRefreshCheck")->click();
        namedChild<QCheckBox>(dialog, "autoDatabaseCheck")->click();
        saveGrab(dialog, "setup-auto-refresh.png");
        namedChild<QPushButton>(dialog, "okButton")->click();
        QVERIFY(!dialog->isVisible());
        QCOMPARE(QSettings(run->folder.file("fresh.ini"), QSettings::IniFormat).value("Data/Database").toString(),
                 database);

        auto* sources = namedChild<QComboBox>(run->window.get(), "currentSourceCombo");
        QTRY_COMPARE(sources->currentText(), QString("Back Garden"));
        run->window->timer()->stop();
        QTest::qWait(100);  // the cycle's last tick has finished
        run->clock.set(QDateTime(kNow.date(), QTime(14, 30)));
        run->window->timer()->start(20);
        QTRY_COMPARE_WITH_TIMEOUT(historyRows(database, run->environment), 1, 10000);
        QStringList messages;
        for (const auto& box : run->boxes.boxes())
            messages << box.title;
        QCOMPARE(messages, (QStringList{"New Setup", "New Source", "New Source Added"}));
        QVERIFY(run->errors.empty());
        run->window->statusBar()->clearMessage();
        saveGrab(run->window.get(), "setup-first-reading.png");
    }

    static int historyRows(const QString& database, const Environment& environment)
    {
        auto session = DatabaseSession::open(database, DatabaseSession::Access::Read, environment);
        if (!session)
            return -1;
        auto table = (*session)->table("History");
        int rows = 0;
        if (!table || !(*session)->scan(*table, [&rows](const mdb::Row&) { ++rows; return true; }))
            return -1;
        return rows;
    }

    // Through the menu's own actions, as a click runs them.
    void trayMenuPausesAndResumesTheCycle()
    {
        auto run = start();
        TrayIcon* tray = run->window->tray();
        QVERIFY(tray);
        QStringList keys;
        for (QAction* item : tray->menu()->actions())
            keys << (item->isSeparator() ? "-" : item->data().toString());
        QCOMPARE(keys, QStringList({"open", "pause", "-", "about", "-", "close"}));
        QCOMPARE(tray->menu()->defaultAction()->text(), QString("Show Nimbrel"));
        if (!TrayIcon::available())
            QVERIFY(run->window->statusBar()->currentMessage().contains("no notification area"));

        QAction* pause = namedChild<QAction>(tray->menu(), "pauseTrayAction");
        pause->trigger();
        QVERIFY(pause->isChecked());
        QVERIFY(!run->window->timer()->isActive());
        pause->trigger();
        QVERIFY(!pause->isChecked());
        QVERIFY(run->window->timer()->isActive());

        emit tray->menuClicked("unknown");
        QCOMPARE(run->boxes.boxes().back().text, QString("Clicked item with key unknown"));
    }

    // Exit in the tray's menu closes the window; the menu (and the item it
    // is running) lives until the click has been handled.
    void trayMenuExitClosesTheWindow()
    {
        auto run = start();
        QPointer<QAction> exit = namedChild<QAction>(run->window->tray()->menu(), "closeTrayAction");
        exit->trigger();
        QVERIFY(!run->window->isVisible());
        QVERIFY2(exit, "the item was deleted while its click was still being handled");
        QTRY_VERIFY(!exit);
        QVERIFY(!run->window->tray());
    }

    void trayDoubleClickRestoresAMinimisedWindow()
    {
        auto run = start();
        run->window->showMinimized();
        QTRY_VERIFY(run->window->isMinimized());
        QVERIFY(run->window->isVisible());
        emit run->window->tray()->icon()->activated(QSystemTrayIcon::DoubleClick);
        QTRY_VERIFY(!run->window->isMinimized());
        QVERIFY(run->window->isVisible());
    }

    void notes()
    {
        auto run = start();
        namedChild<QAction>(run->window.get(), "notesAction")->trigger();
        QVERIFY(run->boxes.boxes().back().text.contains("https://"));
    }

    void exportButtonWritesTheChosenSourcesFeed()
    {
        auto run = start();
        QVERIFY(!QFile::exists(run->demo.feedFile()));
        QTRY_COMPARE(namedChild<QComboBox>(run->window.get(), "testSourceCombo")->count(), 1);
        namedChild<QPushButton>(run->window.get(), "exportFeedButton")->click();
        QTRY_VERIFY(QFile::exists(run->demo.feedFile()));
        QTRY_VERIFY(readAll(run->demo.feedFile()).contains("<title>Demo Station weather</title>"));
        QVERIFY(run->errors.empty());
        namedChild<QTabWidget>(run->window.get(), "mainTabs")
            ->setCurrentWidget(namedChild<QWidget>(run->window.get(), "exportsTab"));
        saveGrab(run->window.get(), "exports-tab.png");
    }

    // Options, Preferences: the cycle waits while the dialog is open; a
    // source added there is in the lists when it closes.
    void preferencesHoldTheCycleAndReloadTheSources()
    {
        auto run = start();
        auto* sources = namedChild<QComboBox>(run->window.get(), "currentSourceCombo");
        QTRY_COMPARE(sources->count(), 1);
        namedChild<QAction>(run->window.get(), "preferencesAction")->trigger();
        auto* dialog = namedChild<PreferencesDialog>(run->window.get(), "preferencesDialog");
        QVERIFY(dialog->isVisible());
        QVERIFY(!run->window->timer()->isActive());
        QTRY_COMPARE(namedChild<QLabel>(dialog, "sourceNumberLabel")->text(), QString("Source No.0"));

        namedChild<QPushButton>(dialog, "newSourceButton")->click();
        QTRY_COMPARE(namedChild<QLabel>(dialog, "sourceNumberLabel")->text(), QString("Source No.1"));
        QTest::keyClicks(namedChild<QLineEdit>(dialog, "sourceNameEdit"), "Roof");
        QTest::keyClicks(namedChild<QLineEdit>(dialog, "sourceFileEdit"), run->demo.stationFile());
        namedChild<QPushButton>(dialog, "saveSourceButton")->click();
        QTRY_VERIFY(!namedChild<QPushButton>(dialog, "saveSourceButton")->isEnabled());
        namedChild<QPushButton>(dialog, "okButton")->click();
        QVERIFY(!dialog->isVisible());
        QVERIFY(run->window->timer()->isActive());
        QTRY_COMPARE(sources->count(), 2);
        QCOMPARE(sources->itemText(1), QString("Roof"));
        QVERIFY(run->errors.empty());

        // Paused from the tray: the cycle stays paused after the dialog.
        namedChild<QAction>(run->window->tray()->menu(), "pauseTrayAction")->trigger();
        namedChild<QAction>(run->window.get(), "preferencesAction")->trigger();
        namedChild<QPushButton>(dialog, "cancelButton")->click();
        QVERIFY(!run->window->timer()->isActive());
    }

    void dayLogButtonOpensTodaysDiary()
    {
        auto run = start();
        namedChild<QPushButton>(run->window.get(), "dayLogButton")->click();
        auto* diary = namedChild<DayDiaryDialog>(run->window.get(), "dayDiaryDialog");
        QVERIFY(diary->isVisible());
        QCOMPARE(diary->day(), kNow.date());
    }

    void aboutBoxShowsTheVersionAndTheSystemTool()
    {
        auto run = start();
        namedChild<QAction>(run->window.get(), "aboutAction")->trigger();
        auto* about = namedChild<AboutDialog>(run->window.get(), "aboutDialog");
        QVERIFY(about->isVisible());
        QVERIFY(namedChild<QLabel>(about, "aboutText")->text().contains(QCoreApplication::applicationVersion()));
        about->accept();

        TempFolder tools;
        QCOMPARE(systemInformationTool({tools.path()}), QString());
        AboutDialog without("https://example.org", QString());
        auto* button = namedChild<QPushButton>(&without, "systemInfoButton");
        QVERIFY(!button->isEnabled());
        QCOMPARE(button->text(), QString("No system information tool found"));

        const QString hardinfo = tools.write("hardinfo", "#!/bin/sh\n");
        QFile::setPermissions(hardinfo, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(systemInformationTool({tools.path()}), hardinfo);
        AboutDialog with("https://example.org", hardinfo);
        QVERIFY(namedChild<QPushButton>(&with, "systemInfoButton")->isEnabled());
    }

    void closingStopsTheCycleAndRemembersTheWindow()
    {
        auto run = start();
        run->window->resize(820, 590);
        QVERIFY(run->window->close());
        QVERIFY(!run->window->timer()->isActive());
        QVERIFY(!run->store->value("Window/Geometry").toByteArray().isEmpty());
        MainWindow again(run->settings, run->environment, *run->store, WindowTools{run->choosers, {}});
        QCOMPARE(again.size(), QSize(820, 590));
    }
};

NIMBREL_GUI_TEST(MainWindowTest)
#include "MainWindowTest.moc"
