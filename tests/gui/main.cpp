#include "GuiTestRegistry.h"
#include "support/TestSupport.h"

#include <QApplication>
#include <QTest>
#include <QTextStream>

#include <vector>

std::map<QString, GuiTestRegistry::Factory>& GuiTestRegistry::classes()
{
    static std::map<QString, Factory> registered;
    return registered;
}

// Runs one widget test class, named as the first argument; the arguments
// after it go to QtTest (a test function's name, -v2, ...).
int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);
    const auto& classes = GuiTestRegistry::classes();
    const QString name = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    const auto found = classes.find(name);
    if (found == classes.end()) {
        QTextStream err(stderr);
        err << "usage: gui_tests CLASS [QtTest options]; the classes are:\n";
        for (const auto& entry : classes)
            err << "  " << entry.first << '\n';
        return 2;
    }
    std::vector<char*> rest{argv[0]};
    rest.insert(rest.end(), argv + 2, argv + argc);
    setTestFailureHandler([](const QString& message) {
        QTest::qFail(qPrintable(QString(message).replace("\r\n", " | ")), __FILE__, __LINE__);
    });
    const std::unique_ptr<QObject> test = found->second();
    return QTest::qExec(test.get(), int(rest.size()), rest.data());
}
