#include "ui/GuiMessageBoxes.h"
#include "GuiTestRegistry.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QThread>
#include <QTimer>
#include <QtTest>

// Message boxes asked for by the worker thread appear on the window thread
// and hold the worker until the user closes them.
class GuiMessageBoxesTest : public QObject {
    Q_OBJECT

private slots:
    void boxFromWorkerThreadIsShownHereAndWaitsForTheUser()
    {
        GuiMessageBoxes boxes;
        QThread* worker = QThread::create([&boxes] {
            boxes.show("Mail Error", "Login denied", MessageBoxes::Icon::Critical);
        });

        QString title;
        QString text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        bool workerWaited = false;
        QTimer closer;
        connect(&closer, &QTimer::timeout, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            title = box->windowTitle();
            text = box->text();
            icon = box->icon();
            workerWaited = worker->isRunning();
            box->button(QMessageBox::Ok)->click();
        });
        closer.start(20);

        worker->start();
        QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 10000);
        delete worker;

        QCOMPARE(title, QString("Mail Error"));
        QCOMPARE(text, QString("Login denied"));
        QCOMPARE(icon, QMessageBox::Critical);
        QVERIFY(workerWaited);
    }
};

NIMBREL_GUI_TEST(GuiMessageBoxesTest)
#include "GuiMessageBoxesTest.moc"
