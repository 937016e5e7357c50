#include "ui/PreferencesDialog.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"
#include "support/TestSupport.h"
#include "DatabaseWorker.h"
#include "ScriptedChoosers.h"
#include "WidgetTestSupport.h"
#include "GuiTestRegistry.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSemaphore>
#include <QSettings>
#include <QTabWidget>
#include <QtTest>

// The Preferences dialog offscreen, on a database of its own and a settings
// file of its own, driven as a user clicks and types.
class PreferencesDialogTest : public QObject {
    Q_OBJECT

    struct Open {
        TempFolder folder;
        QString database = folder.file("Station Weather.mdb");
        RecordingErrors errors;
        RecordingMessageBoxes boxes;
        FixedClock clock{QDateTime(QDate(2026, 3, 10), QTime(14, 23))};
        Environment environment{errors, boxes, clock};
        DatabaseWorker worker{environment};
        QSettings store{folder.file("settings.ini"), QSettings::IniFormat};
        SettingsModel settings;
        ScriptedChoosers choosers;
        int testMails = 0;
        std::unique_ptr<PreferencesDialog> dialog;

        template <typename T>
        T* find(const QString& name) const
        {
            return namedChild<T>(dialog.get(), name);
        }
        QLineEdit* edit(const QString& name) const { return find<QLineEdit>(name); }
        void click(const QString& name) const { find<QPushButton>(name)->click(); }
        QString sourceCaption() const { return find<QLabel>("sourceNumberLabel")->text(); }
        QStringList boxTexts() const
        {
            QStringList texts;
            for (const auto& box : boxes.boxes())
                texts << box.title + ": " + box.text;
            return texts;
        }
        void settle() const { worker.settle(dialog.get()); }
    };

    std::unique_ptr<Open> open(const QList<qint32>& sources = {0, 1, 3})
    {
        auto run = std::make_unique<Open>();
        if (mdb::Status created = NimbrelSchema::createDatabase(run->database.toStdString()); !created)
            qFatal("%s", created.error().message.c_str());
        addSources(*run, sources);
        run->settings.load(run->store, run->folder.path(), run->errors);
        run->settings.setDatabase(run->database);
        const auto testMail = [raw = run.get()] {
            ++raw->testMails;
            return true;
        };
        PreferencesContext context{run->settings, run->store,    run->environment, *run->worker.service,
                                   run->choosers, testMail};
        run->dialog = std::make_unique<PreferencesDialog>(context);
        run->dialog->load();
        run->dialog->show();
        run->settle();
        return run;
    }

    static void addSources(Open& run, const QList<qint32>& keys)
    {
        auto session = DatabaseSession::open(run.database, DatabaseSession::Access::Write, run.environment);
        auto table = (*session)->table("Sources");
        for (qint32 key : keys) {
            if (!(*session)->insert(*table, {{"SourceID", key},
                                             {"SourceName", QString("Station %1").arg(key)},
                                             {"SourceFileName", QString("/srv/station%1/currdat.lst").arg(key)},
                                             {"LogMultiple", 1}}))
                qFatal("insert");
        }
        if (!(*session)->commit())
            qFatal("commit");
    }

private slots:
    // "Import Data" on a station source: the history's contents, every
    // record with the counts growing, then once per cycle adding nothing;
    // on a feed source a file that is no observations page imports nothing.
    void importDataBringsInAStationHistory()
    {
        if (!haveFixtureFolder())
            QSKIP("needs the shared fixture folder " NIMBREL_FIXTURES_DIR ", absent here");
        auto run = open();
        run->edit("importFileEdit")->setText(fixturePath("history-hwpro-ws3600.dat"));
        run->click("importDataButton");
        auto* import = run->dialog->findChild<QDialog*>("importDialog");
        QVERIFY(import && import->isVisible());
        QVERIFY(namedChild<QLabel>(import, "importAboutLabel")->text().contains(
            "holds 20881 records from 17.04.2005 20:30 to 02.05.2005 08:30"));
        namedChild<QRadioButton>(import, "importEveryRecordRadio")->click();
        namedChild<QPushButton>(import, "importStartButton")->click();
        auto* counts = namedChild<QLabel>(import, "importCountsLabel");
        QPointer<QDialog> watched(import);
        if (QTest::qWaitFor([&] { return !watched || counts->text().contains("Stored 4000"); }, 20000) && watched)
            saveGrab(import, "import-progress.png");
        QTRY_VERIFY_WITH_TIMEOUT(run->boxTexts().contains("Data Import: 20881 records imported"), 20000);
        QTRY_VERIFY(!watched);

        run->click("importDataButton");
        import = run->dialog->findChild<QDialog*>("importDialog");
        QVERIFY(import);
        namedChild<QPushButton>(import, "importStartButton")->click();
        QTRY_VERIFY_WITH_TIMEOUT(run->boxTexts().contains("Data Import: 0 records imported"), 20000);

        run->find<QRadioButton>("feedRadio")->click();
        run->edit("importFileEdit")->setText(fixturePath("history-hwpro-ws3600.dat"));
        run->click("importDataButton");
        QTRY_VERIFY_WITH_TIMEOUT(run->boxTexts().size() == 3, 20000);
        QVERIFY(run->boxTexts().back().startsWith("Data Import: The import stopped: "));
        QVERIFY(run->boxTexts().back().contains("not a text file"));
        QVERIFY(run->errors.empty());
    }

    void okChecksTheAxisRangesBeforeSaving()
    {
        auto run = open();
        run->edit("barometerMinimumEdit")->setText("1030");
        run->edit("barometerMaximumEdit")->setText("1030");
        run->edit("windSpeedMinimumEdit")->setText("50");
        run->edit("rainfallMinimumEdit")->setText("100");
        run->edit("rainfallMaximumEdit")->setText("0");
        run->edit("graphicFolderEdit")->setText("C:\\web\\images\\");
        run->click("okButton");
        QCOMPARE(run->boxTexts(), QStringList{"Invalid settings: Barometer Minimum is greater than or equal to "
                                              "Maximum\r\nWind Speed Minimum is greater than or equal to Maximum\r\n"});
        QVERIFY(run->dialog->isVisible());
        QVERIFY(!run->store.contains("Misc/FirstRun"));  // nothing saved

        run->edit("barometerMinimumEdit")->setText("990.5");
        run->edit("windSpeedMinimumEdit")->setText("0");
        run->click("okButton");
        QVERIFY(!run->dialog->isVisible());
        QCOMPARE(run->boxes.boxes().size(), size_t(1));
        run->store.sync();
        QSettings saved(run->folder.file("settings.ini"), QSettings::IniFormat);
        QCOMPARE(saved.value("Misc/FirstRun").toString(), QString("False"));
        QCOMPARE(saved.value("Trace/Min0").toString(), QString("990.5"));
        QCOMPARE(saved.value("Trace/Min4").toString(), QString("100"));  // rainfall may run either way
        QCOMPARE(saved.value("Trace/Max4").toString(), QString("0"));
        QCOMPARE(saved.value("Data/Graphic").toString(), QString("C:\\web\\images"));
        QCOMPARE(saved.value("Data/Database").toString(), run->database);
    }

    void cancelKeepsTheEditsForTheRunWithoutSaving()
    {
        auto run = open();
        run->edit("smtpServerEdit")->setText("mail.example.org");
        run->find<QComboBox>("cycleMinutesCombo")->setCurrentIndex(2);
        run->click("cancelButton");
        QVERIFY(!run->dialog->isVisible());
        QCOMPARE(run->settings.errorSmtp(), QString("mail.example.org"));
        QCOMPARE(run->settings.cycleMinutes(), 30);
        run->store.sync();
        QVERIFY(!QSettings(run->folder.file("settings.ini"), QSettings::IniFormat).contains("Misc/ErrorSMTP"));

        run->dialog->load();  // shown again: the edits are still there
        QCOMPARE(run->edit("smtpServerEdit")->text(), QString("mail.example.org"));
    }

    void sourcesAreBrowsedByNumber()
    {
        auto run = open({0, 1, 3});
        QCOMPARE(run->sourceCaption(), QString("Source No.0"));
        QCOMPARE(run->edit("sourceNameEdit")->text(), QString("Station 0"));
        QVERIFY(!run->find<QPushButton>("previousSourceButton")->isEnabled());
        QVERIFY(!run->find<QPushButton>("saveSourceButton")->isEnabled());
        run->click("nextSourceButton");
        run->settle();
        QCOMPARE(run->sourceCaption(), QString("Source No.1"));
        QCOMPARE(run->edit("sourceFileEdit")->text(), QString("/srv/station1/currdat.lst"));
        QCOMPARE(run->edit("logMultipleEdit")->text(), QString("1"));
        QVERIFY(run->find<QPushButton>("previousSourceButton")->isEnabled());
        run->click("nextSourceButton");  // there is no source 2: nothing changes
        run->settle();
        QCOMPARE(run->sourceCaption(), QString("Source No.1"));
        QCOMPARE(run->edit("sourceNameEdit")->text(), QString("Station 1"));
        run->click("previousSourceButton");
        run->settle();
        QCOMPARE(run->sourceCaption(), QString("Source No.0"));
        QVERIFY(run->errors.empty());
    }

    void aNewSourceTakesTheFirstFreeNumberAndIsSaved()
    {
        auto run = open({0, 1, 3});
        run->click("newSourceButton");
        run->settle();
        QCOMPARE(run->boxTexts(), QStringList{"New Source: Enter the Source details and press Save"});
        QCOMPARE(run->sourceCaption(), QString("Source No.2"));
        QCOMPARE(run->edit("dataIdEdit")->text(), QString("2"));
        QVERIFY(run->edit("sourceNameEdit")->text().isEmpty());

        QVERIFY(!run->find<QPushButton>("saveSourceButton")->isEnabled());
        run->edit("logMultipleEdit")->clear();
        QTest::keyClicks(run->edit("logMultipleEdit"), "3");
        QVERIFY(run->find<QPushButton>("saveSourceButton")->isEnabled());
        run->click("saveSourceButton");  // no name yet
        QCOMPARE(run->boxTexts().last(), QString("Saving new source: Fill in all fields first"));
        QTest::keyClicks(run->edit("sourceNameEdit"), "O'Neil's garden");
        run->find<QRadioButton>("feedRadio")->setChecked(true);
        run->click("saveSourceButton");  // no input file: a warning, then saved all the same
        run->settle();
        QCOMPARE(run->boxTexts().mid(2),
                 (QStringList{"Saving new source: Warning, you have not set the input source",
                              "New Source Added: Source O'Neil's garden has been added. When you have completed "
                              "adding Sources, restart the application"}));
        // Added under the next free key, which the dialog then shows.
        QCOMPARE(run->sourceCaption(), QString("Source No.4"));
        QVERIFY(!run->find<QPushButton>("saveSourceButton")->isEnabled());
        WeatherSource saved(run->environment);
        QVERIFY(saved.load(run->database, 4));
        QCOMPARE(saved.sourceName(), QString("O'Neil's garden"));
        QCOMPARE(saved.dataID(), 2);
        QCOMPARE(saved.logMultiple(), 3);
        QCOMPARE(saved.sourceKind(), SourceKind::Feed);
        QVERIFY(run->errors.empty());
    }

    // A slow or locked database keeps "New" waiting: meanwhile nothing can
    // be typed or saved, so the answer can neither clear what was typed nor
    // let it be saved over the source still shown.
    void aNewSourceWaitsForItsNumberBeforeAnythingIsTyped()
    {
        auto run = open({0, 1, 3});
        QSemaphore gate;
        run->worker.service->request<bool>(run->dialog.get(), [&gate] { gate.acquire(); return true; }, [](const bool&) {});
        run->click("newSourceButton");
        for (const char* name : {"newSourceButton", "saveSourceButton", "previousSourceButton", "nextSourceButton"})
            QVERIFY2(!run->find<QPushButton>(name)->isEnabled(), name);
        QTest::keyClicks(run->edit("sourceNameEdit"), "Back Garden");
        run->click("saveSourceButton");
        gate.release();
        run->settle();
        QCOMPARE(run->sourceCaption(), QString("Source No.2"));
        QVERIFY(run->edit("sourceNameEdit")->text().isEmpty());
        QTest::keyClicks(run->edit("sourceNameEdit"), "Back Garden");
        run->click("saveSourceButton");
        run->settle();
        WeatherSource first(run->environment);
        QVERIFY(first.load(run->database, 0));
        QCOMPARE(first.sourceName(), QString("Station 0"));
        WeatherSource added(run->environment);
        QVERIFY(added.load(run->database, 4));
        QCOMPARE(added.sourceName(), QString("Back Garden"));
    }

    // Number boxes take numbers only (a deliberate difference from taking
    // the leading number of any text); an empty one is refused by name.
    void numberBoxesTakeOnlyNumbers()
    {
        auto run = open({0});
        run->edit("dataIdEdit")->clear();
        QTest::keyClicks(run->edit("dataIdEdit"), "x1");
        QCOMPARE(run->edit("dataIdEdit")->text(), QString("1"));
        run->edit("logMultipleEdit")->clear();
        QTest::keyClicks(run->edit("logMultipleEdit"), "abc");
        QCOMPARE(run->edit("logMultipleEdit")->text(), QString());
        run->click("saveSourceButton");
        QCOMPARE(run->boxTexts().last(), QString("Saving new source: Fill in Log Cycle Multipler"));
        QVERIFY(run->edit("logMultipleEdit")->toolTip().contains("0 to 9999"));

        run->edit("barometerMinimumEdit")->clear();
        QTest::keyClicks(run->edit("barometerMinimumEdit"), "abc");
        QCOMPARE(run->edit("barometerMinimumEdit")->text(), QString());
        run->edit("temperatureMaximumEdit")->setText("hot");  // as a hand-edited settings file may hold
        run->click("okButton");
        QCOMPARE(run->boxTexts().last(), QString("Invalid settings: Fill in Barometer Min\r\n"
                                                 "Temperature Max must be a number from -100 to 100\r\n"));
        QVERIFY(run->dialog->isVisible());
        WeatherSource stored(run->environment);
        QVERIFY(stored.load(run->database, 0));
        QCOMPARE(stored.logMultiple(), 1);
        QVERIFY(run->errors.empty());
    }

    // Sources are told apart by name: a name another source has is refused.
    void aNameAnotherSourceHasIsRefused()
    {
        auto run = open({0, 1});
        run->click("newSourceButton");
        run->settle();
        QTest::keyClicks(run->edit("sourceNameEdit"), "station 1 ");
        QTest::keyClicks(run->edit("sourceFileEdit"), "/srv/other/currdat.lst");
        run->click("saveSourceButton");
        run->settle();
        QCOMPARE(run->boxTexts().last(), QString("Saving new source: Source No.1 is already named Station 1. Each source "
                                                 "needs a name of its own: remote collection tells sources apart by "
                                                 "their names."));
        QCOMPARE(SourceLists::sourceList(run->database, run->environment).size(), 2);
        QVERIFY2(run->find<QPushButton>("saveSourceButton")->isEnabled(), "still unsaved");

        run->click("previousSourceButton");  // a source keeps its own name when saved again
        run->settle();
        run->click("nextSourceButton");
        run->settle();
        QCOMPARE(run->edit("sourceNameEdit")->text(), QString("Station 1"));
        QTest::keyClicks(run->edit("sourceFileEdit"), "x");
        run->click("saveSourceButton");
        run->settle();
        QVERIFY(!run->find<QPushButton>("saveSourceButton")->isEnabled());
        QVERIFY(run->errors.empty());
    }

    // A folder is no database: typing one asks nothing of it, and OK refuses
    // it with one message.
    void aFolderIsRefusedAsThePrimaryDatabase()
    {
        auto run = open({0});
        auto* primary = run->edit("primaryDatabaseEdit");
        primary->setFocus();
        primary->selectAll();
        QTest::keyClicks(primary, run->folder.path());
        QTest::keyClick(primary, Qt::Key_Tab);
        run->settle();
        QVERIFY(run->boxes.boxes().empty());
        run->click("okButton");
        QCOMPARE(run->boxes.boxes().size(), size_t(1));
        QVERIFY(run->boxTexts().last().contains("is a folder"));
        QVERIFY(run->dialog->isVisible());
        run->store.sync();
        QVERIFY(!QSettings(run->folder.file("settings.ini"), QSettings::IniFormat).contains("Data/Database"));
        QVERIFY(run->errors.empty());
    }

    void pickersUseTheirFiltersAndExtensions()
    {
        auto run = open();
        run->choosers.files = {"/home/pat/history", "/home/pat/Errors.TXT", "", "/srv/other", "/home/pat/history.dat"};
        run->find<QRadioButton>("feedRadio")->click();  // a saved page: ".txt" added
        run->click("pickImportFileButton");
        QCOMPARE(run->edit("importFileEdit")->text(), QString("/home/pat/history.txt"));
        QVERIFY(run->find<QPushButton>("saveSourceButton")->isEnabled());
        run->click("pickErrorLogButton");
        QCOMPARE(run->edit("errorLogEdit")->text(), QString("/home/pat/Errors.TXT"));
        const QString before = run->edit("sourceFileEdit")->text();
        run->click("pickSourceFileButton");  // cancelled
        QCOMPARE(run->edit("sourceFileEdit")->text(), before);
        run->click("pickSourceDatabaseButton");
        QCOMPARE(run->edit("sourceDatabaseEdit")->text(), QString("/srv/other.mdb"));
        QStringList filters;
        for (const auto& question : run->choosers.questions)
            filters << question.filter;
        QCOMPARE(filters, (QStringList{"History Data File (eg. history.txt)|*.txt|All Files|*.*",
                                       "Error Log File (eg. *.txt)|*.txt",
                                       "Data File|currdat.lst;*.txt;*.xml|All Files|*.*",
                                       "Weather Database (eg. *.mdb)|*.mdb"}));
        // A station source's history keeps its own name.
        run->find<QRadioButton>("stationFileRadio")->click();
        run->click("pickImportFileButton");
        QCOMPARE(run->edit("importFileEdit")->text(), QString("/home/pat/history.dat"));
        QCOMPARE(run->choosers.questions.back().filter, QString("Station History (history.dat)|*.dat|All Files|*.*"));
    }

    void checkBoxRulesKeepThePictureExportConsistent()
    {
        auto run = open();
        auto* refresh = run->find<QCheckBox>("autoRefreshCheck");
        auto* graph = run->find<QCheckBox>("autoGraphCheck");
        auto* picture = run->find<QCheckBox>("autoPictureCheck");
        QVERIFY(!picture->isEnabled());

        run->edit("importFileEdit")->clear();
        graph->click();
        QVERIFY(!graph->isChecked());
        QVERIFY(run->boxTexts().last().endsWith(": Set the History file first"));
        run->edit("importFileEdit")->setText("/home/pat/history.txt");
        graph->click();
        refresh->click();  // source 0 has its station file
        QVERIFY(refresh->isChecked() && graph->isChecked());
        QVERIFY(picture->isEnabled());

        picture->click();  // no picture folder yet
        QVERIFY(!picture->isChecked());
        QVERIFY(run->boxTexts().last().endsWith("Set the Graph Picture folder first"));
        run->edit("graphicFolderEdit")->setText("/srv/www/images");
        picture->click();
        QVERIFY(picture->isChecked());

        graph->click();  // the graph refresh off: no pictures either
        QVERIFY(!picture->isEnabled());
        QVERIFY(!picture->isChecked());

        run->edit("sourceFileEdit")->clear();
        refresh->click();
        refresh->click();
        QVERIFY(!refresh->isChecked());
        QVERIFY(run->boxTexts().last().endsWith("Set the currdat.lst file first"));
    }

    void favouritesAreMarkedForExportAtOnce()
    {
        auto run = open();
        {
            auto session = DatabaseSession::open(run->database, DatabaseSession::Access::Write, run->environment);
            auto table = (*session)->table("Favorites");
            QVERIFY((*session)->insert(*table, {{"FavName", "Last week"}, {"Export", true}}));
            QVERIFY((*session)->insert(*table, {{"FavName", "Today"}, {"Export", false}}));
            QVERIFY((*session)->commit());
        }
        run->dialog->load();
        run->settle();
        auto* list = run->find<QListWidget>("favouriteExportList");
        QCOMPARE(list->count(), 2);
        QCOMPARE(list->item(0)->text(), QString("Last week"));
        QCOMPARE(list->item(0)->checkState(), Qt::Checked);
        QCOMPARE(list->item(1)->checkState(), Qt::Unchecked);

        list->item(1)->setCheckState(Qt::Checked);
        run->settle();
        auto marks = SourceLists::favouriteExports(run->database, run->environment);
        QVERIFY(marks[0].exported && marks[1].exported);  // without OK

        QFile::rename(run->database, run->database + ".away");  // the update fails: the list shows the truth
        list->item(0)->setCheckState(Qt::Unchecked);
        run->settle();
        QCOMPARE(list->item(0)->checkState(), Qt::Checked);
        QCOMPARE(run->errors.messages().size(), 1);
        QVERIFY(run->errors.messages()[0].startsWith("\r\nUpdate Favs Error: "));
    }

    void newDatabaseIsMadeAndBecomesThePrimary()
    {
        auto run = open();
        const QString made = run->folder.file("My Station");
        run->choosers.files = {made};
        run->click("newDatabaseButton");
        run->settle();
        QCOMPARE(run->edit("primaryDatabaseEdit")->text(), made + ".mdb");
        QVERIFY(QFile::exists(made + ".mdb"));
        run->settle();
        QCOMPARE(run->sourceCaption(), QString("Source No.0"));
        QVERIFY(run->edit("sourceNameEdit")->text().isEmpty());  // no sources there yet

        run->choosers.files = {made + ".mdb"};  // never over an existing file
        run->click("newDatabaseButton");
        run->settle();
        QVERIFY(run->boxTexts().last().startsWith("New Weather Database: The database could not be made:"));
        QVERIFY(run->errors.empty());
    }

    void colourChoicesAndTheTestMailUseTheFieldsAsTheyAre()
    {
        auto run = open();
        run->choosers.colours = {QColor(0x12, 0x34, 0x56)};
        run->click("exportBackColourButton");
        run->click("screenTextColourButton");  // cancelled: no colour left to answer
        run->edit("smtpServerEdit")->setText("127.0.0.1");
        run->click("testMailButton");
        run->settle();
        QCOMPARE(run->testMails, 1);
        QCOMPARE(run->settings.errorSmtp(), QString("127.0.0.1"));
        QCOMPARE(run->settings.backColourExport(), 0x563412);  // red in the low byte
        QCOMPARE(run->settings.fontColour(), Preferences{}.fontColour);
    }

    void everyTabIsShown()
    {
        auto run = open();
        run->dialog->resize(640, 560);
        auto* tabs = run->find<QTabWidget>("preferencesTabs");
        QStringList captions;
        for (int i = 0; i < tabs->count(); ++i) {
            captions << tabs->tabText(i);
            tabs->setCurrentIndex(i);
            QTest::qWait(50);
            saveGrab(run->dialog.get(), QString("preferences-%1.png").arg(i));
        }
        QCOMPARE(captions, (QStringList{"Weather Sources", "Graph Colours", "Exports", "Auto Refresh", "Error Log"}));
    }
};

NIMBREL_GUI_TEST(PreferencesDialogTest)
#include "PreferencesDialogTest.moc"
