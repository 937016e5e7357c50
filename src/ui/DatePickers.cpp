#include "ui/DatePickers.h"

#include <QDateEdit>
#include <QPushButton>

namespace DatePickers {

namespace {

QDateEdit* picker(const QString& name, const QDate& date, const QString& format, QWidget* parent)
{
    auto* picker = new QDateEdit(parent);
    picker->setObjectName(name);
    picker->setCalendarPopup(true);
    picker->setDisplayFormat(format);
    if (date.isValid())
        picker->setDate(date);
    return picker;
}

}  // namespace

QDateEdit* day(const QString& name, const QDate& date, QWidget* parent)
{
    return picker(name, date, "dd/MMM/yyyy", parent);
}

QDateEdit* month(const QString& name, const QDate& date, QWidget* parent)
{
    return picker(name, date, "MMMM yyyy", parent);
}

QPushButton* stepButton(const QString& text, const QString& name, const QString& tip, QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setToolTip(tip);
    button->setMaximumWidth(36);
    return button;
}

}  // namespace DatePickers
