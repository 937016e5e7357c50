#pragma once

#include "core/import/ImportRow.h"

#include <QFile>
#include <QString>

#include <optional>

// A file of past readings, read one row at a time in file order. Reading
// never throws: a record or row that cannot be used is counted as bad and
// left out, and a fault that stops the reading (a date that cannot be
// found, a file that ends in the middle of a row) ends it with problem().
class ImportReader {
public:
    virtual ~ImportReader() = default;

    // The next row to store; none at the end of the file or when reading
    // stopped early.
    virtual std::optional<ImportRow> next() = 0;

    // Records or rows met so far, used or not.
    qint64 read() const { return read_; }
    // Of those, the ones left out as unusable.
    qint64 bad() const { return bad_; }
    // Of those, the ones left out by choice (fewer rows than the file has).
    qint64 thinned() const { return thinned_; }
    // How far through the file, from 0 to 1.
    virtual double progress() const = 0;
    // Why reading stopped before the end ("line 12: …"); empty otherwise.
    QString problem() const { return problem_; }

protected:
    qint64 read_ = 0;
    qint64 bad_ = 0;
    qint64 thinned_ = 0;
    QString problem_;
};

// Opens `file` for reading as an import file: empty when it is open, else
// why not ("it is a folder", or the system's reason).
QString openImportFile(QFile& file);
