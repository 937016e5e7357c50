#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace mdb {

// A read-only window on bytes (a page, a row, a long value) with bounds kept
// beside the data. Every accessor checks its range: a read that would leave
// the window returns 0 instead of touching memory outside it, so no input
// file, however damaged, can make the engine read out of bounds. Decoders
// test has() before reading a structure so that they can report the damage.
//
// Numbers are little-endian unless the name says big-endian (be).
class ByteView {
public:
    ByteView() = default;
    ByteView(const uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    explicit ByteView(std::span<const uint8_t> bytes) : data_(bytes.data()), size_(bytes.size()) {}

    std::size_t size() const { return size_; }
    const uint8_t* data() const { return data_; }
    bool empty() const { return size_ == 0; }

    // True when [offset, offset + length) lies inside the window.
    bool has(std::size_t offset, std::size_t length) const
    {
        return offset <= size_ && length <= size_ - offset;
    }

    // The part [offset, offset + length), clamped to the window.
    ByteView sub(std::size_t offset, std::size_t length) const
    {
        if (offset > size_)
            return {};
        if (length > size_ - offset)
            length = size_ - offset;
        return ByteView(data_ + offset, length);
    }
    ByteView from(std::size_t offset) const { return sub(offset, size_); }

    uint8_t u8(std::size_t offset) const { return has(offset, 1) ? data_[offset] : 0; }
    uint16_t u16(std::size_t offset) const { return uint16_t(little<2>(offset)); }
    int16_t s16(std::size_t offset) const { return int16_t(u16(offset)); }
    uint32_t u24(std::size_t offset) const { return uint32_t(little<3>(offset)); }
    uint32_t u32(std::size_t offset) const { return uint32_t(little<4>(offset)); }
    int32_t s32(std::size_t offset) const { return int32_t(u32(offset)); }
    uint64_t u64(std::size_t offset) const { return little<8>(offset); }
    int64_t s64(std::size_t offset) const { return int64_t(u64(offset)); }
    uint32_t u24be(std::size_t offset) const
    {
        return uint32_t(u8(offset)) << 16 | uint32_t(u8(offset + 1)) << 8 | u8(offset + 2);
    }
    uint32_t u32be(std::size_t offset) const { return uint32_t(u8(offset)) << 24 | u24be(offset + 1); }

    float f32(std::size_t offset) const
    {
        const uint32_t bits = u32(offset);
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    double f64(std::size_t offset) const
    {
        const uint64_t bits = u64(offset);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    std::span<const uint8_t> span() const { return {data_, size_}; }

private:
    // `Size` bytes from `offset` as a little-endian number; bytes past the
    // window read as 0. One range check for the whole number when it lies
    // inside, and on a little-endian machine one load (a byte loop is not
    // merged into one at -O2), else byte by byte.
    template <std::size_t Size>
    uint64_t little(std::size_t offset) const
    {
        uint64_t value = 0;
        if (has(offset, Size)) {
            if constexpr (std::endian::native == std::endian::little) {
                std::memcpy(&value, data_ + offset, Size);
                return value;
            }
            for (std::size_t i = 0; i < Size; ++i)
                value |= uint64_t(data_[offset + i]) << (8 * i);
            return value;
        }
        for (std::size_t i = 0; i < Size; ++i)
            value |= uint64_t(u8(offset + i)) << (8 * i);
        return value;
    }

    const uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace mdb
