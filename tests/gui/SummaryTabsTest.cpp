#include "core/db/DatabaseSession.h"
#include "core/db/ReadingLogger.h"
#include "core/readings/StationSimulator.h"
#include "core/summaries/RainDays.h"
#include "core/summaries/WindDay.h"
#include "core/text/NumberText.h"
#include "ui/ChartView.h"
#include "ui/DataTableView.h"
#include "ui/MaxMinTab.h"
#include "ui/WindSummaryTab.h"
#include "DemoWindow.h"
#include "GuiTestRegistry.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QtTest>

// The Max & Mins, Wind Summary and Rainfall tabs on the demo station (five
// weeks of readings), offscreen: what they show at start, what their
// controls do, and the figures compared with the summaries read straight
// from the demo's database.
class SummaryTabsTest : public QObject {
    Q_OBJECT

    const QDateTime kNow{QDate(2026, 11, 23), QTime(12, 5, 0)};
    const QDate kBadWindDay{2026, 11, 20};

    // The demo with one reading more: on kBadWindDay at 12:05, its wind
    // from a direction that is no compass point.
    std::unique_ptr<DemoWindow> start()
    {
        auto run = std::make_unique<DemoWindow>(kNow);
        QString error;
        if (!run->demo.prepare(kNow, run->environment, error))
            qFatal("demo: %s", qPrintable(error));
        addReadingFromNowhere(*run);
        run->open();
        run->window->timer()->stop();
        return run;
    }

    void addReadingFromNowhere(DemoWindow& run) const
    {
        auto session = DatabaseSession::open(run.demo.databasePath(), DatabaseSession::Access::Write, run.environment);
        auto history = (*session)->table("History");
        std::vector<ColumnValue> row =
            ReadingLogger::historyRow(StationSimulator::weatherAt(QDateTime(kBadWindDay, QTime(12, 5))), 0);
        for (ColumnValue& value : row) {
            if (value.column == u"WindDir")
                value.value = QStringLiteral("Up");
            if (value.column == u"Windspeed")
                value.value = 5.0;
        }
        if (!(*session)->insert(*history, row) || !(*session)->commit())
            qFatal("cannot add the reading");
    }

    static SummarySource demoSource(const DemoWindow& run)
    {
        return {"Demo Station", run.demo.databasePath(), 0};
    }

    // Waits for the tab's chart to show a picture for `chart` to satisfy.
    template <typename Check>
    static void waitForChart(ChartView* view, Check check)
    {
        QVERIFY(QTest::qWaitFor([&] { return view->chart() && check(*view->chart()) && !view->picture().isNull(); },
                                10000));
    }

    static QString cell(QTableView* table, int row, int column)
    {
        return table->model()->index(row, column).data().toString();
    }

private slots:
    // At start the month's rain is drawn; its figures are those of the rain
    // days read from the file, and the month buttons step by a month.
    void rainfallShowsTheMonthAndStepsByMonths()
    {
        auto run = start();
        run->find<QTabWidget>("mainTabs")->setCurrentWidget(run->find<QWidget>("rainTab"));
        auto* chart = run->find<ChartView>("rainChart");
        waitForChart(chart, [](const plot::Chart& c) { return c.title.startsWith("Rainfall for November 2026."); });

        auto expected = readRainMonth(demoSource(*run), QDate(2026, 11, 1), run->environment);
        QVERIFY(expected);
        QCOMPARE(chart->chart()->title, expected->title());
        QVERIFY(chart->chart()->title.contains(".    Total is "));
        auto* table = run->find<QTableView>("rainTable");
        QCOMPARE(table->model()->rowCount(), 23);  // to the rain day that ended at 09:00 today
        QCOMPARE(cell(table, 0, 0), QString("01.11.2026"));
        QCOMPARE(cell(table, 0, 1), QString("0.0"));  // the counter started again at midnight
        for (int row = 0; row < 23; ++row)
            QCOMPARE(cell(table, row, 1), SummaryTables::rain(*expected).rows[std::size_t(row)][1].text);
        saveGrab(run->window.get(), "rainfall-tab.png");

        auto* back = run->find<QPushButton>("rainMonthBackButton");
        QCOMPARE(back->toolTip(), QString("this trace -1 day"));
        QCOMPARE(run->find<QPushButton>("rainMonthForwardButton")->toolTip(), QString("this trace +1 day"));
        back->click();
        QCOMPARE(run->find<QDateEdit>("rainMonth")->text(), QString("October 2026"));
        waitForChart(chart, [](const plot::Chart& c) { return c.title.startsWith("Rainfall for October 2026."); });
        // Five weeks back from today reach 19 October: the days before have no reading.
        QVERIFY(table->model()->rowCount() > 0);
        QVERIFY(run->errors.empty());
    }

    // At start today's wind is drawn; the day buttons move the day. A day
    // with a reading from no compass point reports it and shows nothing.
    void windSummaryShowsTheDayAndItsStrongestWind()
    {
        auto run = start();
        run->find<QTabWidget>("mainTabs")->setCurrentWidget(run->find<QWidget>("windTab"));
        auto* tab = run->window->findChild<WindSummaryTab*>();
        auto* chart = run->find<ChartView>("windChart");
        auto* table = run->find<QTableView>("windTable");
        QTRY_VERIFY_WITH_TIMEOUT(!tab->maximumText().isEmpty(), 10000);
        waitForChart(chart, [](const plot::Chart& c) { return c.polar.has_value(); });

        const auto today = readWindDay(demoSource(*run), kNow.date(), run->environment);
        QVERIFY(today);
        QCOMPARE(tab->maximumText(), "Max: " + NumberText::generalNumber(today->maximum) + "\nMax Time: " +
                                         today->maximumTime + "\nDir: " + today->maximumDirection);
        QCOMPARE(table->model()->rowCount(), 16);
        QCOMPARE(cell(table, 1, 0), QString("NNE"));
        for (int bin = 0; bin < 16; ++bin)
            QCOMPARE(chart->chart()->polar->spokes[std::size_t(bin)].value, today->sums[std::size_t(bin)]);
        saveGrab(run->window.get(), "wind-summary-tab.png");

        auto* back = run->find<QPushButton>("windDayBackButton");
        back->click();
        QCOMPARE(run->find<QDateEdit>("windDay")->date(), kNow.date().addDays(-1));
        const auto yesterday = readWindDay(demoSource(*run), kNow.date().addDays(-1), run->environment);
        QVERIFY(yesterday);
        QTRY_VERIFY_WITH_TIMEOUT(tab->maximumText().startsWith("Max: " + NumberText::generalNumber(yesterday->maximum)) &&
                                     tab->maximumText().contains(yesterday->maximumTime),
                                 10000);

        back->click();
        back->click();  // kBadWindDay
        QStringList errors;
        QVERIFY(QTest::qWaitFor([&] { return !(errors += run->errors.messages()).isEmpty(); }, 10000));
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors.front().startsWith("Database Read Error: \r\n"));
        QVERIFY(errors.front().contains("12:05"));
        QTRY_VERIFY(tab->maximumText().isEmpty());
        QCOMPARE(table->model()->rowCount(), 0);
        for (const plot::Spoke& spoke : chart->chart()->polar->spokes)
            QCOMPARE(spoke.value, 0.0);
    }

    // Max & Mins draws nothing for one day; a range draws a pair, and with
    // "Clear previous" off a second pair joins it.
    void maxAndMinsDrawsPairsOfSeries()
    {
        auto run = start();
        run->find<QTabWidget>("mainTabs")->setCurrentWidget(run->find<QWidget>("maxMinTab"));
        auto* tab = run->window->findChild<MaxMinTab*>();
        auto* chart = run->find<ChartView>("maxMinChart");
        auto* table = run->find<QTableView>("maxMinTable");
        QTest::qWait(200);
        QVERIFY(!chart->chart());  // first and last day are both today

        run->find<QDateEdit>("maxMinFirstDay")->setDate(QDate(2026, 11, 1));
        waitForChart(chart, [](const plot::Chart& c) { return c.lines.size() == 2; });
        QCOMPARE(chart->chart()->lines[0].name, QString("Max \u2014 Demo Station, Temperature Out"));
        QCOMPARE(chart->chart()->lines[1].name, QString("Min \u2014 Demo Station, Temperature Out"));
        QCOMPARE(table->model()->rowCount(), 23);
        auto expected = readDailyExtremes(demoSource(*run), "OutTemperature", QDate(2026, 11, 1), kNow.date(),
                                          run->environment);
        QVERIFY(expected);
        QCOMPARE(cell(table, 22, 1), NumberText::fixedNumber(expected->back().minimum, 1));
        QCOMPARE(cell(table, 22, 2), NumberText::fixedNumber(expected->back().maximum, 1));

        // A reversed range changes nothing.
        run->find<QDateEdit>("maxMinLastDay")->setDate(QDate(2026, 10, 30));
        QTest::qWait(200);
        QCOMPARE(tab->pairs().size(), std::size_t(1));
        run->find<QDateEdit>("maxMinLastDay")->setDate(kNow.date());
        QTRY_COMPARE(tab->pairs().size(), std::size_t(1));

        run->find<QCheckBox>("maxMinClearPrevious")->setChecked(false);
        auto* types = run->find<QComboBox>("maxMinTypeList");
        types->setCurrentIndex(types->findText("Dewpoint"));
        emit types->activated(types->currentIndex());
        waitForChart(chart, [](const plot::Chart& c) { return c.lines.size() == 4; });
        QCOMPARE(chart->chart()->lines[2].name, QString("Max \u2014 Demo Station, Dewpoint"));
        QCOMPARE(table->model()->columnCount(), 5);
        QCOMPARE(table->model()->headerData(3, Qt::Horizontal).toString(), QString("Max\nDemo Station\nDewpoint"));
        saveGrab(run->window.get(), "max-mins-tab.png");
        QVERIFY(run->errors.empty());
    }

    // The table sorts by number and copies what is selected as it shows it.
    void summaryTablesSortAndCopy()
    {
        auto run = start();
        run->find<QTabWidget>("mainTabs")->setCurrentWidget(run->find<QWidget>("windTab"));
        auto* table = run->find<QTableView>("windTable");
        QTRY_COMPARE_WITH_TIMEOUT(table->model()->rowCount(), 16, 10000);
        table->sortByColumn(1, Qt::DescendingOrder);
        const double top = table->model()->index(0, 1).data(Qt::UserRole).toDouble();
        for (int row = 1; row < 16; ++row)
            QVERIFY(table->model()->index(row, 1).data(Qt::UserRole).toDouble() <= top);
        table->sortByColumn(0, Qt::AscendingOrder);
        table->selectionModel()->select(
            QItemSelection(table->model()->index(0, 0), table->model()->index(1, 1)), QItemSelectionModel::Select);
        auto* view = run->window->findChild<WindSummaryTab*>()->table();
        QVERIFY(view->selectedText().startsWith("N\t"));
        QCOMPARE(view->selectedText().split('\n').value(1).section('\t', 0, 0), QString("NNE"));
    }
};

NIMBREL_GUI_TEST(SummaryTabsTest)
#include "SummaryTabsTest.moc"
