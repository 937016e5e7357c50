#pragma once

#include <QDir>
#include <QObject>
#include <QString>
#include <QTest>
#include <QWidget>

// The child of `parent` named `name`. A missing one ends the test run at
// once with its name: a renamed widget should fail loudly, not as a crash
// further on.
template <typename T>
T* namedChild(const QObject* parent, const QString& name)
{
    T* found = parent->findChild<T*>(name);
    if (!found)
        qFatal("no %s", qPrintable(name));
    return found;
}

// Saves what `widget` shows to screens/<name> in the working folder, once
// its layouts have followed the latest texts and pictures.
inline void saveGrab(QWidget* widget, const QString& name)
{
    QDir().mkpath("screens");
    QTest::qWait(150);
    widget->grab().save("screens/" + name);
}
