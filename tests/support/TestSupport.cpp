#include "support/TestSupport.h"

#include "core/errors/Environment.h"
#include "core/text/Clock.h"

#include <QDir>
#include <QFile>
#include <cstdio>
#include <gtest/gtest.h>

QString fixturePath(const QString& name)
{
    return QDir(QStringLiteral(NIMBREL_FIXTURES_DIR)).filePath(name);
}

bool haveFixtureFolder()
{
    return QDir(QStringLiteral(NIMBREL_FIXTURES_DIR)).exists();
}

TempFolder::TempFolder()
{
    if (!dir_.isValid())
        ADD_FAILURE() << "cannot create a temporary folder";
}

QString TempFolder::write(const QString& name, const QByteArray& bytes) const
{
    const QString path = file(name);
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
    return path;
}

QByteArray readAll(const QString& path)
{
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly))
        return {};
    return in.readAll();
}

bool insertRow(const QString& path, const QString& table, const std::vector<ColumnValue>& values)
{
    RecordingErrors errors;
    RecordingMessageBoxes boxes;
    FixedClock clock{QDateTime::currentDateTime()};
    const Environment environment{errors, boxes, clock};
    auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
    if (!session)
        return false;
    auto rows = (*session)->table(table);
    return rows && (*session)->insert(*rows, values) && (*session)->commit();
}

namespace {

void (*testFailureHandler)(const QString&) = nullptr;

}  // namespace

void setTestFailureHandler(void (*handler)(const QString& message))
{
    testFailureHandler = handler;
}

void failRunningTest(const QString& message)
{
    if (testFailureHandler)
        testFailureHandler(message);
    else
        fprintf(stderr, "%s\n", qPrintable(message));
}

RecordingErrors::~RecordingErrors()
{
    QMutexLocker lock(&mutex_);
    for (qsizetype i = seen_; i < messages_.size(); ++i)
        failRunningTest("An error was reported that the test did not look for: " + messages_[i]);
}

void RecordingErrors::report(const QString& message)
{
    QMutexLocker lock(&mutex_);
    messages_ << message;
}

QStringList RecordingErrors::messages() const
{
    QMutexLocker lock(&mutex_);
    seen_ = messages_.size();
    return messages_;
}

void RecordingMessageBoxes::show(const QString& title, const QString& text, Icon icon)
{
    QMutexLocker lock(&mutex_);
    boxes_.push_back({title, text, icon});
}

bool RecordingMessageBoxes::askOkCancel(const QString& title, const QString& text)
{
    QMutexLocker lock(&mutex_);
    boxes_.push_back({title, text, Icon::Information});
    return answer_;
}

std::vector<RecordingMessageBoxes::Box> RecordingMessageBoxes::boxes() const
{
    QMutexLocker lock(&mutex_);
    return boxes_;
}

QString goldenPath(const QString& name)
{
    return QDir(QStringLiteral(NIMBREL_GOLDEN_DIR)).filePath(name);
}

void expectSameAsGolden(const QByteArray& actual, const QString& goldenPath)
{
    if (qEnvironmentVariableIntValue("NIMBREL_UPDATE_GOLDEN") == 1) {
        QFile out(goldenPath);
        if (!out.open(QIODevice::WriteOnly) || out.write(actual) != actual.size())
            ADD_FAILURE() << "cannot rewrite " << goldenPath.toStdString();
        return;
    }
    const QByteArray expected = readAll(goldenPath);
    if (actual == expected)
        return;
    qsizetype at = 0;
    while (at < actual.size() && at < expected.size() && actual[at] == expected[at])
        ++at;
    const auto around = [at](const QByteArray& bytes) {
        return bytes.mid(std::max<qsizetype>(0, at - 20), 60).toPercentEncoding(" <>=\"/:.,;()~-_").toStdString();
    };
    ADD_FAILURE() << goldenPath.toStdString() << ": differs at byte " << at << " (actual " << actual.size()
                  << " bytes, golden " << expected.size() << ")\n  actual: " << around(actual)
                  << "\n  golden: " << around(expected);
}
