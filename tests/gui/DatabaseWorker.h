#pragma once

#include "core/cycle/DatabaseService.h"

#include <QThread>

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

    DatabaseService* service;

private:
    QThread thread_;
};
