#include "core/text/DateText.h"

#include <QRegularExpression>

namespace DateText {

QString format(const QDateTime& value, const QString& pattern)
{
    return QLocale::c().toString(value, pattern);
}

QString format(const QDate& value, const QString& pattern)
{
    return QLocale::c().toString(value, pattern);
}

QDate zeroDate()
{
    return QDate(1899, 12, 30);
}

namespace {

const QRegularExpression& timePattern()
{
    static const QRegularExpression pattern(
        QStringLiteral(R"((?<![\d:])(\d{1,2}):(\d{2})(?::(\d{2}))?(?:\s*([AaPp])\.?[Mm]\.?)?(?![\d:]))"));
    return pattern;
}

// Reads "H:mm[:ss] [am|pm]" from a regular-expression match.
std::optional<QTime> timeFromMatch(const QRegularExpressionMatch& match)
{
    int hour = match.captured(1).toInt();
    const int minute = match.captured(2).toInt();
    const int second = match.captured(3).isEmpty() ? 0 : match.captured(3).toInt();
    const QString meridiem = match.captured(4).toLower();
    if (!meridiem.isEmpty()) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        hour = hour % 12 + (meridiem == u"p" ? 12 : 0);
    }
    const QTime time(hour, minute, second);
    if (!time.isValid())
        return std::nullopt;
    return time;
}

std::optional<int> monthFromName(const QString& name, const QLocale& locale)
{
    const QLocale english = QLocale::c();
    for (int month = 1; month <= 12; ++month) {
        for (const QLocale* names : {&english, &locale}) {
            if (name.compare(names->monthName(month, QLocale::LongFormat), Qt::CaseInsensitive) == 0
                || name.compare(names->monthName(month, QLocale::ShortFormat), Qt::CaseInsensitive) == 0)
                return month;
        }
    }
    return std::nullopt;
}

bool isDayName(const QString& name, const QLocale& locale)
{
    const QLocale english = QLocale::c();
    for (int day = 1; day <= 7; ++day) {
        for (const QLocale* names : {&english, &locale}) {
            if (name.compare(names->dayName(day, QLocale::LongFormat), Qt::CaseInsensitive) == 0
                || name.compare(names->dayName(day, QLocale::ShortFormat), Qt::CaseInsensitive) == 0)
                return true;
        }
    }
    return false;
}

int fullYear(const QString& digits)
{
    const int year = digits.toInt();
    if (digits.size() > 2)
        return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

bool monthFirst(const QLocale& locale)
{
    const QString pattern = locale.dateFormat(QLocale::ShortFormat);
    const qsizetype month = pattern.indexOf(u'M');
    const qsizetype day = pattern.indexOf(u'd');
    return month >= 0 && day >= 0 && month < day;
}

std::optional<QDate> dateFromParts(int year, int month, int day)
{
    const QDate date(year, month, day);
    if (!date.isValid())
        return std::nullopt;
    return date;
}

std::optional<QDate> parseDate(QString text, const QLocale& locale)
{
    text = text.simplified();
    // A leading day name such as "Sun," is allowed and ignored.
    static const QRegularExpression leadingWord(QStringLiteral(R"(^([A-Za-z\p{L}]+),?\s+(?=\d))"));
    const auto word = leadingWord.match(text);
    if (word.hasMatch() && isDayName(word.captured(1), locale))
        text = text.mid(word.capturedLength());

    static const QRegularExpression dayMonthNameYear(
        QStringLiteral(R"(^(\d{1,2})[ \-/.]([\p{L}]+)\.?[ \-/.,]+(\d{2}|\d{4})$)"));
    static const QRegularExpression monthNameDayYear(
        QStringLiteral(R"(^([\p{L}]+)\.?[ \-/.](\d{1,2}),?[ \-/.]+(\d{4})$)"));
    static const QRegularExpression isoDate(QStringLiteral(R"(^(\d{4})[\-/.](\d{1,2})[\-/.](\d{1,2})$)"));
    static const QRegularExpression numericDate(
        QStringLiteral(R"(^(\d{1,2})([\-/.])(\d{1,2})\2(\d{2}|\d{4})$)"));

    if (auto m = dayMonthNameYear.match(text); m.hasMatch()) {
        const auto month = monthFromName(m.captured(2), locale);
        if (!month)
            return std::nullopt;
        return dateFromParts(fullYear(m.captured(3)), *month, m.captured(1).toInt());
    }
    if (auto m = monthNameDayYear.match(text); m.hasMatch()) {
        const auto month = monthFromName(m.captured(1), locale);
        if (!month)
            return std::nullopt;
        return dateFromParts(m.captured(3).toInt(), *month, m.captured(2).toInt());
    }
    if (auto m = isoDate.match(text); m.hasMatch())
        return dateFromParts(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    if (auto m = numericDate.match(text); m.hasMatch()) {
        const int first = m.captured(1).toInt();
        const int second = m.captured(3).toInt();
        const int year = fullYear(m.captured(4));
        const bool dotted = m.captured(2) == u".";
        if (!dotted && monthFirst(locale))
            return dateFromParts(year, first, second);
        return dateFromParts(year, second, first);
    }
    return std::nullopt;
}

}  // namespace

std::optional<QTime> parseTime(const QString& text)
{
    static const QRegularExpression wholeTime(QStringLiteral("^\\s*(?:%1)\\s*$").arg(timePattern().pattern()));
    const auto match = wholeTime.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    return timeFromMatch(match);
}

std::optional<QDateTime> parseDateTime(const QString& text, const QLocale& locale)
{
    QString rest = text;
    std::optional<QTime> time;
    const auto match = timePattern().match(rest);
    if (match.hasMatch()) {
        time = timeFromMatch(match);
        if (!time)
            return std::nullopt;
        rest.remove(match.capturedStart(), match.capturedLength());
    }

    rest = rest.simplified();
    if (rest.endsWith(u','))
        rest.chop(1);
    if (rest.isEmpty()) {
        if (!time)
            return std::nullopt;
        return QDateTime(zeroDate(), *time);
    }
    const auto date = parseDate(rest, locale);
    if (!date)
        return std::nullopt;
    return QDateTime(*date, time.value_or(QTime(0, 0)));
}

}  // namespace DateText
