#include "core/cycle/DemoStation.h"
#include "core/graphs/DataTypes.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"
#include "ui/GraphController.h"
#include "ui/GraphView.h"
#include "ui/HistoryDataTab.h"
#include "ui/MainWindow.h"
#include "ui/TraceDialog.h"
#include "support/TestSupport.h"
#include "DemoWindow.h"
#include "GuiTestRegistry.h"

#include <QAction>
#include <QComboBox>
#include <QDateEdit>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QPrintPreviewDialog>
#include <QPushButton>
#include <QSettings>
#include <QTableView>
#include <QTimer>
#include <QtTest>

// The history graph in the main window on the demo station (five weeks of
// readings, three favourites), offscreen: what it draws at start, and what
// its buttons, menus and dialogs do.
class HistoryGraphWindowTest : public QObject {
    Q_OBJECT

    const QDateTime kNow{QDate(2026, 3, 10), QTime(14, 23, 0)};

    struct Running : DemoWindow {
        using DemoWindow::DemoWindow;

        GraphController* graph() const { return window->findChild<GraphController*>(); }
        const GraphUpdate& shown() const { return graph()->shown(); }
        QAction* favourite(const QString& name) const
        {
            for (QAction* item : find<QMenu>("favouritesMenu")->actions()) {
                if (item->text() == name)
                    return item;
            }
            return nullptr;
        }
    };

    std::unique_ptr<Running> start()
    {
        auto run = std::make_unique<Running>(kNow);
        run->open();
        run->window->timer()->stop();  // the cycle only where a test runs it
        run->find<QTabWidget>("mainTabs")->setCurrentIndex(1);
        const Running* raw = run.get();
        const bool drawn = QTest::qWaitFor(
            [raw] { return raw->shown().picture && !raw->shown().picture->isNull() && raw->shown().state.traces.size() == 3; },
            10000);
        if (!drawn)
            qFatal("the first favourite was not drawn");
        return run;
    }

private slots:
    void startDrawsTheFirstFavouriteAndItsTable()
    {
        auto run = start();
        const GraphUpdate& shown = run->shown();
        QCOMPARE(shown.state.to, kNow.date());
        QCOMPARE(shown.state.from, kNow.date().addDays(-6));
        QCOMPARE(run->find<QDateEdit>("fromDatePicker")->date(), kNow.date().addDays(-6));
        QCOMPARE(shown.data->traces.size(), std::size_t(3));
        QCOMPARE(shown.data->traces[0].size(), std::size_t(6 * 144 + 87));  // to 14:20 today
        auto* table = run->find<QTableView>("historyDataTable");
        QCOMPARE(table->model()->rowCount(), 6 * 144 + 87);
        QCOMPARE(table->model()->headerData(2, Qt::Horizontal).toString(), QString("Demo Station: Temperature Out"));
        // Pointing at the plot tells the values there.
        auto* view = run->find<GraphView>("graphView");
        const QRectF plot = shown.picture->plotArea;
        QVERIFY(view->valuesAt(plot.center().toPoint()).contains("Demo Station: Dewpoint: "));
        QVERIFY(view->valuesAt(QPoint(2, 2)).isEmpty());
        QVERIFY(run->errors.empty());
        saveGrab(run->window.get(), "history-graph.png");
    }

    // A rectangle dragged over the plot shows that part, read again at full
    // resolution; Escape and a double-click go back one step each.
    void draggingARectangleZoomsIn()
    {
        auto run = start();
        auto* view = run->find<GraphView>("graphView");
        const GraphPicture whole = *run->shown().picture;
        const QRectF plot = whole.plotArea;
        const QPoint from = plot.topLeft().toPoint() + QPoint(plot.width() * 0.4, 10);
        const QPoint to = from + QPoint(plot.width() * 0.1, plot.height() * 0.6);
        QTest::mousePress(view, Qt::LeftButton, {}, from);
        QTest::mouseMove(view, to);
        QTest::mouseRelease(view, Qt::LeftButton, {}, to);
        QTRY_VERIFY(run->shown().zoomed);
        const ViewRange zoomed = run->shown().picture->shown;
        const double wholeSpan = whole.shown.xMaximum - whole.shown.xMinimum;
        QVERIFY(std::abs((zoomed.xMaximum - zoomed.xMinimum) - wholeSpan * 0.1) < wholeSpan * 0.01);
        QVERIFY(zoomed.yMaximum < whole.shown.yMaximum);
        // Zoomed to under two days, the readings' labels appear.
        saveGrab(view, "history-graph-zoomed.png");

        const QPoint inner = plot.center().toPoint();
        QTest::mousePress(view, Qt::LeftButton, {}, inner);
        QTest::mouseMove(view, inner + QPoint(40, 40));
        QTest::mouseRelease(view, Qt::LeftButton, {}, inner + QPoint(40, 40));
        QTRY_VERIFY(run->shown().picture->shown.xMaximum - run->shown().picture->shown.xMinimum <
                    (zoomed.xMaximum - zoomed.xMinimum) * 0.5);
        QTest::keyClick(view, Qt::Key_Escape);
        QTRY_COMPARE(run->shown().picture->shown, zoomed);
        QTest::mouseDClick(view, Qt::LeftButton, {}, inner);
        QTRY_VERIFY(!run->shown().zoomed);
        QCOMPARE(run->shown().picture->shown, whole.shown);
        QVERIFY(run->errors.empty());
    }

    void dateButtonsAndSingleDayRange()
    {
        auto run = start();
        run->find<QPushButton>("toBackButton")->click();
        QTRY_COMPARE(run->find<QDateEdit>("toDatePicker")->date(), kNow.date().addDays(-1));
        QCOMPARE(run->shown().state.from, kNow.date().addDays(-6));
        QCOMPARE(run->shown().data->traces[0].size(), std::size_t(6 * 144));
        run->find<QPushButton>("bothForwardButton")->click();
        QTRY_COMPARE(run->shown().state.to, kNow.date());
        QCOMPARE(run->shown().state.from, kNow.date().addDays(-5));

        run->find<QAction>("singleDayRangeAction")->trigger();
        QTRY_VERIFY(run->shown().data->options.singleDay);
        QVERIFY(!run->find<QDateEdit>("fromDatePicker")->isEnabled());
        QVERIFY(!run->find<QPushButton>("fromBackButton")->isEnabled());
        QCOMPARE(run->shown().data->xMaximum, 6 * 24.0);
        run->find<QAction>("showLegendAction")->trigger();
        QTRY_VERIFY(!run->shown().data->options.showLegend);
        QVERIFY(run->errors.empty());
    }

    void tracesAreAddedAndClearedFromTheMenu()
    {
        auto run = start();
        run->find<QAction>("addTraceAction")->trigger();
        auto* dialog = run->find<TraceDialog>("traceDialog");
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->findChild<QLineEdit*>("offsetEdit")->text(), QString("0"));
        dialog->findChild<QPushButton*>("addButton")->click();
        QCOMPARE(run->boxes.boxes().back().text, QString("Unable to add trace without source"));
        dialog->findChild<QComboBox*>("traceSourceCombo")->setCurrentIndex(0);
        dialog->findChild<QPushButton*>("addButton")->click();
        QCOMPARE(run->boxes.boxes().back().text, QString("Unable to add trace without type"));
        QVERIFY(dialog->isVisible());
        dialog->findChild<QComboBox*>("traceTypeCombo")->setCurrentIndex(DataTypes::kWindDirection);
        dialog->findChild<QLineEdit*>("offsetEdit")->setText("-1.4");
        dialog->findChild<QPushButton*>("addButton")->click();
        QVERIFY(!dialog->isVisible());
        QTRY_COMPARE(run->shown().state.traces.size(), std::size_t(4));
        const TraceEntry& added = run->shown().state.traces.back();
        QCOMPARE(added.offset, -1);
        QCOMPARE(added.colour, *defaultTraceColour(4));
        QCOMPARE(added.sourceDatabase, run->demo.databasePath());
        QCOMPARE(run->shown().data->traces.size(), std::size_t(4));

        run->find<QAction>("clearTracesAction")->trigger();
        QTRY_VERIFY(run->shown().state.traces.empty());
        QVERIFY(run->shown().data->traces.empty());
        QVERIFY(run->errors.empty());
    }

    void favouritesAreSavedOnceAndReloaded()
    {
        auto run = start();
        run->favourite("Barometer, two days")->trigger();
        QTRY_COMPARE(run->shown().state.traces.size(), std::size_t(1));
        QCOMPARE(run->shown().state.from, kNow.date().addDays(-1));
        QCOMPARE(run->shown().state.traces[0].typeName(), QString("Barometer"));

        run->choosers.texts = {"Pressure"};
        run->find<QAction>("addFavouriteAction")->trigger();
        QCOMPARE(run->choosers.prompts.last(), QString("Favourite: Name this Favourite [Demo Station Barometer]"));
        QTRY_VERIFY(run->favourite("Pressure"));
        run->choosers.texts = {"Pressure  "};  // the same name with blanks after it
        run->find<QAction>("addFavouriteAction")->trigger();
        QCOMPARE(run->boxes.boxes().back().title, QString("Favourite Exists"));
        QCOMPARE(run->boxes.boxes().back().text, QString("Already have a Favorite named Pressure"));
        run->choosers.texts = {"Pressure \u20AC"};
        run->find<QAction>("addFavouriteAction")->trigger();
        QVERIFY(run->boxes.boxes().back().text.startsWith("The name may hold only letters of Western European"));
        QVERIFY(run->boxes.boxes().back().text.contains("\"\u20AC\" cannot be part of it"));
        QCOMPARE(SourceLists::favouriteList(run->demo.databasePath(), run->environment).size(), 4);

        run->favourite("Today and yesterday")->trigger();
        QTRY_VERIFY(run->shown().state.options.singleDay);
        QVERIFY(run->find<QAction>("singleDayRangeAction")->isChecked());
        run->favourite("Pressure")->trigger();
        QTRY_COMPARE(run->shown().state.traces.size(), std::size_t(1));
        QVERIFY(!run->shown().state.options.singleDay);
        QVERIFY(run->errors.empty());
    }

    void pictureButtonAndTheCycleWriteGifs()
    {
        auto run = start();
        const QString web = run->settings.graphicFolder();
        const auto before = run->shown().picture;
        run->find<QPushButton>("exportPictureButton")->click();
        QTRY_VERIFY(QFile::exists(web + "/wgraph0.gif"));
        QCOMPARE(QImage(web + "/wgraph0.gif").size(), QSize(613, 467));
        QFile::remove(web + "/wgraph0.gif");
        QCOMPARE(run->shown().picture, before);  // the screen's graph is left as it was

        // Two favourites marked: the cycle writes one picture for each.
        const auto favourites = SourceLists::favouriteExports(run->demo.databasePath(), run->environment);
        QVERIFY(SourceLists::setFavouriteExport(run->demo.databasePath(), favourites[2].key, true, run->environment));
        run->clock.set(QDateTime(kNow.date(), QTime(14, 30)));
        run->window->timer()->start(20);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(web + "/wgraph2.gif"), 10000);
        QTRY_VERIFY(QFile::exists(web + "/wgraph0.gif"));
        QVERIFY(!QFile::exists(web + "/wgraph1.gif"));
        run->window->timer()->stop();
        QVERIFY(run->errors.empty());
        QImage(web + "/wgraph0.gif").save("screens/wgraph0.png");
    }

    void theTableIsSavedAsCsvAndPrinted()
    {
        auto run = start();
        const QString csv = run->folder.file("week");
        run->choosers.files = {csv};
        run->find<QPushButton>("historyDataSaveCsvButton")->click();
        const QByteArray saved = readAll(csv + ".csv");
        QVERIFY(saved.startsWith("Time,Label,Demo Station: Temperature Out,Demo Station: Dewpoint,"
                                 "Demo Station: Windchill\r\n2026-03-04 00:00,04-Mar-26 00:00,"));
        QCOMPARE(saved.count("\r\n"), 6 * 144 + 87 + 1);

        bool previewed = false;
        QImage page;
        auto closePreview = [&previewed, &page] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* preview = qobject_cast<QPrintPreviewDialog*>(widget); preview && preview->isVisible()) {
                    QTest::qWait(200);
                    saveGrab(preview, "print-preview.png");
                    page = preview->grab().toImage();
                    previewed = true;
                    preview->reject();
                }
            }
        };
        QTimer poll;
        connect(&poll, &QTimer::timeout, this, closePreview);
        poll.start(100);
        run->find<QAction>("printPreviewAction")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(previewed, 10000);
        // On paper the graph has the export colours: a light page, not the
        // screen's dark one.
        int light = 0;
        for (int y = -20; y < 20; ++y) {
            for (int x = -20; x < 20; ++x)
                light += page.pixelColor(page.width() / 2 + x, page.height() / 2 + y).lightness() > 200;
        }
        QVERIFY2(light > 40 * 40 * 3 / 4, qPrintable(QString("%1 of 1600 light pixels").arg(light)));
    }
};

NIMBREL_GUI_TEST(HistoryGraphWindowTest)
#include "HistoryGraphWindowTest.moc"
