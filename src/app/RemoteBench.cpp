#include "app/RemoteBench.h"

#include "app/BenchSupport.h"
#include "app/DatabaseBench.h"

#include "core/db/HistoryColumns.h"
#include "core/db/NimbrelSchema.h"
#include "core/remote/RemoteDownload.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

namespace {

const QDate kLastYear(2024, 12, 30);  // the bench's readings end on 29 December 2025

// The readings of the bench's source from `from` on, as the server has them.
qint64 readingsFrom(const QString& database, const QDate& from, const Environment& environment)
{
    const auto read = readHistoryColumns(database, 0, QDateTime(from, QTime(0, 0)),
                                         QDateTime(QDate(9999, 12, 31), QTime(23, 59)), {}, false, environment);
    return read ? qint64(read->size()) : -1;
}

// `nimbrel serve` on the database, any free port; its port, or 0.
quint16 startServer(QProcess& server, const QString& database)
{
    server.start(QCoreApplication::applicationFilePath(), {"serve", database, "--port", "0"});
    QString log;
    const QRegularExpression serving("port (\\d+)");
    for (QDeadlineTimer deadline(10000); !deadline.hasExpired();) {
        server.waitForReadyRead(100);
        log += QString::fromUtf8(server.readAllStandardError());
        if (const auto match = serving.match(log); match.hasMatch())
            return quint16(match.captured(1).toUInt());
    }
    return 0;
}

// Downloads `expected` readings from `from` on (all when none) into a new
// database `into`; the seconds from the request to the last one stored, or
// a negative number after a line on `errors`.
double timeDownload(quint16 port, const QString& into, std::optional<QDate> from, qint64 expected,
                    const Environment& environment, QObject& worker, QTextStream& errors)
{
    if (!NimbrelSchema::createDatabase(into.toStdString()) || !addBenchStation(into, 1, environment)) {
        errors << "nimbrel bench: cannot make " << into << '\n';
        return -1;
    }
    RemoteDownload download(into, environment, RemoteDownload::runnerOn(worker));
    QElapsedTimer timer;
    QObject::connect(&download.client(), &RemoteClient::connected, [&] { download.client().requestList(); });
    QObject::connect(&download, &RemoteDownload::listed, [&] {
        timer.start();
        download.request({0}, from);
    });
    download.client().connectTo("127.0.0.1", port, 0);
    for (QDeadlineTimer deadline(120000); !deadline.hasExpired();) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        if (download.counts().stored >= expected && download.idle())
            return double(timer.nsecsElapsed()) / 1e9;
    }
    errors << "nimbrel bench: the download stopped at " << download.counts().stored << " of " << expected
           << " readings\n";
    return -1;
}

// The most memory used (VmHWM) counts from now on (Linux).
void resetPeakMemory()
{
    QFile clear("/proc/self/clear_refs");
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

}  // namespace

int runRemoteBench(QTextStream& out, QTextStream& errors, const QString& tenYears)
{
    QTemporaryDir temporary;
    if (!temporary.isValid()) {
        errors << "nimbrel bench: cannot make a temporary folder\n";
        return 1;
    }
    BenchErrors reported;
    SystemClock clock;
    const Environment environment{reported, reported, clock};
    QString database = tenYears;
    if (database.isEmpty()) {
        database = QDir(temporary.path()).filePath("ten years.mdb");
        if (!buildTenYearDatabase(database, out, errors))
            return 1;
    }
    if (SourceLists::sourceList(database, environment).isEmpty() && !addBenchStation(database, 0, environment)) {
        errors << "nimbrel bench: cannot add the source to " << database << '\n';
        return 1;
    }

    QProcess server;
    const quint16 port = startServer(server, database);
    if (port == 0) {
        errors << "nimbrel bench: nimbrel serve did not start\n";
        return 1;
    }
    QThread thread;
    QObject worker;
    worker.moveToThread(&thread);
    thread.start();
    resetPeakMemory();
    out << "Remote collection over 127.0.0.1, nimbrel serve as a process of its own\n";
    const qint64 inYear = readingsFrom(database, kLastYear, environment);
    const qint64 inAll = readingsFrom(database, QDate(1900, 1, 1), environment);
    const double year = timeDownload(port, QDir(temporary.path()).filePath("year.mdb"), kLastYear, inYear,
                                     environment, worker, errors);
    if (year >= 0)
        out << "A year (" << inYear << " readings) from the request to the last stored: "
            << QString::number(year, 'f', 2) << " s\n";
    out.flush();
    const double all = year < 0 ? -1
                                : timeDownload(port, QDir(temporary.path()).filePath("all.mdb"), std::nullopt, inAll,
                                               environment, worker, errors);
    if (all >= 0)
        out << "Everything (" << inAll << " readings): " << QString::number(all, 'f', 1) << " s\n";
    const QString serverStatus = QString("/proc/%1/status").arg(server.processId());
    out << "Most memory used: the server " << QString::number(statusMegabytes(serverStatus, "VmHWM"), 'f', 1)
        << " MB, the client " << QString::number(statusMegabytes("/proc/self/status", "VmHWM"), 'f', 1) << " MB\n";
    server.terminate();
    server.waitForFinished(5000);
    thread.quit();
    thread.wait();
    return year >= 0 && all >= 0 ? 0 : 1;
}
