#include "app/CommandLine.h"
#include "app/ui/GuiMessageBoxes.h"
#include "app/ui/MainWindow.h"
#include "db/mdb/DatabaseWriter.h"
#include "errors/ErrorRoutine.h"
#include "errors/SmtpMailer.h"
#include "settings/SettingsModel.h"
#include "shared/Clock.h"

#include <QApplication>
#include <QSettings>

namespace {

QStringList argumentList(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

int runWindow(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Nimbrel"));
    QCoreApplication::setApplicationName(QStringLiteral("Nimbrel"));

    SystemClock clock;
    GuiMessageBoxes boxes;
    SmtpMailer mailer;
    SettingsModel settings;
    ErrorRoutine errors(settings, boxes, mailer, clock);
    QSettings store;
    settings.LoadSettings(store, QCoreApplication::applicationDirPath(), errors);

    MainWindow window;
    boxes.setParentWindow(&window);
    window.show();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv)
{
    QStringList arguments = argumentList(argc, argv);
    if (arguments.removeAll(QStringLiteral("--verify")) > 0)
        mdb::DatabaseWriter::verifyEveryCommit(true);
    if (CommandLine::isCommand(arguments)) {
        QCoreApplication app(argc, argv);
        return CommandLine::run(arguments);
    }
    return runWindow(argc, argv);
}
