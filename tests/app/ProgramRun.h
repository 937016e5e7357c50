#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// What one run of the program printed and ended with.
struct ProgramRun {
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs `nimbrel ARGUMENTS` in UTC, waiting at most `waitMs`.
inline ProgramRun nimbrel(const QStringList& arguments, int waitMs = 30000)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TZ", "UTC");
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(NIMBREL_PROGRAM), arguments);
    process.waitForFinished(waitMs);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
