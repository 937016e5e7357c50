#include "core/remote/DownloadQueue.h"

#include "core/sources/SourceLists.h"

#include <algorithm>
#include <optional>

// Gives the queued readings of one source to the import, waiting a moment
// for more; ends at a reading of another source or after the wait.
class DownloadQueue::Reader final : public ImportReader {
public:
    Reader(DownloadQueue& queue, QString sourceName, std::chrono::milliseconds idle)
        : queue_(queue), sourceName_(std::move(sourceName)), idle_(idle)
    {
    }

    std::optional<ImportRow> next() override
    {
        std::unique_lock lock(queue_.mutex_);
        queue_.arrived_.wait_for(lock, idle_, [this] { return !queue_.readings_.empty() || queue_.cancelled_; });
        while (!queue_.cancelled_ && !queue_.readings_.empty() && queue_.readings_.front().first == sourceName_) {
            ImportRow row = std::move(queue_.readings_.front().second);
            queue_.readings_.pop_front();
            ++read_;
            if (row.time.isValid())
                return row;
            ++bad_;  // a date or time that is none
        }
        return std::nullopt;
    }

    double progress() const override { return 0; }

private:
    DownloadQueue& queue_;
    QString sourceName_;
    std::chrono::milliseconds idle_;
};

bool DownloadQueue::add(const QString& sourceName, ImportRow row)
{
    std::lock_guard lock(mutex_);
    readings_.emplace_back(sourceName, std::move(row));
    arrived_.notify_one();
    if (running_)
        return false;
    running_ = true;
    cancelled_ = false;
    return true;
}

std::size_t DownloadQueue::waiting() const
{
    std::lock_guard lock(mutex_);
    return readings_.size();
}

void DownloadQueue::cancel()
{
    std::lock_guard lock(mutex_);
    readings_.clear();
    cancelled_ = true;
    arrived_.notify_all();
}

namespace {

ImportCounts countsTogether(ImportCounts a, const ImportCounts& b)
{
    a.read += b.read;
    a.stored += b.stored;
    a.duplicates += b.duplicates;
    a.bad += b.bad;
    a.thinned += b.thinned;
    return a;
}

}  // namespace

ImportCounts DownloadQueue::dropStretch(const QString& sourceName)
{
    std::lock_guard lock(mutex_);
    ImportCounts dropped;
    while (!readings_.empty() && readings_.front().first == sourceName) {
        readings_.pop_front();
        ++dropped.read;
        ++dropped.bad;
    }
    return dropped;
}

ImportOutcome DownloadQueue::store(const QString& database, const Environment& environment,
                                   const Progress& progress, std::chrono::milliseconds idle)
{
    ImportOutcome outcome;
    std::optional<QList<SourceLists::ListEntry>> localSources;
    for (;;) {
        QString sourceName;
        {
            std::lock_guard lock(mutex_);
            if (readings_.empty() || cancelled_ || !outcome.ok()) {
                if (!outcome.ok())
                    readings_.clear();
                running_ = false;
                outcome.counts = total_;
                return outcome;
            }
            sourceName = readings_.front().first;
        }
        if (!localSources)
            localSources = SourceLists::sourceList(database, environment);
        const auto local = std::find_if(localSources->begin(), localSources->end(),
                                        [&](const SourceLists::ListEntry& entry) { return entry.name == sourceName; });
        if (local == localSources->end()) {
            total_ = countsTogether(total_, dropStretch(sourceName));  // no local source of that name
            if (progress)
                progress(total_, sourceName);
            continue;
        }
        Reader reader(*this, sourceName, idle);
        const ImportCounts before = total_;
        const ImportOutcome part = HistoryImport::run(reader, database, local->key, environment,
                                                      [&](const ImportCounts& counts, double) {
                                                          if (progress)
                                                              progress(countsTogether(before, counts), sourceName);
                                                          return true;
                                                      });
        total_ = countsTogether(before, part.counts);
        if (progress)
            progress(total_, sourceName);
        outcome.problem = part.problem;
    }
}
