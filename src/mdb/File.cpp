#include "mdb/File.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace mdb {

namespace {

std::string systemError(const std::string& what, const std::string& path)
{
    return what + " " + path + ": " + std::strerror(errno);
}

// A file on disk, read and written with pread/pwrite.
class DiskFile final : public File {
public:
    DiskFile(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
    ~DiskFile() override
    {
        ::close(fd_);
        if (onClose_)
            onClose_();
    }
    void setOnClose(std::function<void()> action) { onClose_ = std::move(action); }

    Status read(uint64_t offset, std::span<uint8_t> out) override
    {
        std::size_t done = 0;
        while (done < out.size()) {
            const ssize_t n = ::pread(fd_, out.data() + done, out.size() - done, off_t(offset + done));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                return ioError(systemError("cannot read", path_));
            if (n == 0)
                return ioError(path_ + ": unexpected end of file at byte " + std::to_string(offset + done));
            done += std::size_t(n);
        }
        return Status::success();
    }

    Status readParts(uint64_t offset, std::span<const std::span<uint8_t>> parts) override
    {
        std::vector<iovec> pending;
        for (std::span<uint8_t> part : parts) {
            if (!part.empty())
                pending.push_back({part.data(), part.size()});
        }
        std::size_t first = 0;  // the part the next read fills from
        while (first < pending.size()) {
            const int count = int(std::min<std::size_t>(pending.size() - first, IOV_MAX));
            const ssize_t n = ::preadv(fd_, &pending[first], count, off_t(offset));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                return ioError(systemError("cannot read", path_));
            if (n == 0)
                return ioError(path_ + ": unexpected end of file at byte " + std::to_string(offset));
            offset += uint64_t(n);
            // Past the parts filled whole; a part filled in half goes on from where it stopped.
            for (std::size_t left = std::size_t(n); left > 0;) {
                iovec& part = pending[first];
                const std::size_t taken = std::min(left, part.iov_len);
                part.iov_base = static_cast<uint8_t*>(part.iov_base) + taken;
                part.iov_len -= taken;
                left -= taken;
                if (part.iov_len == 0)
                    ++first;
            }
        }
        return Status::success();
    }

    Status write(uint64_t offset, std::span<const uint8_t> data) override
    {
        std::size_t done = 0;
        while (done < data.size()) {
            const ssize_t n = ::pwrite(fd_, data.data() + done, data.size() - done, off_t(offset + done));
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                return ioError(systemError("cannot write", path_));
            done += std::size_t(n);
        }
        return Status::success();
    }

    Result<uint64_t> size() override
    {
        struct stat info {};
        if (::fstat(fd_, &info) != 0)
            return ioError(systemError("cannot read the size of", path_));
        return uint64_t(info.st_size);
    }

    Status sync() override
    {
        if (::fsync(fd_) != 0)
            return ioError(systemError("cannot flush", path_));
        return Status::success();
    }

    Status truncate(uint64_t size) override
    {
        if (::ftruncate(fd_, off_t(size)) != 0)
            return ioError(systemError("cannot resize", path_));
        return Status::success();
    }

    std::string name() const override { return path_; }
    int descriptor() const { return fd_; }

private:
    int fd_;
    std::string path_;
    std::function<void()> onClose_;
};

}  // namespace

Result<std::unique_ptr<File>> openDiskFile(const std::string& path, OpenMode mode)
{
    struct stat info {};
    if (mode != OpenMode::CreateNew) {
        if (::stat(path.c_str(), &info) != 0)
            return ioError(systemError("cannot open", path));
        if (S_ISDIR(info.st_mode))
            return ioError(path + " is a folder, not a database file");
    }
    int flags = O_CLOEXEC;
    if (mode == OpenMode::ReadOnly)
        flags |= O_RDONLY;
    else if (mode == OpenMode::ReadWrite)
        flags |= O_RDWR;
    else
        flags |= O_RDWR | O_CREAT | O_EXCL;
    const int fd = ::open(path.c_str(), flags, 0644);
    if (fd < 0)
        return ioError(systemError("cannot open", path));
    return std::unique_ptr<File>(std::make_unique<DiskFile>(fd, path));
}

int diskFileDescriptor(File& file)
{
    auto* disk = dynamic_cast<DiskFile*>(&file);
    return disk ? disk->descriptor() : -1;
}

bool whenDiskFileCloses(File& file, std::function<void()> action)
{
    auto* disk = dynamic_cast<DiskFile*>(&file);
    if (disk)
        disk->setOnClose(std::move(action));
    return disk != nullptr;
}

Status File::readParts(uint64_t offset, std::span<const std::span<uint8_t>> parts)
{
    std::size_t total = 0;
    for (std::span<uint8_t> part : parts)
        total += part.size();
    std::vector<uint8_t> bytes(total);
    if (Status read = this->read(offset, bytes); !read)
        return read;
    auto from = bytes.begin();
    for (std::span<uint8_t> part : parts) {
        std::copy_n(from, part.size(), part.begin());
        from += std::ptrdiff_t(part.size());
    }
    return Status::success();
}

Status MemoryFile::read(uint64_t offset, std::span<uint8_t> out)
{
    if (offset > bytes_.size() || out.size() > bytes_.size() - offset)
        return ioError(name_ + ": unexpected end of file at byte " + std::to_string(bytes_.size()));
    std::copy_n(bytes_.begin() + std::ptrdiff_t(offset), out.size(), out.begin());
    return Status::success();
}

Status MemoryFile::write(uint64_t offset, std::span<const uint8_t> data)
{
    if (offset + data.size() > bytes_.size())
        bytes_.resize(offset + data.size());
    std::copy(data.begin(), data.end(), bytes_.begin() + std::ptrdiff_t(offset));
    return Status::success();
}

Status MemoryFile::truncate(uint64_t size)
{
    bytes_.resize(size);
    return Status::success();
}

Status FaultyFile::read(uint64_t offset, std::span<uint8_t> out)
{
    ++reads_;
    if (reads_ == failRead_)
        return ioError(name() + ": injected read failure");
    if (hasCut_ && (offset > cut_ || out.size() > cut_ - offset))
        return ioError(name() + ": unexpected end of file at byte " + std::to_string(cut_));
    return inner_->read(offset, out);
}

Status FaultyFile::write(uint64_t offset, std::span<const uint8_t> data)
{
    ++writes_;
    if (writes_ == failWrite_)
        return ioError(name() + ": injected write failure");
    if (crashAfter_ >= 0 && writes_ > crashAfter_)
        return Status::success();  // lost in the crash
    return inner_->write(offset, data);
}

Result<uint64_t> FaultyFile::size()
{
    auto size = inner_->size();
    if (size && hasCut_)
        return std::min(*size, cut_);
    return size;
}

Status FaultyFile::truncate(uint64_t size)
{
    if (crashAfter_ >= 0 && writes_ >= crashAfter_)
        return Status::success();
    return inner_->truncate(size);
}

}  // namespace mdb
