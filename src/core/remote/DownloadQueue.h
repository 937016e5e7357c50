#pragma once

#include "core/errors/Environment.h"
#include "core/import/HistoryImport.h"

#include <QString>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

// Readings received from a server on their way into History, each under
// the name of its source. The window's thread adds them as they arrive; a
// store on the worker thread takes them out and stores them in batches as
// readings of the local source of that name, leaving out minutes it has
// already, until none has come for a moment. Thread-safe.
class DownloadQueue {
public:
    // What the stores did so far (readings without a local source of their
    // name count as bad), and the source of the batch just stored.
    using Progress = std::function<void(const ImportCounts& counts, const QString& sourceName)>;

    // Adds a reading of the source `sourceName`. True when no store is
    // running: the caller then starts one (store(), on the worker).
    bool add(const QString& sourceName, ImportRow row);
    // Readings waiting to be stored.
    std::size_t waiting() const;
    // Drops what waits; a running store ends after the batch it writes.
    void cancel();

    // Stores what waits into `database`, source by source, until nothing
    // has come for `idle`. `progress` is called after each batch. A failure
    // of the database drops what waits and comes back as the problem (the
    // batches before it are kept); nothing is reported here.
    ImportOutcome store(const QString& database, const Environment& environment, const Progress& progress,
                        std::chrono::milliseconds idle = std::chrono::milliseconds(300));

private:
    class Reader;
    ImportCounts dropStretch(const QString& sourceName);

    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::pair<QString, ImportRow>> readings_;
    bool running_ = false;
    bool cancelled_ = false;
    ImportCounts total_;  // of the stores before the running one
};
