#include "ui/GuiBusyCursor.h"

#include <QCursor>
#include <QGuiApplication>
#include <QTimer>

void GuiBusyCursor::begin()
{
    if (depth_.fetch_add(1) != 0)
        return;
    const unsigned period = ++generation_;
    QMetaObject::invokeMethod(this, [this, period] {
        QTimer::singleShot(kDelayMs, this, [this, period] {
            if (generation_ == period && depth_ > 0)
                showIfStillBusy();
        });
    });
}

void GuiBusyCursor::end()
{
    if (depth_.fetch_sub(1) != 1)
        return;
    ++generation_;
    QMetaObject::invokeMethod(this, &GuiBusyCursor::hide);
}

void GuiBusyCursor::showIfStillBusy()
{
    if (shown_)
        return;
    QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    shown_ = true;
}

void GuiBusyCursor::hide()
{
    if (!shown_ || depth_ > 0)
        return;
    QGuiApplication::restoreOverrideCursor();
    shown_ = false;
}
