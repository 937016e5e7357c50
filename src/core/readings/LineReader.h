#pragma once

#include <QFile>
#include <QString>
#include <optional>

// Streams the lines of a single-byte (Windows-1252) text file, one at a time,
// so that memory stays small whatever the file holds. Lines end at LF, CR LF
// or a lone CR; the ends are not part of the line.
//
// A station or feed file is small text, so the reader refuses what cannot be
// one: a file larger than kMaxFileBytes, a line longer than kMaxLineBytes, a
// NUL byte (a binary file). Such a refusal, like a file that cannot be
// opened, ends the reading with error() saying what and where.
class LineReader {
public:
    static constexpr qint64 kMaxFileBytes = 8 * 1024 * 1024;
    static constexpr qint64 kMaxLineBytes = 64 * 1024;

    explicit LineReader(const QString& path);

    // The next line, or nothing at the end of the file or after an error.
    std::optional<QString> next();
    // The line that next() will return, without consuming it.
    std::optional<QString> peek();

    // Empty while all is well; otherwise what went wrong, naming the file.
    QString error() const { return error_; }
    // 1-based number of the last line returned by next().
    int lineNumber() const { return lineNumber_; }
    QString path() const { return path_; }

private:
    bool openOnce();
    std::optional<QString> readLine();
    bool fail(const QString& what);

    QString path_;
    QFile file_;
    bool opened_ = false;
    bool failed_ = false;
    bool pendingCr_ = false;
    std::optional<std::optional<QString>> peeked_;
    int lineNumber_ = 0;
    qint64 offset_ = 0;
    QString error_;
};
