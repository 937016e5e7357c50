#include "core/export/GifLzw.h"

#include <algorithm>
#include <array>
#include <vector>

namespace GifLzw {

namespace {

constexpr int kLargestCode = 4095;  // 12 bits

// The codes as a bit stream (lowest bits first), cut into sub-blocks.
class CodeWriter {
public:
    explicit CodeWriter(int minimumCodeSize)
        : clear_(1 << minimumCodeSize), firstBits_(minimumCodeSize + 1), bits_(firstBits_)
    {
        blocks_.reserve(16 * 1024);
    }

    int clearCode() const { return clear_; }
    int endCode() const { return clear_ + 1; }
    int firstFree() const { return clear_ + 2; }

    // Writes `code`; `nextCode` is the code the table gives next, which
    // decides when codes grow a bit (as the decoder's table fills).
    void put(int code, int nextCode)
    {
        pending_ |= quint64(code) << pendingBits_;
        pendingBits_ += bits_;
        while (pendingBits_ >= 8) {
            byte(quint8(pending_));
            pending_ >>= 8;
            pendingBits_ -= 8;
        }
        if (nextCode >= (1 << bits_) && bits_ < 12)
            ++bits_;
    }
    void restart() { bits_ = firstBits_; }

    QByteArray finish()
    {
        if (pendingBits_ > 0)
            byte(quint8(pending_));
        if (blockLength_ > 0)
            blocks_[blockStart_] = char(blockLength_);
        else if (!blocks_.isEmpty())
            blocks_.chop(1);  // an empty block would end the image early
        return blocks_;
    }

private:
    void byte(quint8 value)
    {
        if (blockLength_ == 0) {
            blockStart_ = blocks_.size();
            blocks_.append(char(0));  // its length, known when it is full or at the end
        }
        blocks_.append(char(value));
        if (++blockLength_ == 255) {
            blocks_[blockStart_] = char(255);
            blockLength_ = 0;
        }
    }

    int clear_;
    int firstBits_;
    int bits_;
    quint64 pending_ = 0;
    int pendingBits_ = 0;
    QByteArray blocks_;
    qsizetype blockStart_ = 0;
    int blockLength_ = 0;
};

// The string table: the code of (prefix code, next index), found directly.
// An entry counts only while it carries the present generation, so starting
// the table again costs nothing; kept from picture to picture, one per
// thread, so that its pages are not zeroed anew for each picture.
class StringTable {
public:
    StringTable() : entries_(std::size_t(kLargestCode + 1) * 256, 0) {}

    void startAgain(int alphabet)
    {
        alphabet_ = std::size_t(alphabet);
        if (++generation_ == 1u << 20) {  // the stamps would wrap: forget every entry
            std::fill(entries_.begin(), entries_.end(), 0);
            generation_ = 1;
        }
    }
    quint32& entry(int prefix, int index) { return entries_[std::size_t(prefix) * alphabet_ + std::size_t(index)]; }
    bool holds(quint32 entry) const { return entry >> 12 == generation_; }
    quint32 made(int code) const { return generation_ << 12 | quint32(code); }

private:
    std::vector<quint32> entries_;
    std::size_t alphabet_ = 256;
    quint32 generation_ = 0;
};

}  // namespace

QByteArray compress(const quint8* indices, std::size_t count, int minimumCodeSize)
{
    CodeWriter out(minimumCodeSize);
    const int alphabet = 1 << minimumCodeSize;
    thread_local StringTable table;
    table.startAgain(alphabet);
    struct Step {
        int index = -1;
        quint32 entry = 0;
    };
    std::array<Step, kLargestCode + 1> lastStep{};
    int nextCode = out.firstFree();
    out.put(out.clearCode(), nextCode);
    if (count == 0) {
        out.put(out.endCode(), nextCode);
        return out.finish();
    }
    int prefix = indices[0];
    for (std::size_t i = 1; i < count; ++i) {
        const int index = indices[i];
        // A picture is mostly runs of one colour: the last step out of each
        // code is remembered in a small table that stays in the cache.
        Step& last = lastStep[std::size_t(prefix)];
        if (last.index == index && table.holds(last.entry)) {
            prefix = int(last.entry & 0xFFF);
            continue;
        }
        quint32& entry = table.entry(prefix, index);
        if (table.holds(entry)) {
            last = {index, entry};
            prefix = int(entry & 0xFFF);
            continue;
        }
        out.put(prefix, nextCode);
        if (nextCode >= kLargestCode) {
            out.put(out.clearCode(), nextCode);
            out.restart();
            nextCode = out.firstFree();
            table.startAgain(alphabet);
        } else {
            entry = table.made(nextCode++);
            lastStep[std::size_t(prefix)] = {index, entry};
        }
        prefix = index;
    }
    out.put(prefix, nextCode);
    out.put(out.endCode(), nextCode);
    return out.finish();
}

}  // namespace GifLzw
