#include "support/TestSupport.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // The pictures need fonts, and fonts a GUI application; no screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    setTestFailureHandler([](const QString& message) { ADD_FAILURE() << message.toStdString(); });
    return RUN_ALL_TESTS();
}
