#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <optional>

// Date and time texts: fixed output forms with English day and month names,
// and the lenient parser that decides whether a text from a station file is a
// valid date or time.
namespace DateText {

// Formats with a Qt date-time pattern in English (C locale), whatever the
// user's locale: format(t, "dd-MMM-yyyy HH:mm:ss") gives "05-Mar-2007 14:07:09".
QString format(const QDateTime& value, const QString& pattern);
QString format(const QDate& value, const QString& pattern);

// Reads a date, a time, or a date and a time in either order, in the forms a
// person or a station program writes them:
//   dates: "15 Nov 2026", "15-Nov-2026", "Nov 15, 2026", "2026-11-15",
//          "15.11.2026", and "15/11/2026" or "11/15/2026" in the order of `locale`;
//          a leading day name ("Sun, 15 Nov 2026") is allowed;
//   times: "16:00", "16:00:24", "3:00 pm", "11:30 AM".
// Month names are English or those of `locale`. A time without a date lies on
// 30 Dec 1899 (the zero date); a date without a time at midnight.
// Returns nothing when any part of the text is not understood or not a real
// date or time.
std::optional<QDateTime> parseDateTime(const QString& text, const QLocale& locale = QLocale::system());

// Reads a text that holds only a time ("3:00 pm", "15:07", "16:00:24").
std::optional<QTime> parseTime(const QString& text);

// The zero date on which times without a date lie.
QDate zeroDate();

}  // namespace DateText
