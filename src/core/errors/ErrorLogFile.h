#pragma once

#include <QDateTime>
#include <QString>

// The error log: a text file of dated lines, appended to and created when
// missing. Each entry is "dd-MMM-yyyy HH:mm:ss " (English month names), the
// message exactly as given, and CR LF; a message holding line breaks spreads
// over several lines and only its first carries the date.
namespace ErrorLogFile {

// The entry for `message` at `when`: "05-Mar-2007 14:07:09 X\r\n".
QString entry(const QDateTime& when, const QString& message);

// Appends the entry to the file (UTF-8). Returns false when the file cannot
// be opened or written; nothing is reported.
bool append(const QString& path, const QDateTime& when, const QString& message);

}  // namespace ErrorLogFile
