#pragma once

#include "mdb/File.h"

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace mdb {

enum class LockKind { Shared, Exclusive };

// Files by name: the engine opens, creates, removes and locks files through
// this. The program uses the computer's files (DiskFileSystem); a file system
// in memory (MemoryFileSystem) can simulate a crash at any write.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    // Opens a file; CreateNew makes a new file and fails when one exists.
    virtual Result<std::unique_ptr<File>> open(const std::string& path, OpenMode mode) = 0;
    virtual bool exists(const std::string& path) = 0;
    virtual Status remove(const std::string& path) = 0;
    // Gives a file a new name; fails, changing nothing, when `to` exists.
    virtual Status renameNoReplace(const std::string& from, const std::string& to) = 0;
    // Makes the creation or removal of files next to `path` durable.
    virtual Status syncFolderOf(const std::string& path) = 0;
    // Locks an open file against other opens, in this process and in others,
    // waiting up to `wait`; the lock ends when the file is closed. Fails with
    // a Busy error when another holds a conflicting lock for longer.
    virtual Status lock(File& file, LockKind kind, std::chrono::milliseconds wait) = 0;
};

// The computer's own files.
class DiskFileSystem final : public FileSystem {
public:
    Result<std::unique_ptr<File>> open(const std::string& path, OpenMode mode) override;
    bool exists(const std::string& path) override;
    Status remove(const std::string& path) override;
    Status renameNoReplace(const std::string& from, const std::string& to) override;
    Status syncFolderOf(const std::string& path) override;
    Status lock(File& file, LockKind kind, std::chrono::milliseconds wait) override;
};

// Files in memory, for tests. Each file has the content the program sees and
// the content that would survive a crash: writes become durable at sync(),
// creations and removals at syncFolderOf(). After crashAfterWrites(n), the
// n + 1st and later writes, syncs and removals silently do nothing (the
// program has died); crash() then turns every file into what a restart
// finds. failWriteAt(n) makes the nth write fail with an error instead.
class MemoryFileSystem final : public FileSystem {
public:
    enum class CrashMode {
        LoseUnsynced,  // everything not made durable is lost
        KeepUnsynced,  // the operating system had written everything out
        LoseTail,      // unsynced writes kept, but each file cut to its durable size
    };

    Result<std::unique_ptr<File>> open(const std::string& path, OpenMode mode) override;
    bool exists(const std::string& path) override;
    Status remove(const std::string& path) override;
    Status renameNoReplace(const std::string& from, const std::string& to) override;
    Status syncFolderOf(const std::string& path) override;
    Status lock(File&, LockKind, std::chrono::milliseconds) override { return Status::success(); }

    // A read-only file opens for reading only, as for a user without write permission.
    void setReadOnly(const std::string& path) { readOnly_.insert(path); }
    void crashAfterWrites(int writes) { crashAfter_ = writes; }
    void failWriteAt(int write) { failWriteAt_ = write; }
    void crash(CrashMode mode);
    int writes() const { return writes_; }

    // The bytes of a file as the program sees them (empty when missing).
    std::vector<uint8_t> content(const std::string& path) const;
    void setContent(const std::string& path, std::vector<uint8_t> bytes);

    // Shared by the files of this system (an implementation detail).
    struct Node {
        std::vector<uint8_t> current;
        std::vector<uint8_t> durable;
        bool existsNow = true;
        bool existsDurably = false;
    };
    // Counts one write; false when it must not happen (crashed or failing).
    Status countWrite(const std::string& path);
    bool dead() const { return crashAfter_ >= 0 && writes_ >= crashAfter_; }

private:
    std::map<std::string, std::shared_ptr<Node>> nodes_;
    std::set<std::string> readOnly_;
    int writes_ = 0;
    int crashAfter_ = -1;
    int failWriteAt_ = 0;
};

}  // namespace mdb
