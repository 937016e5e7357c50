#pragma once

#include "core/import/ImportRow.h"

#include <QByteArray>
#include <QDate>
#include <QList>
#include <QString>

#include <optional>

// The remote collection protocol: text over TCP, the client speaks first.
// The client sends "LS" (list the sources), "RQ[id]" (every reading of a
// source), "RQ[id]dd/mm/yyyy" (its readings from that day on) and "QT"
// (leaving), without terminators. The server ends every message with
// "[END]"; fields are separated by TABs.
namespace RemoteProtocol {

inline constexpr char kEnd[] = "[END]";

// A source as the server lists it.
struct SourceEntry {
    qint32 id = 0;
    QString name;
    bool operator==(const SourceEntry&) const = default;
};

// Cuts the server's messages from the data as it arrives. A message ends at
// "[END]" standing at a position greater than 2 of the buffer (counting from
// 1): a buffer that begins with "[END]", or with one character and "[END]",
// is kept as it is. At most `limit` bytes wait for their "[END]".
class MessageCutter {
public:
    explicit MessageCutter(qsizetype limit = 1024 * 1024) : limit_(limit) {}

    void append(const QByteArray& data) { buffer_ += QString::fromLatin1(data); }
    // The next whole message, without its "[END]"; none until one has come.
    std::optional<QString> next();
    // More than the limit is waiting without an "[END]" that cuts it.
    bool overLimit() const { return buffer_.size() > limit_; }
    qsizetype limit() const { return limit_; }
    const QString& waiting() const { return buffer_; }

private:
    qsizetype limit_;
    QString buffer_;
};

// The sources of a source list message ("LS" TAB "[id]name" …); none when
// the message is no source list.
std::optional<QList<SourceEntry>> sourceList(const QString& message);

// A reading of a reading message: exactly 18 fields, the first "RQ[id]".
struct Reading {
    qint32 sourceID = 0;
    ImportRow row;      // its time invalid when the date or time is not one
};
std::optional<Reading> reading(const QString& message);

// The messages the server sends, "[END]" included.
QByteArray sourceListMessage(const QList<SourceEntry>& sources);
QByteArray readingMessage(qint32 sourceID, const ImportRow& row);

// What a client asks for.
struct Request {
    enum class Kind { List, Readings, Quit };
    Kind kind = Kind::List;
    qint32 sourceID = 0;
    std::optional<QDate> from;
};

// The request as it goes over the wire: "LS", "QT", "RQ[5]" or "RQ[5]03/03/2024".
QByteArray requestText(const Request& request);

// Takes the client's requests from the front of `buffer`, which holds the
// bytes received so far. Text that is no request is dropped up to the next
// one and counted in `skipped`. A request that may go on (an "RQ[id]" with
// nothing after it yet, a date begun) stays in the buffer unless
// `complete` says no more is coming soon.
QList<Request> takeRequests(QByteArray& buffer, bool complete, qsizetype& skipped);

}  // namespace RemoteProtocol
