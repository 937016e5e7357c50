#pragma once

#include "core/cycle/DatabaseService.h"

#include <QThread>
#include <QtTest>

// A database service on its own worker thread, as the main window runs it.
class DatabaseWorker {
public:
    explicit DatabaseWorker(const Environment& environment) : service(new DatabaseService(environment))
    {
        service->moveToThread(&thread_);
        thread_.start();
    }
    ~DatabaseWorker()
    {
        thread_.quit();
        thread_.wait();
        delete service;
    }

    // Waits until the database work asked for so far has come back
    // (answered to `context`, on the window's thread).
    void settle(QObject* context) const
    {
        bool drained = false;
        service->request<bool>(context, [] { return true; }, [&drained](const bool&) { drained = true; });
        QTRY_VERIFY_WITH_TIMEOUT(drained, 10000);
    }

    DatabaseService* service;

private:
    QThread thread_;
};
