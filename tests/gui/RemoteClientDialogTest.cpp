#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/import/HistoryImport.h"
#include "core/remote/RemoteServer.h"
#include "support/GeneratedReadings.h"
#include "ui/RemoteClientDialog.h"
#include "DemoWindow.h"
#include "GuiTestRegistry.h"

#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QtTest>

// Options → Remote Data D/L on the demo window, downloading from a server
// in this process over 127.0.0.1: another station's readings of a source
// named as the demo's come into the demo's database.
class RemoteClientDialogTest : public QObject {
    Q_OBJECT

    const QDateTime kNow{QDate(2026, 11, 23), QTime(12, 5, 0)};

    // A database with the demo's source name and one other, 300 readings
    // of June 2020 for the first.
    static QString serverDatabase(DemoWindow& run)
    {
        const QString path = run.folder.file("Elsewhere.mdb");
        if (!NimbrelSchema::createDatabase(path.toStdString()))
            qFatal("cannot create the server's database");
        for (const auto& [id, name] : {std::pair{4, "Demo Station"}, std::pair{5, "Hilltop"}}) {
            if (!insertRow(path, "Sources",
                           {{"SourceID", id}, {"SourceName", QString(name)}, {"SourceDatabase", path}, {"DataID", id}}))
                qFatal("cannot add a source");
        }
        GeneratedReadings readings(QDateTime(QDate(2020, 6, 1), QTime(0, 0)), 300);
        if (!HistoryImport::run(readings, path, 4, run.environment).ok())
            qFatal("cannot add the readings");
        return path;
    }

private slots:
    void downloadsIntoTheDemoAndLeavesPolitely()
    {
        DemoWindow run(kNow);
        run.open();
        run.store->setValue("Data/LocalPort", "0");
        ServerOptions options;
        options.database = serverDatabase(run);
        options.port = 0;
        QStringList serverLog;
        RemoteServer server(options, run.environment, [&](const QString& line) { serverLog << line; });
        QString error;
        QVERIFY2(server.listen(error), qPrintable(error));

        run.find<QAction>("remoteDataAction")->trigger();
        QPointer<RemoteClientDialog> dialog = run.window->findChild<RemoteClientDialog*>();
        QVERIFY(dialog);
        QVERIFY(!run.window->timer()->isActive());
        namedChild<QLineEdit>(dialog, "remoteAddressEdit")->setText("127.0.0.1");
        namedChild<QLineEdit>(dialog, "remotePortEdit")->setText("70000");
        namedChild<QPushButton>(dialog, "connectButton")->click();
        QCOMPARE(run.boxes.boxes().size(), std::size_t(1));
        QVERIFY(run.boxes.boxes()[0].text.contains("1 to 65535"));

        namedChild<QLineEdit>(dialog, "remotePortEdit")->setText(QString::number(server.port()));
        namedChild<QPushButton>(dialog, "connectButton")->click();
        auto* request = namedChild<QPushButton>(dialog, "requestButton");
        QTRY_VERIFY_WITH_TIMEOUT(request->isEnabled(), 5000);
        QCOMPARE(request->parentWidget()->property("title").toString(), QString("Connected to 127.0.0.1"));
        QCOMPARE(run.store->value("Data/RemotePort").toString(), QString::number(server.port()));

        request->click();  // nothing listed yet: lists
        auto* sources = namedChild<QListWidget>(dialog, "remoteSourceList");
        QTRY_COMPARE_WITH_TIMEOUT(sources->count(), 2, 5000);
        QCOMPARE(sources->item(0)->text(), QString("Demo Station"));
        sources->item(0)->setSelected(true);
        sources->item(1)->setSelected(true);
        request->click();
        auto* counts = namedChild<QLabel>(dialog, "downloadCountsLabel");
        QTRY_VERIFY_WITH_TIMEOUT(counts->text().startsWith("Received 300    Stored 300"), 10000);
        QTRY_VERIFY(!sources->item(0)->isSelected());
        QVERIFY2(sources->item(1)->isSelected(), "Hilltop sent nothing and stays picked");
        saveGrab(dialog, "remote-collection.png");

        dialog->reject();
        QTRY_VERIFY_WITH_TIMEOUT(dialog.isNull(), 6000);
        QVERIFY(serverLog.filter("QT: leaving").size() == 1);
        QVERIFY(run.window->timer()->isActive());

        auto session = DatabaseSession::open(run.demo.databasePath(), DatabaseSession::Access::Read, run.environment);
        auto history = (*session)->table("History");
        auto june = (*session)->rowsWhere(*history, {{"DateText", QStringLiteral("01.06.2020")}});
        QVERIFY(june);
        QCOMPARE(june->size(), std::size_t(144));
        QVERIFY(run.errors.empty());
    }
};

NIMBREL_GUI_TEST(RemoteClientDialogTest)
#include "RemoteClientDialogTest.moc"
