#pragma once

#include "mdb/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace mdb {

// The engine's only access to storage. Reads and writes are positional and
// exact: a read that cannot fill the whole buffer is an error. Three
// implementations: a real file, a file in memory, and a faulty file that
// injects failures for tests.
class File {
public:
    virtual ~File() = default;

    virtual Status read(uint64_t offset, std::span<uint8_t> out) = 0;
    // Reads the bytes from `offset` on into `parts`, one after the other: the
    // same as one read() of their total size, without a buffer in between
    // where the file can scatter its bytes.
    virtual Status readParts(uint64_t offset, std::span<const std::span<uint8_t>> parts);
    virtual Status write(uint64_t offset, std::span<const uint8_t> data) = 0;
    virtual Result<uint64_t> size() = 0;
    // Makes every write so far durable.
    virtual Status sync() = 0;
    virtual Status truncate(uint64_t size) = 0;
    // The file's name for messages.
    virtual std::string name() const = 0;
};

enum class OpenMode { ReadOnly, ReadWrite, CreateNew };

// Opens a file on disk. A missing file, a folder, or a file that cannot be
// opened in the mode asked for is an Error naming it; CreateNew fails when
// the file exists.
Result<std::unique_ptr<File>> openDiskFile(const std::string& path, OpenMode mode);

// The descriptor of a file opened by openDiskFile, or -1 for other files.
int diskFileDescriptor(File& file);
// Runs `action` when a file opened by openDiskFile is closed (after its
// descriptor, and with it its lock, is released); false for other files.
bool whenDiskFileCloses(File& file, std::function<void()> action);

// A file held in memory. Copies share nothing; content() shows the bytes.
class MemoryFile final : public File {
public:
    MemoryFile() = default;
    explicit MemoryFile(std::vector<uint8_t> bytes, std::string name = "memory")
        : bytes_(std::move(bytes)), name_(std::move(name)) {}

    Status read(uint64_t offset, std::span<uint8_t> out) override;
    Status write(uint64_t offset, std::span<const uint8_t> data) override;
    Result<uint64_t> size() override { return uint64_t(bytes_.size()); }
    Status sync() override { return Status::success(); }
    Status truncate(uint64_t size) override;
    std::string name() const override { return name_; }

    const std::vector<uint8_t>& content() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
    std::string name_ = "memory";
};

// Wraps another file and misbehaves on request, to test that damage and
// crashes are handled: a read or write that fails at its Nth call, a file
// that appears shorter than it is, and a crash point after which writes are
// silently lost (as if power failed).
class FaultyFile final : public File {
public:
    explicit FaultyFile(std::unique_ptr<File> inner) : inner_(std::move(inner)) {}

    // 1-based call numbers; 0 means never.
    void failReadAt(int call) { failRead_ = call; }
    void failWriteAt(int call) { failWrite_ = call; }
    // The file reports and reads as if it ended at `size` bytes.
    void cutTo(uint64_t size) { cut_ = size; hasCut_ = true; }
    // Writes after the first `writes` succeed but are not stored.
    void crashAfterWrites(int writes) { crashAfter_ = writes; }

    int reads() const { return reads_; }
    int writes() const { return writes_; }

    Status read(uint64_t offset, std::span<uint8_t> out) override;
    Status write(uint64_t offset, std::span<const uint8_t> data) override;
    Result<uint64_t> size() override;
    Status sync() override { return inner_->sync(); }
    Status truncate(uint64_t size) override;
    std::string name() const override { return inner_->name(); }

private:
    std::unique_ptr<File> inner_;
    int failRead_ = 0;
    int failWrite_ = 0;
    int crashAfter_ = -1;
    uint64_t cut_ = 0;
    bool hasCut_ = false;
    int reads_ = 0;
    int writes_ = 0;
};

}  // namespace mdb
