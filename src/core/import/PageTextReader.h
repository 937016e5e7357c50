#pragma once

#include "core/import/ImportReader.h"

#include <QDate>
#include <QIODevice>

// The readings of a saved observations page: the page's source text, a
// table of observations under a date heading, newest first. The parse goes
// by fixed markers and the fixed positions after them (positions count from
// 1, as a text editor's columns do); a page whose layout differs gives no
// rows. Rows are dated from the heading, stepping back a day at each change
// of the rows' day name; the heading is searched for among the 101 days up
// to `today` ("Date unable to be read" otherwise). A row's rain of 0 below
// a newer row with rain takes that newer value, as the page's running
// totals mean. Rows without a temperature are left out as bad.
class PageTextReader final : public ImportReader {
public:
    // Reads from `file` (open for reading), which must outlive the reader.
    PageTextReader(QIODevice& file, const QDate& today);

    std::optional<ImportRow> next() override;
    double progress() const override;
    // Reading stopped at a date heading that is none of the days searched.
    bool dateNotFound() const { return dateNotFound_; }

private:
    std::optional<QString> readLine();
    bool readHeading(const QString& line);
    std::optional<ImportRow> observation(const QString& line);
    void carryRain(double& rain);

    QIODevice& file_;
    QDate today_;
    qint64 lineNumber_ = 0;
    QDate date_;
    QString dayName_;
    bool firstRow_ = true;
    double previousRain_ = 0;
    bool dateNotFound_ = false;
};
