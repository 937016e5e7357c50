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

// The string table: the code of (prefix code, next index), in an open hash
// table small enough to stay in the processor's cache (a direct table of
// every pair is 4 MB for 256 colours, and nearly every look-up missed the
// cache). At most 4,096 codes live in its 8,192 slots. A slot counts only
// while it carries the present generation, so starting the table again
// costs nothing.
class StringTable {
public:
    void startAgain()
    {
        if (++generation_ == 1u << 20) {  // the stamps would wrap: forget every slot
            slots_.fill(0);
            generation_ = 1;
        }
    }
    // The slot holding (prefix, index), or the empty slot where it belongs.
    std::size_t slotOf(int prefix, int index) const
    {
        const quint64 key = quint64(prefix) << 8 | quint64(index);
        for (std::size_t slot = (key * 0x9E3779B97F4A7C15ull) >> (64 - kSlotBits);; slot = (slot + 1) & kMask) {
            if (!holds(slot) || (slots_[slot] >> 12 & 0xFFFFF) == key)
                return slot;
        }
    }
    bool holds(std::size_t slot) const { return slots_[slot] >> 32 == generation_; }
    int code(std::size_t slot) const { return int(slots_[slot] & 0xFFF); }
    void put(std::size_t slot, int prefix, int index, int code)
    {
        slots_[slot] = quint64(generation_) << 32 | (quint64(prefix) << 8 | quint64(index)) << 12 | quint64(code);
    }
    quint32 generation() const { return generation_; }

private:
    static constexpr int kSlotBits = 13;
    static constexpr std::size_t kMask = (std::size_t(1) << kSlotBits) - 1;
    std::array<quint64, std::size_t(1) << kSlotBits> slots_{};
    quint32 generation_ = 0;
};

// The codes that stand for one index repeated (a run of one colour), so
// that a run is taken in one step, to the longest such code the table
// holds, instead of index by index. Greedy LZW takes exactly that code: a
// run's codes are made one length after another.
class RunCodes {
public:
    void startAgain(int alphabet)
    {
        length_.fill(0);
        for (int index = 0; index < alphabet; ++index) {
            length_[std::size_t(index)] = 1;
            colour_[std::size_t(index)] = quint8(index);
            codes_[std::size_t(index)].assign(1, qint16(index));
        }
    }
    // `code` now stands for `prefix` followed by `index`.
    void made(int code, int prefix, int index)
    {
        const int length = length_[std::size_t(prefix)];
        if (length > 0 && colour_[std::size_t(prefix)] == index) {
            length_[std::size_t(code)] = qint16(length + 1);
            colour_[std::size_t(code)] = quint8(index);
            codes_[std::size_t(index)].push_back(qint16(code));
        } else {
            length_[std::size_t(code)] = 0;
        }
    }
    // How many times `code` repeats `index`; 0 when it is not a run of it.
    int length(int code, int index) const
    {
        return colour_[std::size_t(code)] == index ? length_[std::size_t(code)] : 0;
    }
    int longest(int index) const { return int(codes_[std::size_t(index)].size()); }
    int code(int index, int length) const { return codes_[std::size_t(index)][std::size_t(length - 1)]; }

private:
    std::array<qint16, kLargestCode + 1> length_{};
    std::array<quint8, kLargestCode + 1> colour_{};
    std::array<std::vector<qint16>, 256> codes_;
};

}  // namespace

QByteArray compress(const quint8* indices, std::size_t count, int minimumCodeSize)
{
    CodeWriter out(minimumCodeSize);
    const int alphabet = 1 << minimumCodeSize;
    thread_local StringTable table;
    table.startAgain();
    struct Step {
        int index = -1;
        int code = 0;
        quint32 generation = 0;
    };
    std::array<Step, kLargestCode + 1> lastStep{};
    thread_local RunCodes runs;
    runs.startAgain(alphabet);
    int nextCode = out.firstFree();
    out.put(out.clearCode(), nextCode);
    if (count == 0) {
        out.put(out.endCode(), nextCode);
        return out.finish();
    }
    int prefix = indices[0];
    for (std::size_t i = 1; i < count; ++i) {
        const int index = indices[i];
        // Within a run of one colour, straight to the longest run code that
        // the indices ahead fill.
        if (const int have = runs.length(prefix, index); have > 0 && runs.longest(index) > have) {
            const std::size_t wanted = std::min(std::size_t(runs.longest(index) - have), count - i);
            std::size_t run = 1;
            while (run < wanted && indices[i + run] == index)
                ++run;
            prefix = runs.code(index, have + int(run));
            i += run - 1;
            continue;
        }
        // Elsewhere the last step out of each code is remembered in a small
        // table that stays in the cache.
        Step& last = lastStep[std::size_t(prefix)];
        if (last.index == index && last.generation == table.generation()) {
            prefix = last.code;
            continue;
        }
        const std::size_t slot = table.slotOf(prefix, index);
        if (table.holds(slot)) {
            last = {index, table.code(slot), table.generation()};
            prefix = last.code;
            continue;
        }
        out.put(prefix, nextCode);
        if (nextCode >= kLargestCode) {
            out.put(out.clearCode(), nextCode);
            out.restart();
            nextCode = out.firstFree();
            table.startAgain();
            runs.startAgain(alphabet);
        } else {
            runs.made(nextCode, prefix, index);
            table.put(slot, prefix, index, nextCode);
            last = {index, nextCode++, table.generation()};
        }
        prefix = index;
    }
    out.put(prefix, nextCode);
    out.put(out.endCode(), nextCode);
    return out.finish();
}

}  // namespace GifLzw
