#pragma once

#include "core/db/DatabaseSession.h"
#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <vector>

// Helpers shared by the tests.

// A real station file from the shared fixture folder.
QString fixturePath(const QString& name);
// Whether the shared fixture folder is here; a plain clone has none.
bool haveFixtureFolder();

// Skips a test that needs the shared fixture folder, with one line saying
// so. Such tests have "FromFixtures" in their suite's name, which gives them
// the CTest label "fixtures".
#ifndef SKIP_WITHOUT_FIXTURES
#define SKIP_WITHOUT_FIXTURES()                                                                        \
    do {                                                                                               \
        if (!haveFixtureFolder())                                                                      \
            GTEST_SKIP() << "needs the shared fixture folder " NIMBREL_FIXTURES_DIR ", absent here";   \
    } while (0)
#endif

// A fresh folder removed after the test.
class TempFolder {
public:
    TempFolder();
    QString path() const { return dir_.path(); }
    QString file(const QString& name) const { return dir_.filePath(name); }
    // Writes `bytes` to a new file in the folder and returns its path.
    QString write(const QString& name, const QByteArray& bytes) const;

private:
    QTemporaryDir dir_;
};

QByteArray readAll(const QString& path);

// Adds one row to `table` of the Nimbrel database at `path` and commits it
// (a source, a reading); false when it cannot.
bool insertRow(const QString& path, const QString& table, const std::vector<ColumnValue>& values);

// How a test program fails the running test from its helpers (GoogleTest
// and QtTest fail a test differently). Each test program's main installs its
// own; without one, the message goes to standard error.
void setTestFailureHandler(void (*handler)(const QString& message));
void failRunningTest(const QString& message);

// Records every reported error instead of showing it. A test that expects
// errors looks at them (messages() or empty()); one that is reported and
// never looked at fails the test when the recorder goes away, so that a
// test cannot pass while the code under it reports something unexpected.
class RecordingErrors final : public ErrorReporter {
public:
    ~RecordingErrors() override;
    void report(const QString& message) override;
    // Every message so far; the test has seen them all.
    QStringList messages() const;
    bool empty() const { return messages().isEmpty(); }

private:
    mutable QMutex mutex_;
    QStringList messages_;
    mutable qsizetype seen_ = 0;
};

// Records every message box instead of showing it.
class RecordingMessageBoxes final : public MessageBoxes {
public:
    struct Box {
        QString title;
        QString text;
        Icon icon;
    };
    void show(const QString& title, const QString& text, Icon icon) override;
    // Recorded like a box, and answered as answer() says.
    bool askOkCancel(const QString& title, const QString& text) override;
    std::vector<Box> boxes() const;
    // The answer to the next questions (OK unless told otherwise).
    void answer(bool ok) { answer_ = ok; }

private:
    mutable QMutex mutex_;
    std::vector<Box> boxes_;
    bool answer_ = true;
};

// Compares `actual` with the golden file whole, length included, and says
// where they first differ. With NIMBREL_UPDATE_GOLDEN=1 in the environment
// the golden file is rewritten instead (then review the change with git diff).
void expectSameAsGolden(const QByteArray& actual, const QString& goldenPath);

// A golden file of the source tree's tests/golden folder.
QString goldenPath(const QString& name);
