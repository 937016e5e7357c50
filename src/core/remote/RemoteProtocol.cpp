#include "core/remote/RemoteProtocol.h"

#include "core/text/DateText.h"
#include "core/text/NumberText.h"

#include <QStringList>

namespace RemoteProtocol {

namespace {

constexpr int kReadingFields = 18;

QString number(double value)
{
    return NumberText::generalNumber(value);
}

double numberIn(const QString& field)
{
    return NumberText::leadingNumber(field);
}

// "dd/mm/yyyy" at the front of `text`, if it is one there.
std::optional<QDate> dateAt(const QByteArray& text)
{
    if (text.size() < 10)
        return std::nullopt;
    const QDate date = QDate::fromString(QString::fromLatin1(text.left(10)), "dd/MM/yyyy");
    return date.isValid() ? std::optional<QDate>(date) : std::nullopt;
}

// Whether `text` could still become the start of "dd/mm/yyyy".
bool mayBecomeDate(const QByteArray& text)
{
    static const QByteArray form = "99/99/9999";
    for (qsizetype i = 0; i < text.size() && i < form.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (form[i] == '9' ? !digit : text[i] != '/')
            return false;
    }
    return text.size() < form.size();
}

}  // namespace

std::optional<QString> MessageCutter::next()
{
    const qsizetype end = buffer_.indexOf(QLatin1String(kEnd));
    if (end < 2)
        return std::nullopt;  // "[END]" at the 1st or 2nd character: kept, never cut
    QString message = buffer_.left(end);
    buffer_.remove(0, end + 5);
    return message;
}

std::optional<QList<SourceEntry>> sourceList(const QString& message)
{
    if (!message.startsWith(QLatin1String("LS")))
        return std::nullopt;
    QList<SourceEntry> sources;
    const QStringList parts = message.split(u'\t');
    for (qsizetype i = 1; i < parts.size(); ++i) {
        const QString& part = parts[i];
        const qsizetype close = part.indexOf(u']');
        sources.append({qint32(NumberText::leadingNumber(QStringView(part).mid(1))),
                        close < 0 ? QString() : part.mid(close + 1)});
    }
    return sources;
}

std::optional<Reading> reading(const QString& message)
{
    if (!message.startsWith(QLatin1String("RQ")))
        return std::nullopt;
    const QStringList f = message.split(u'\t');
    if (f.size() != kReadingFields)
        return std::nullopt;
    Reading r;
    r.sourceID = qint32(NumberText::leadingNumber(QStringView(f[0]).mid(3)));
    ImportRow& row = r.row;
    row.pressure = numberIn(f[1]);
    row.inTemperature = numberIn(f[2]);
    row.inHumidity = numberIn(f[3]);
    row.outTemperature = numberIn(f[4]);
    row.outHumidity = numberIn(f[5]);
    row.dewpoint = numberIn(f[6]);
    row.windChill = numberIn(f[7]);
    row.windSpeed = numberIn(f[8]);
    row.windDirection = f[9] == u"---" ? QString() : f[9];
    row.rainTotal = numberIn(f[10]);
    const QDate day = QDate::fromString(f[12].trimmed(), "dd.MM.yyyy");
    const std::optional<QTime> time = DateText::parseTime(f[11].trimmed());
    if (day.isValid() && time)
        row.time = QDateTime(day, QTime(time->hour(), time->minute()));
    row.rain1h = numberIn(f[13]);
    row.rain24h = numberIn(f[14]);
    row.trend = int(numberIn(f[15]));
    row.stability = int(numberIn(f[16]));
    row.storm = int(numberIn(f[17]));
    return r;
}

QByteArray sourceListMessage(const QList<SourceEntry>& sources)
{
    QString message = "LS";
    for (const SourceEntry& source : sources)
        message += QString("\t[%1]%2").arg(source.id).arg(source.name);
    return (message + kEnd).toLatin1();
}

QByteArray readingMessage(qint32 sourceID, const ImportRow& row)
{
    const QStringList fields = {QString("RQ[%1]").arg(sourceID),
                                number(row.pressure),
                                number(row.inTemperature),
                                number(row.inHumidity),
                                number(row.outTemperature),
                                number(row.outHumidity),
                                number(row.dewpoint),
                                number(row.windChill),
                                number(row.windSpeed),
                                row.windDirection.isEmpty() ? QStringLiteral("---") : row.windDirection,
                                number(row.rainTotal),
                                DateText::format(row.time, "HH:mm"),
                                DateText::format(row.time, "dd.MM.yyyy"),
                                number(row.rain1h),
                                number(row.rain24h),
                                QString::number(row.trend),
                                QString::number(row.stability),
                                QString::number(row.storm)};
    return (fields.join(u'\t') + kEnd).toLatin1();
}

QByteArray requestText(const Request& request)
{
    switch (request.kind) {
    case Request::Kind::List:
        return "LS";
    case Request::Kind::Quit:
        return "QT";
    case Request::Kind::Readings:
        break;
    }
    QByteArray text = "RQ[" + QByteArray::number(request.sourceID) + "]";
    if (request.from)
        text += request.from->toString("dd/MM/yyyy").toLatin1();
    return text;
}

QList<Request> takeRequests(QByteArray& buffer, bool complete, qsizetype& skipped)
{
    QList<Request> requests;
    const auto begins = [&buffer](const QByteArray& word) {
        return buffer.size() < word.size() && word.startsWith(buffer);
    };
    while (!buffer.isEmpty()) {
        if (!complete && (begins("LS") || begins("QT") || begins("RQ[")))
            return requests;  // the rest may come
        if (buffer.startsWith("LS") || buffer.startsWith("QT")) {
            requests.append({buffer.startsWith("LS") ? Request::Kind::List : Request::Kind::Quit, 0, {}});
            buffer.remove(0, 2);
            continue;
        }
        if (buffer.startsWith("RQ[")) {
            qsizetype close = 3;
            while (close < buffer.size() && close < 14 && buffer[close] >= '0' && buffer[close] <= '9')
                ++close;
            if (close == buffer.size() && !complete)
                return requests;  // the number may go on
            if (close < buffer.size() && buffer[close] == ']' && close > 3) {
                const QByteArray after = buffer.mid(close + 1);
                if (!complete && (after.isEmpty() || mayBecomeDate(after)))
                    return requests;  // a date may follow
                Request request{Request::Kind::Readings, buffer.mid(3, close - 3).toInt(), dateAt(after)};
                buffer.remove(0, close + 1 + (request.from ? 10 : 0));
                requests.append(request);
                continue;
            }
        }
        buffer.remove(0, 1);  // no request starts here
        ++skipped;
    }
    return requests;
}

}  // namespace RemoteProtocol
