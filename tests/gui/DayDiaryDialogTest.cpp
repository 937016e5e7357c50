#include "ui/DayDiaryDialog.h"

#include "core/db/NimbrelSchema.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"
#include "support/TestSupport.h"
#include "DatabaseWorker.h"
#include "WidgetTestSupport.h"
#include "GuiTestRegistry.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QDir>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>

// The day diary offscreen on a database of its own, driven as a user types
// and clicks.
class DayDiaryDialogTest : public QObject {
    Q_OBJECT

    const QDate kDay{2026, 3, 15};

    struct Open {
        TempFolder folder;
        QString database = folder.file("Diary Weather.mdb");
        RecordingErrors errors;
        RecordingMessageBoxes boxes;
        FixedClock clock{QDateTime(QDate(2026, 3, 15), QTime(21, 5))};
        Environment environment{errors, boxes, clock};
        DatabaseWorker worker{environment};
        SettingsModel settings;
        std::unique_ptr<DayDiaryDialog> dialog;

        template <typename T>
        T* find(const QString& name) const
        {
            return namedChild<T>(dialog.get(), name);
        }
        QPushButton* saveButton() const { return find<QPushButton>("saveButton"); }
        QString text() const { return find<QPlainTextEdit>("commentaryEdit")->toPlainText(); }
        void settle() const { worker.settle(dialog.get()); }
    };

    std::unique_ptr<Open> open(const QList<std::pair<QDate, DiaryEntry>>& entries = {})
    {
        auto run = std::make_unique<Open>();
        if (mdb::Status created = NimbrelSchema::createDatabase(run->database.toStdString()); !created)
            qFatal("%s", created.error().message.c_str());
        for (const auto& [day, entry] : entries) {
            if (!DayDiary::save(run->database, day, entry, run->environment))
                qFatal("diary");
        }
        run->settings.setDatabase(run->database);
        run->dialog = std::make_unique<DayDiaryDialog>(run->settings, *run->worker.service);
        run->dialog->showDay(kDay);
        run->dialog->show();
        run->settle();
        return run;
    }

private slots:
    void eachDayShowsItsOwnEntry()
    {
        auto run = open({{kDay, {"Frost at dawn", false, false, false, true}},
                         {kDay.addDays(1), {"Storm", true, true, false, false}}});
        QCOMPARE(run->text(), QString("Frost at dawn"));
        QVERIFY(run->find<QCheckBox>("frostCheck")->isChecked());
        QVERIFY(!run->find<QCheckBox>("rainCheck")->isChecked());
        QVERIFY(!run->saveButton()->isEnabled());

        run->find<QPushButton>("nextDayButton")->click();
        run->settle();
        QCOMPARE(run->dialog->day(), kDay.addDays(1));
        QCOMPARE(run->text(), QString("Storm"));
        QVERIFY(run->find<QCheckBox>("rainCheck")->isChecked() && run->find<QCheckBox>("stormCheck")->isChecked());
        QVERIFY(!run->find<QCheckBox>("frostCheck")->isChecked());

        run->find<QPushButton>("nextDayButton")->click();
        run->settle();
        QVERIFY(run->text().isEmpty());
        QVERIFY(run->dialog->entry().isEmpty());

        run->find<QPushButton>("previousDayButton")->click();
        run->find<QPushButton>("previousDayButton")->click();
        run->settle();
        QCOMPARE(run->text(), QString("Frost at dawn"));
        QVERIFY(run->errors.empty());
        saveGrab(run->dialog.get(), "day-diary.png");
    }

    void editsEnableSaveAndASaveStoresThemAsTyped()
    {
        auto run = open();
        QTest::keyClicks(run->find<QPlainTextEdit>("commentaryEdit"), "Pat's gauge overflowed");
        QVERIFY(run->saveButton()->isEnabled());
        run->find<QCheckBox>("hailCheck")->click();
        run->saveButton()->click();
        run->settle();
        QVERIFY(!run->saveButton()->isEnabled());
        const DiaryEntry expected{"Pat's gauge overflowed", false, false, true, false};
        QCOMPARE(*DayDiary::load(run->database, kDay, run->environment), expected);

        // Everything cleared and saved: the day has no entry any more.
        run->find<QPlainTextEdit>("commentaryEdit")->clear();
        run->find<QCheckBox>("hailCheck")->click();
        run->saveButton()->click();
        run->settle();
        QVERIFY(DayDiary::load(run->database, kDay, run->environment)->isEmpty());
        QVERIFY(run->errors.empty());
    }

    void closeAsksOnlyWhenSomethingIsUnsaved()
    {
        auto run = open();
        run->find<QPushButton>("closeButton")->click();
        QVERIFY(!run->dialog->isVisible());
        QVERIFY(run->boxes.boxes().empty());

        run->dialog->show();
        QTest::keyClicks(run->find<QPlainTextEdit>("commentaryEdit"), "unsaved");
        run->boxes.answer(false);
        run->find<QPushButton>("closeButton")->click();
        QVERIFY(run->dialog->isVisible());
        QCOMPARE(run->text(), QString("unsaved"));
        QCOMPARE(run->boxes.boxes().back().text, QString("You have not saved this entry, OK to Close?"));

        run->boxes.answer(true);
        run->find<QPushButton>("closeButton")->click();
        QVERIFY(!run->dialog->isVisible());
        QVERIFY(DayDiary::load(run->database, kDay, run->environment)->isEmpty());  // closed without saving
        QVERIFY2(!run->dialog->hasUnsavedChanges(), "the edits were given up");
    }

    // Going to another day asks first, as closing does: the text typed is
    // never thrown away without a word.
    void leavingAnEditedDayAsksFirst()
    {
        auto run = open({{kDay.addDays(1), {"Hail at noon", false, false, true, false}}});
        QTest::keyClicks(run->find<QPlainTextEdit>("commentaryEdit"), "Rain all morning");
        run->boxes.answer(false);
        run->find<QPushButton>("nextDayButton")->click();
        run->settle();
        QCOMPARE(run->boxes.boxes().back().text, QString("You have not saved this entry, OK to go to another day?"));
        QCOMPARE(run->dialog->day(), kDay);
        QCOMPARE(run->text(), QString("Rain all morning"));

        run->find<QDateEdit>("diaryDatePicker")->setDate(kDay.addDays(-3));  // the picker, as a user picks
        run->settle();
        QCOMPARE(run->dialog->day(), kDay);
        QCOMPARE(run->boxes.boxes().size(), size_t(2));

        run->boxes.answer(true);
        run->find<QPushButton>("nextDayButton")->click();
        run->settle();
        QCOMPARE(run->dialog->day(), kDay.addDays(1));
        QCOMPARE(run->text(), QString("Hail at noon"));
        run->find<QPushButton>("previousDayButton")->click();  // nothing unsaved: no question
        run->settle();
        QCOMPARE(run->boxes.boxes().size(), size_t(3));
        QVERIFY(run->text().isEmpty());
    }

    void aFailedSaveIsReportedAndStaysUnsaved()
    {
        auto run = open();
        run->settings.setDatabase(run->folder.file("moved away.mdb"));
        QTest::keyClicks(run->find<QPlainTextEdit>("commentaryEdit"), "lost?");
        run->saveButton()->click();
        run->settle();
        QVERIFY(run->saveButton()->isEnabled());
        QCOMPARE(run->errors.messages().size(), 1);
        QVERIFY(run->errors.messages()[0].startsWith("Database Error: \r\n"));
        QVERIFY(run->boxes.boxes().empty());
    }
};

NIMBREL_GUI_TEST(DayDiaryDialogTest)
#include "DayDiaryDialogTest.moc"
