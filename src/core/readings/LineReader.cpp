#include "core/readings/LineReader.h"

#include "core/text/Cp1252.h"

#include <QFileInfo>

LineReader::LineReader(const QString& path) : path_(path), file_(path) {}

bool LineReader::fail(const QString& what)
{
    failed_ = true;
    error_ = what;
    return false;
}

bool LineReader::openOnce()
{
    if (opened_)
        return !failed_;
    opened_ = true;

    const QFileInfo info(path_);
    if (!info.exists())
        return fail(QStringLiteral("File not found: %1").arg(path_));
    if (info.isDir())
        return fail(QStringLiteral("%1 is a folder, not a data file").arg(path_));
    if (!file_.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("Cannot open %1: %2").arg(path_, file_.errorString()));
    // A named pipe or device reports no size; it is read up to the same limit.
    if (file_.size() > kMaxFileBytes)
        return fail(QStringLiteral("%1 is too large for a data file (%2 bytes; the limit is %3)")
                        .arg(path_).arg(file_.size()).arg(kMaxFileBytes));
    return true;
}

std::optional<QString> LineReader::readLine()
{
    if (!openOnce() || failed_)
        return std::nullopt;

    QByteArray bytes;
    bool terminated = false;
    char c = 0;
    while (file_.getChar(&c)) {
        ++offset_;
        if (pendingCr_) {
            pendingCr_ = false;
            if (c == '\n')
                continue;  // the LF of a CR LF pair
        }
        if (c == '\n' || c == '\r') {
            pendingCr_ = c == '\r';
            terminated = true;
            break;
        }
        if (c == '\0') {
            fail(QStringLiteral("%1 is not a text file (NUL byte at offset %2)").arg(path_).arg(offset_ - 1));
            return std::nullopt;
        }
        if (bytes.size() >= kMaxLineBytes) {
            fail(QStringLiteral("%1: line %2 is longer than %3 bytes").arg(path_).arg(lineNumber_ + 1).arg(kMaxLineBytes));
            return std::nullopt;
        }
        if (offset_ > kMaxFileBytes) {
            fail(QStringLiteral("%1 is too large for a data file (more than %2 bytes)").arg(path_).arg(kMaxFileBytes));
            return std::nullopt;
        }
        bytes += c;
    }
    if (file_.error() != QFileDevice::NoError) {
        fail(QStringLiteral("Error reading %1: %2").arg(path_, file_.errorString()));
        return std::nullopt;
    }
    if (!terminated && bytes.isEmpty())
        return std::nullopt;  // end of file
    return Cp1252::decode(bytes);
}

std::optional<QString> LineReader::next()
{
    std::optional<QString> line = peeked_ ? *peeked_ : readLine();
    peeked_.reset();
    if (line)
        ++lineNumber_;
    return line;
}

std::optional<QString> LineReader::peek()
{
    if (!peeked_)
        peeked_ = readLine();
    return *peeked_;
}
