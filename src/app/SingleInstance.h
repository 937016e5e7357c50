#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QString>
#include <memory>

// One window per settings file: the first program started with a settings
// file holds a lock file and listens under a name, both made from the file's
// path; a second one with the same file finds the lock taken, asks the first
// to come to the front, and stops. The lock of a program that died is taken
// over.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(const QString& settingsFile, QObject* parent = nullptr);

    // True when another program already runs with this settings file; it has
    // been asked to show its window. Otherwise this program becomes the one
    // that listens.
    bool anotherIsRunning();

signals:
    // A later start asked this program to show its window.
    void raiseRequested();

private:
    QString name_;
    std::unique_ptr<QLockFile> lock_;
    QLocalServer server_;
};
