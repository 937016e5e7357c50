#include "mdb/FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <mutex>
#include <condition_variable>
#include <unistd.h>

namespace mdb {

namespace {

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

Result<std::unique_ptr<File>> DiskFileSystem::open(const std::string& path, OpenMode mode)
{
    return openDiskFile(path, mode);
}

bool DiskFileSystem::exists(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

Status DiskFileSystem::remove(const std::string& path)
{
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
        return ioError("cannot remove " + path + ": " + std::strerror(errno));
    return Status::success();
}

Status DiskFileSystem::renameNoReplace(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return Status::success();
    if (errno == EEXIST)
        return ioError(to + " already exists");
    // File systems without that rename: a hard link refuses an existing name too.
    if (::link(from.c_str(), to.c_str()) != 0)
        return ioError("cannot name the new file " + to + ": " + std::strerror(errno));
    ::unlink(from.c_str());
    return Status::success();
}

Status DiskFileSystem::syncFolderOf(const std::string& path)
{
    const std::string folder = folderOf(path);
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return ioError("cannot open folder " + folder + ": " + std::strerror(errno));
    const int synced = ::fsync(fd);
    const int error = errno;
    ::close(fd);
    if (synced != 0)
        return ioError("cannot flush folder " + folder + ": " + std::strerror(error));
    return Status::success();
}

namespace {

// The locks this process holds, per file (device and inode): a file lock
// (flock) belongs to one open of the file, so two opens in one process would
// shut each other out like two processes. Every open first takes its lock
// here, waiting like the file lock, then the file lock for other processes.
class ProcessLocks {
public:
    using Key = std::pair<dev_t, ino_t>;

    bool acquire(Key key, LockKind kind, std::chrono::steady_clock::time_point deadline)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_until(lock, deadline, [&] {
            State& state = states_[key];
            if (state.writer || (kind == LockKind::Exclusive && state.readers > 0))
                return false;
            if (kind == LockKind::Exclusive)
                state.writer = true;
            else
                ++state.readers;
            return true;
        });
    }

    void release(Key key, LockKind kind)
    {
        {
            std::lock_guard lock(mutex_);
            State& state = states_[key];
            if (kind == LockKind::Exclusive)
                state.writer = false;
            else if (state.readers > 0)
                --state.readers;
            if (!state.writer && state.readers == 0)
                states_.erase(key);
        }
        changed_.notify_all();
    }

private:
    struct State {
        int readers = 0;
        bool writer = false;
    };
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<Key, State> states_;
};

ProcessLocks& processLocks()
{
    static ProcessLocks locks;
    return locks;
}

}  // namespace

Status DiskFileSystem::lock(File& file, LockKind kind, std::chrono::milliseconds wait)
{
    const int fd = diskFileDescriptor(file);
    if (fd < 0)
        return Status::success();
    struct stat info {};
    if (::fstat(fd, &info) != 0)
        return ioError("cannot lock " + file.name() + ": " + std::strerror(errno));
    const ProcessLocks::Key key{info.st_dev, info.st_ino};
    const auto deadline = std::chrono::steady_clock::now() + wait;
    if (!processLocks().acquire(key, kind, deadline))
        return busy(file.name() + " is in use by another task of this Nimbrel" +
                    (kind == LockKind::Exclusive ? "; try again when it has finished" : ""));
    whenDiskFileCloses(file, [key, kind] { processLocks().release(key, kind); });

    const int operation = (kind == LockKind::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    for (;;) {
        if (::flock(fd, operation) == 0)
            return Status::success();
        if (errno != EWOULDBLOCK && errno != EINTR)
            return ioError("cannot lock " + file.name() + ": " + std::strerror(errno));
        if (std::chrono::steady_clock::now() >= deadline)
            return busy(file.name() + " is in use by another Nimbrel process" +
                        (kind == LockKind::Exclusive ? "; try again when it has finished writing" : ""));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

namespace {

// A file of a MemoryFileSystem.
class MemoryNodeFile final : public File {
public:
    MemoryNodeFile(MemoryFileSystem& system, std::shared_ptr<MemoryFileSystem::Node> node, std::string path,
                   bool writable)
        : system_(system), node_(std::move(node)), path_(std::move(path)), writable_(writable)
    {
    }

    Status read(uint64_t offset, std::span<uint8_t> out) override
    {
        const auto& bytes = node_->current;
        if (offset > bytes.size() || out.size() > bytes.size() - offset)
            return ioError(path_ + ": unexpected end of file at byte " + std::to_string(bytes.size()));
        std::copy_n(bytes.begin() + std::ptrdiff_t(offset), out.size(), out.begin());
        return Status::success();
    }

    Status write(uint64_t offset, std::span<const uint8_t> data) override
    {
        if (!writable_)
            return ioError(path_ + " is open for reading only");
        if (Status counted = system_.countWrite(path_); !counted)
            return counted;
        if (system_.dead())
            return Status::success();
        auto& bytes = node_->current;
        if (offset + data.size() > bytes.size())
            bytes.resize(offset + data.size());
        std::copy(data.begin(), data.end(), bytes.begin() + std::ptrdiff_t(offset));
        return Status::success();
    }

    Result<uint64_t> size() override { return uint64_t(node_->current.size()); }

    Status sync() override
    {
        if (!system_.dead())
            node_->durable = node_->current;
        return Status::success();
    }

    Status truncate(uint64_t size) override
    {
        if (Status counted = system_.countWrite(path_); !counted)
            return counted;
        if (!system_.dead())
            node_->current.resize(size);
        return Status::success();
    }

    std::string name() const override { return path_; }

private:
    MemoryFileSystem& system_;
    std::shared_ptr<MemoryFileSystem::Node> node_;
    std::string path_;
    bool writable_;
};

}  // namespace

Status MemoryFileSystem::countWrite(const std::string& path)
{
    ++writes_;
    if (writes_ == failWriteAt_)
        return ioError(path + ": injected write failure");
    return Status::success();
}

Result<std::unique_ptr<File>> MemoryFileSystem::open(const std::string& path, OpenMode mode)
{
    auto found = nodes_.find(path);
    const bool present = found != nodes_.end() && found->second->existsNow;
    if (mode == OpenMode::CreateNew) {
        if (present)
            return ioError(path + " already exists");
        if (dead())
            return ioError(path + ": the program has crashed");
        auto node = std::make_shared<Node>();
        nodes_[path] = node;
        return std::unique_ptr<File>(std::make_unique<MemoryNodeFile>(*this, node, path, true));
    }
    if (!present)
        return notFound("cannot open " + path + ": No such file or directory");
    if (mode == OpenMode::ReadWrite && readOnly_.count(path))
        return ioError("cannot open " + path + " for writing: Permission denied");
    return std::unique_ptr<File>(
        std::make_unique<MemoryNodeFile>(*this, found->second, path, mode == OpenMode::ReadWrite));
}

bool MemoryFileSystem::exists(const std::string& path)
{
    auto found = nodes_.find(path);
    return found != nodes_.end() && found->second->existsNow;
}

Status MemoryFileSystem::remove(const std::string& path)
{
    if (dead())
        return Status::success();
    if (auto found = nodes_.find(path); found != nodes_.end())
        found->second->existsNow = false;
    return Status::success();
}

Status MemoryFileSystem::renameNoReplace(const std::string& from, const std::string& to)
{
    if (exists(to))
        return ioError(to + " already exists");
    if (!exists(from))
        return notFound("cannot rename " + from + ": No such file or directory");
    if (dead())
        return Status::success();
    auto node = std::make_shared<Node>(*nodes_[from]);
    node->existsDurably = false;
    nodes_[from]->existsNow = false;
    nodes_[to] = node;
    return Status::success();
}

Status MemoryFileSystem::syncFolderOf(const std::string&)
{
    if (dead())
        return Status::success();
    for (auto& [path, node] : nodes_)
        node->existsDurably = node->existsNow;
    return Status::success();
}

void MemoryFileSystem::crash(CrashMode mode)
{
    for (auto it = nodes_.begin(); it != nodes_.end();) {
        // A new node: files opened before the crash no longer reach it.
        auto node = std::make_shared<Node>(*it->second);
        if (mode == CrashMode::LoseUnsynced)
            node->current = node->durable;
        else if (mode == CrashMode::LoseTail && node->current.size() > node->durable.size())
            node->current.resize(node->durable.size());
        if (mode != CrashMode::KeepUnsynced)
            node->existsNow = node->existsDurably;
        node->durable = node->current;
        node->existsDurably = node->existsNow;
        if (!node->existsNow) {
            it = nodes_.erase(it);
            continue;
        }
        it->second = node;
        ++it;
    }
    writes_ = 0;
    crashAfter_ = -1;
    failWriteAt_ = 0;
}

std::vector<uint8_t> MemoryFileSystem::content(const std::string& path) const
{
    auto found = nodes_.find(path);
    if (found == nodes_.end() || !found->second->existsNow)
        return {};
    return found->second->current;
}

void MemoryFileSystem::setContent(const std::string& path, std::vector<uint8_t> bytes)
{
    auto node = std::make_shared<Node>();
    node->current = bytes;
    node->durable = std::move(bytes);
    node->existsDurably = true;
    nodes_[path] = node;
}

}  // namespace mdb
