#pragma once

#include <QDate>
#include <QString>

class QDateEdit;
class QPushButton;
class QWidget;

// The window's date controls: a picker with a calendar, and the small
// buttons beside it that step it.
namespace DatePickers {

// A day, shown as "23/Nov/2026".
QDateEdit* day(const QString& name, const QDate& date, QWidget* parent);
// A month, shown as "November 2026".
QDateEdit* month(const QString& name, const QDate& date, QWidget* parent);
// A narrow button ("<", ">") with its tooltip.
QPushButton* stepButton(const QString& text, const QString& name, const QString& tip, QWidget* parent);

}  // namespace DatePickers
