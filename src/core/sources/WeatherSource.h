#pragma once

#include "core/db/DatabaseSession.h"
#include "core/readings/WeatherReading.h"
#include "core/errors/Environment.h"

#include <QString>
#include <QtGlobal>
#include <memory>
#include <optional>
#include <vector>

// One weather source: an input file that another program rewrites, with the
// database and export files of its readings, as a row of the Sources table.
// It owns the source's current reading (reading), shared with whoever holds it.
//
// The database operations take the primary database's path; with an empty
// path they do nothing and give false (nothing for insertNew). Each opens the
// file for itself and closes it before returning. A failure is reported as
// one message through the environment's error routine and gives false
// (nothing). Enabled is read from the table but never written.
class WeatherSource {
public:
    explicit WeatherSource(const Environment& environment);

    qint32 sourceID() const { return sourceID_; }
    void setSourceID(qint32 value) { sourceID_ = value; }
    QString sourceName() const { return sourceName_; }
    void setSourceName(const QString& value) { sourceName_ = value; }
    SourceKind sourceKind() const { return sourceKind_; }
    void setSourceKind(SourceKind kind) { sourceKind_ = kind; }
    QString sourceFileName() const { return sourceFileName_; }
    void setSourceFileName(const QString& value) { sourceFileName_ = value; }
    // The database whose History the graphs read for this source.
    QString sourceDatabase() const { return sourceDatabase_; }
    void setSourceDatabase(const QString& value) { sourceDatabase_ = value; }
    // The SourceID under which this source's rows are found in sourceDatabase.
    qint32 dataID() const { return dataID_; }
    void setDataID(qint32 value) { dataID_ = value; }
    QString importFileName() const { return importFileName_; }
    void setImportFileName(const QString& value) { importFileName_ = value; }
    QString exportFileName() const { return exportFileName_; }
    void setExportFileName(const QString& value) { exportFileName_ = value; }
    // Log every logMultiple-th cycle; 0 turns logging off.
    qint32 logMultiple() const { return logMultiple_; }
    void setLogMultiple(qint32 value) { logMultiple_ = value; }
    // Cycles left before the next log; kept for the run only.
    qint32 logCounter() const { return logCounter_; }
    void setLogCounter(qint32 value) { logCounter_ = value; }
    bool enabled() const { return enabled_; }
    void setEnabled(bool value) { enabled_ = value; }

    // The current reading; never empty (a new one is made when unset).
    WeatherReading& reading() const;
    void setReading(std::shared_ptr<WeatherReading> reading) { reading_ = std::move(reading); }

    // Loads the row with key `id`; true when it exists. Leaves the
    // properties unchanged when it does not.
    bool load(const QString& databasePath, qint32 id);
    // Stores the properties under key `id`; when no such row exists, adds a
    // new row (insertNew) and passes its key back through `id` (0 when the
    // insert failed; the result is then true all the same, as the program
    // has always answered; the failure was reported).
    bool save(const QString& databasePath, qint32& id);
    // Inserts the properties as a row under the next free key (the highest
    // plus one, 0 for an empty table), tells the user, and returns the key.
    std::optional<qint32> insertNew(const QString& databasePath);
    // Reads the source's input file again into wData; the reader's result.
    // Read errors go to `errors` (the environment's error routine when not given).
    bool refresh();
    bool refresh(ErrorReporter& errors);

private:
    std::vector<ColumnValue> storedProperties() const;

    const Environment& environment_;
    qint32 sourceID_ = 0;
    QString sourceName_;
    SourceKind sourceKind_ = SourceKind::StationFile;
    QString sourceFileName_;
    QString sourceDatabase_;
    qint32 dataID_ = 0;
    QString importFileName_;
    QString exportFileName_;
    qint32 logMultiple_ = 0;
    qint32 logCounter_ = 0;
    bool enabled_ = false;
    mutable std::shared_ptr<WeatherReading> reading_ = std::make_shared<WeatherReading>();
};

// One source record per row of Sources, in SourceID order, each loaded by
// its key. Failures are reported by the operations that meet them; the
// sources that could be loaded are returned.
std::vector<std::shared_ptr<WeatherSource>> loadSources(const QString& databasePath, const Environment& environment);
