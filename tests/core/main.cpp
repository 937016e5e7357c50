#include "support/TestSupport.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    setTestFailureHandler([](const QString& message) { ADD_FAILURE() << message.toStdString(); });
    return RUN_ALL_TESTS();
}
