#pragma once

#include "mdb/ByteView.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mdb {

// A window for changing bytes (a page, a row) with its bounds kept beside
// the data, the writing twin of ByteView. A write that would leave the
// window writes nothing and marks the writer failed; callers check ok()
// after a run of writes and refuse the change. So no offset taken from a
// damaged file can make the engine write outside a page buffer.
//
// Numbers are little-endian unless the name says big-endian (be).
class ByteWriter {
public:
    explicit ByteWriter(std::span<uint8_t> bytes) : data_(bytes.data()), size_(bytes.size()) {}
    explicit ByteWriter(std::vector<uint8_t>& bytes) : data_(bytes.data()), size_(bytes.size()) {}

    bool ok() const { return ok_; }
    std::size_t size() const { return size_; }
    ByteView view() const { return ByteView(data_, size_); }

    void u8(std::size_t at, uint8_t value)
    {
        if (reserve(at, 1))
            data_[at] = value;
    }
    void u16(std::size_t at, uint16_t value) { little(at, value, 2); }
    void u32(std::size_t at, uint32_t value) { little(at, value, 4); }
    void u64(std::size_t at, uint64_t value) { little(at, value, 8); }
    void u24be(std::size_t at, uint32_t value) { big(at, value, 3); }
    void u32be(std::size_t at, uint32_t value) { big(at, value, 4); }

    void bytes(std::size_t at, std::span<const uint8_t> source)
    {
        if (reserve(at, source.size()) && !source.empty())
            std::copy(source.begin(), source.end(), data_ + at);
    }
    void fill(std::size_t at, std::size_t length, uint8_t value)
    {
        if (reserve(at, length))
            std::fill(data_ + at, data_ + at + length, value);
    }
    // Bit `bit` of the bitmap that starts at `at` (lowest bit of the first byte first).
    void bit(std::size_t at, std::size_t bit, bool on)
    {
        if (!reserve(at + bit / 8, 1))
            return;
        uint8_t& byte = data_[at + bit / 8];
        const auto mask = uint8_t(1u << (bit % 8));
        byte = on ? uint8_t(byte | mask) : uint8_t(byte & ~mask);
    }

private:
    bool reserve(std::size_t at, std::size_t length)
    {
        ok_ = ok_ && at <= size_ && length <= size_ - at;
        return ok_;
    }
    void little(std::size_t at, uint64_t value, int length)
    {
        if (reserve(at, std::size_t(length)))
            for (int i = 0; i < length; ++i)
                data_[at + std::size_t(i)] = uint8_t(value >> (8 * i));
    }
    void big(std::size_t at, uint64_t value, int length)
    {
        if (reserve(at, std::size_t(length)))
            for (int i = 0; i < length; ++i)
                data_[at + std::size_t(i)] = uint8_t(value >> (8 * (length - 1 - i)));
    }

    uint8_t* data_;
    std::size_t size_;
    bool ok_ = true;
};

}  // namespace mdb
