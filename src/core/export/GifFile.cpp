#include "core/export/GifFile.h"

#include "core/export/GifLzw.h"

#include <QFile>
#include <QTemporaryFile>

#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace GifFile {

namespace {

int red(quint32 pixel) { return int(pixel >> 16 & 0xFF); }
int green(quint32 pixel) { return int(pixel >> 8 & 0xFF); }
int blue(quint32 pixel) { return int(pixel & 0xFF); }

// Colours that differ only in the lowest three bits of each channel share a
// bucket: 32,768 buckets in all.
constexpr std::size_t kBuckets = 32768;

std::size_t bucketOf(quint32 pixel)
{
    return std::size_t((pixel >> 9 & 0x7C00) | (pixel >> 6 & 0x03E0) | (pixel >> 3 & 0x001F));
}

// The pixels of one bucket: how many, the sums of their channels, and
// whether they are all of one colour (`first`).
struct Bucket {
    quint32 count = 0;
    quint32 first = 0;
    bool oneColour = true;
    quint64 redSum = 0, greenSum = 0, blueSum = 0;

    void add(quint32 rgb, quint32 pixels)
    {
        if (count == 0)
            first = rgb;
        else if (rgb != first)
            oneColour = false;
        count += pixels;
        redSum += quint64(red(rgb)) * pixels;
        greenSum += quint64(green(rgb)) * pixels;
        blueSum += quint64(blue(rgb)) * pixels;
    }

    quint32 mean() const
    {
        return quint32(redSum / count) << 16 | quint32(greenSum / count) << 8 | quint32(blueSum / count);
    }
};

// The buckets in use, in the order first met; `slotOf` finds a bucket's
// place among them (-1: not in use).
struct Histogram {
    std::vector<Bucket> buckets;
    std::vector<std::size_t> bucketNumbers;
    std::vector<qint16> slotOf = std::vector<qint16>(kBuckets, -1);
    bool exact = true;  // every bucket in use holds one colour only

    void add(quint32 rgb, quint32 pixels)
    {
        const std::size_t number = bucketOf(rgb);
        qint16& slot = slotOf[number];
        if (slot < 0) {
            slot = qint16(buckets.size());
            buckets.emplace_back();
            bucketNumbers.push_back(number);
        }
        Bucket& bucket = buckets[std::size_t(slot)];
        bucket.add(rgb, pixels);
        exact = exact && bucket.oneColour;
    }
};

// One pass over the picture. Runs of one colour (most of a chart is
// background) are counted as a run.
Histogram histogramOf(const PixelRows& picture)
{
    Histogram histogram;
    const std::size_t count = std::size_t(picture.width) * std::size_t(picture.height);
    quint32 run = picture.pixels[0] & 0xFFFFFF;
    quint32 length = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const quint32 rgb = picture.pixels[i] & 0xFFFFFF;
        if (rgb != run) {
            histogram.add(run, length);
            run = rgb;
            length = 0;
        }
        ++length;
    }
    histogram.add(run, length);
    return histogram;
}

// A palette and the entry each bucket's pixels take.
struct Palette {
    std::vector<quint32> colours;
    std::vector<quint8> entryOf = std::vector<quint8>(kBuckets, 0);
};

// At most 256 buckets, each of one colour: every colour exactly.
Palette exactPalette(const Histogram& histogram)
{
    Palette palette;
    for (std::size_t slot = 0; slot < histogram.buckets.size(); ++slot) {
        palette.entryOf[histogram.bucketNumbers[slot]] = quint8(slot);
        palette.colours.push_back(histogram.buckets[slot].first);
    }
    return palette;
}

// The palette's channels side by side in arrays of a fixed size, so that
// the distances to all its entries are worked out in one vectorised loop.
class NearestEntry {
public:
    explicit NearestEntry(const std::vector<quint32>& palette)
    {
        reds_.fill(kFarAway);  // entries past the palette's end are never nearest
        greens_.fill(kFarAway);
        blues_.fill(kFarAway);
        for (std::size_t p = 0; p < palette.size() && p < kEntries; ++p) {
            reds_[p] = float(red(palette[p]));
            greens_[p] = float(green(palette[p]));
            blues_[p] = float(blue(palette[p]));
        }
    }

    int of(quint32 colour)
    {
        const float r = float(red(colour)), g = float(green(colour)), b = float(blue(colour));
        std::array<float, kLanes> least;
        least.fill(kFarAway);
        for (std::size_t p = 0; p < kEntries; p += kLanes) {
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                const float dr = r - reds_[p + lane], dg = g - greens_[p + lane], db = b - blues_[p + lane];
                const float distance = dr * dr + dg * dg + db * db;
                distances_[p + lane] = distance;
                least[lane] = distance < least[lane] ? distance : least[lane];
            }
        }
        const float nearest = *std::min_element(least.begin(), least.end());
        return int(std::find(distances_.begin(), distances_.end(), nearest) - distances_.begin());
    }

private:
    static constexpr std::size_t kEntries = 256;
    static constexpr std::size_t kLanes = 8;
    static constexpr float kFarAway = 1e6f;
    // Floats: exact for these whole numbers, and four to an SSE2 register.
    std::array<float, kEntries> reds_{}, greens_{}, blues_{}, distances_{};
};

// More colours (the smoothed edges of lines and letters): the exact colours
// first, then the mean colours of the fullest buckets; a bucket holding an
// exact colour takes that colour, every other bucket its own entry or, once
// the palette is full, the nearest one.
Palette reducedPalette(const Histogram& histogram, const std::vector<quint32>& exact)
{
    Palette palette;
    std::vector<bool> placed(kBuckets, false);
    for (quint32 colour : exact) {
        colour &= 0xFFFFFF;
        const std::size_t number = bucketOf(colour);
        if (palette.colours.size() == 256 || placed[number])
            continue;
        palette.entryOf[number] = quint8(palette.colours.size());
        placed[number] = true;
        palette.colours.push_back(colour);
    }
    std::vector<std::size_t> fullest;  // slots
    for (std::size_t slot = 0; slot < histogram.buckets.size(); ++slot) {
        if (!placed[histogram.bucketNumbers[slot]])
            fullest.push_back(slot);
    }
    const std::vector<Bucket>& buckets = histogram.buckets;
    std::stable_sort(fullest.begin(), fullest.end(),
                     [&buckets](std::size_t a, std::size_t b) { return buckets[a].count > buckets[b].count; });
    const std::size_t kept = std::min<std::size_t>(fullest.size(), 256 - palette.colours.size());
    for (std::size_t i = 0; i < kept; ++i) {
        palette.entryOf[histogram.bucketNumbers[fullest[i]]] = quint8(palette.colours.size());
        palette.colours.push_back(buckets[fullest[i]].mean());
    }
    NearestEntry nearest(palette.colours);
    for (std::size_t i = kept; i < fullest.size(); ++i)
        palette.entryOf[histogram.bucketNumbers[fullest[i]]] = quint8(nearest.of(buckets[fullest[i]].mean()));
    return palette;
}

int appendTo(GifFileType* gif, const GifByteType* bytes, int length)
{
    static_cast<QByteArray*>(gif->UserData)->append(reinterpret_cast<const char*>(bytes), length);
    return length;
}

// The GIF colour table: a power of two of entries, at least two.
ColorMapObject* colourMap(const std::vector<quint32>& colours)
{
    int size = 2;
    while (size < int(colours.size()))
        size *= 2;
    std::vector<GifColorType> entries(std::size_t(size), GifColorType{0, 0, 0});
    for (std::size_t i = 0; i < colours.size(); ++i)
        entries[i] = {GifByteType(red(colours[i])), GifByteType(green(colours[i])), GifByteType(blue(colours[i]))};
    return GifMakeMapObject(size, entries.data());
}

// Each pixel's palette entry, row after row.
std::vector<quint8> indicesOf(const PixelRows& picture, const Palette& palette)
{
    const std::size_t count = std::size_t(picture.width) * std::size_t(picture.height);
    std::vector<quint8> indices(count);
    quint32 previous = ~picture.pixels[0];
    quint8 entry = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (picture.pixels[i] != previous) {
            previous = picture.pixels[i];
            entry = palette.entryOf[bucketOf(previous)];
        }
        indices[i] = entry;
    }
    return indices;
}

QByteArray encodeIndexed(const PixelRows& picture, const Palette& palette)
{
    QByteArray bytes;
    int error = 0;
    GifFileType* gif = EGifOpen(&bytes, appendTo, &error);
    if (!gif)
        return {};
    ColorMapObject* map = colourMap(palette.colours);
    bool written = map && EGifPutScreenDesc(gif, picture.width, picture.height, 8, 0, map) == GIF_OK &&
                   EGifPutImageDesc(gif, 0, 0, picture.width, picture.height, false, nullptr) == GIF_OK;
    // The image data is compressed here and handed to the library as code
    // blocks: its own compressor spends most of a picture's time finding
    // strings in a hash table.
    const int minimumCodeSize = std::max(2, map ? map->BitsPerPixel : 2);
    const QByteArray blocks = GifLzw::compress(indicesOf(picture, palette).data(),
                                               std::size_t(picture.width) * std::size_t(picture.height),
                                               minimumCodeSize);
    for (qsizetype at = 0; written && at < blocks.size(); at += 1 + quint8(blocks[at]))
        written = EGifPutCodeNext(gif, reinterpret_cast<const GifByteType*>(blocks.constData() + at)) == GIF_OK;
    written = written && EGifPutCodeNext(gif, nullptr) == GIF_OK;
    GifFreeMapObject(map);
    written = EGifCloseFile(gif, &error) == GIF_OK && written;
    return written ? bytes : QByteArray();
}

}  // namespace

QByteArray encode(const PixelRows& picture, const std::vector<quint32>& exact)
{
    if (picture.width <= 0 || picture.height <= 0 || !picture.pixels)
        return {};
    const Histogram histogram = histogramOf(picture);
    const bool fewColours = histogram.exact && histogram.buckets.size() <= 256;
    return encodeIndexed(picture, fewColours ? exactPalette(histogram) : reducedPalette(histogram, exact));
}
bool write(const QString& path, const PixelRows& picture, const std::vector<quint32>& exact, QString& error)
{
    const QByteArray gif = encode(picture, exact);
    if (gif.isEmpty()) {
        error = QStringLiteral("the picture is empty");
        return false;
    }
    // Written beside it, then put in its place in one step, so that a web
    // server never sends half a picture. Not forced to the disk: a picture
    // lost to a crash is written again by the next cycle.
    QTemporaryFile part(path + ".XXXXXX.part");
    const auto readable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    if (!part.open() || !part.setPermissions(readable) || part.write(gif) != gif.size() || !part.flush()) {
        error = path + ": " + part.errorString();
        return false;
    }
    if (std::rename(QFile::encodeName(part.fileName()).constData(), QFile::encodeName(path).constData()) != 0) {
        error = path + ": " + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    part.setAutoRemove(false);  // it is the picture now
    return true;
}

bool write(const QString& path, const QImage& picture, const std::vector<quint32>& exact, QString& error)
{
    const QImage image = picture.convertToFormat(QImage::Format_RGB32);
    // Rows of a 32-bit image follow one another without padding.
    const PixelRows rows{image.width(), image.height(), reinterpret_cast<const quint32*>(image.constBits())};
    return write(path, rows, exact, error);
}

}  // namespace GifFile
