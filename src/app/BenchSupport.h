#pragma once

#include "core/db/DatabaseSession.h"
#include "core/errors/Environment.h"
#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"

#include <QByteArray>
#include <QFile>
#include <QString>

// What the benches share: where the errors of the timed work go, and how a
// time is printed.

// Keeps the last error or message text, to print when a timed step fails;
// answers every question with Cancel.
class BenchErrors final : public ErrorReporter, public MessageBoxes {
public:
    void report(const QString& message) override { last = message; }
    void show(const QString&, const QString& text, Icon) override { last = text; }
    bool askOkCancel(const QString&, const QString&) override { return false; }

    QString last;
};

// "2.50 ms", "18.0 ms": two decimals below ten milliseconds, one above.
inline QString milliseconds(double ms)
{
    return QString::number(ms, 'f', ms < 10 ? 2 : 1) + " ms";
}

// A memory figure of a process in MB from its /proc status file ("VmRSS",
// in use now; "VmHWM", the most it has used), 0 where there is none.
inline double statusMegabytes(const QString& statusFile, const QByteArray& field)
{
    QFile status(statusFile);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field + ":"))
            return line.mid(field.size() + 1).trimmed().split(' ').value(0).toDouble() / 1024;
    }
    return 0;
}

// Adds the benches' source, "Bench Station", to `database` as source `id`,
// its readings kept in the same file under the same number; false when it
// cannot be added.
inline bool addBenchStation(const QString& database, qint32 id, const Environment& environment)
{
    auto session = DatabaseSession::open(database, DatabaseSession::Access::Write, environment);
    if (!session)
        return false;
    auto sources = (*session)->table("Sources");
    return sources &&
           (*session)->insert(*sources, {{"SourceID", id}, {"SourceName", "Bench Station"},
                                         {"SourceDatabase", database}, {"DataID", id}}) &&
           (*session)->commit();
}
