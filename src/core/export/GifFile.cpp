#include "core/export/GifFile.h"

#include <QFile>
#include <QTemporaryFile>

#include <gd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <unordered_map>

namespace GifFile {

namespace {

struct ImageDeleter {
    void operator()(gdImage* image) const { gdImageDestroy(image); }
};
using Image = std::unique_ptr<gdImage, ImageDeleter>;

int red(quint32 pixel) { return int(pixel >> 16 & 0xFF); }
int green(quint32 pixel) { return int(pixel >> 8 & 0xFF); }
int blue(quint32 pixel) { return int(pixel & 0xFF); }

// Colours that differ only in the lowest three bits of each channel share a
// bucket: 32,768 buckets in all.
int bucketOf(quint32 pixel)
{
    return int((pixel >> 9 & 0x7C00) | (pixel >> 6 & 0x03E0) | (pixel >> 3 & 0x001F));
}

// The pixels of one bucket: how many, and the sums of their channels.
struct Bucket {
    quint32 count = 0;
    quint64 red = 0, green = 0, blue = 0;

    quint32 mean() const
    {
        return quint32(red / count) << 16 | quint32(green / count) << 8 | quint32(blue / count);
    }
};

struct Histogram {
    std::vector<Bucket> buckets = std::vector<Bucket>(32768);
    int used = 0;  // buckets holding a pixel
};

Histogram histogramOf(const PixelRows& picture)
{
    Histogram histogram;
    const std::size_t count = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = 0; i < count; ++i) {
        const quint32 pixel = picture.pixels[i];
        Bucket& bucket = histogram.buckets[std::size_t(bucketOf(pixel))];
        if (bucket.count++ == 0)
            ++histogram.used;
        bucket.red += quint64(red(pixel));
        bucket.green += quint64(green(pixel));
        bucket.blue += quint64(blue(pixel));
    }
    return histogram;
}

// The picture's colours and their palette index, when there are at most 256.
std::optional<std::unordered_map<quint32, int>> fewColours(const PixelRows& picture)
{
    std::unordered_map<quint32, int> colours;
    colours.reserve(512);
    const std::size_t count = std::size_t(picture.width) * std::size_t(picture.height);
    for (std::size_t i = 0; i < count; ++i) {
        const quint32 rgb = picture.pixels[i] & 0xFFFFFF;
        if (colours.try_emplace(rgb, int(colours.size())).second && colours.size() > 256)
            return std::nullopt;
    }
    return colours;
}

Image exactPalette(const PixelRows& picture, const std::unordered_map<quint32, int>& colours)
{
    Image image(gdImageCreate(picture.width, picture.height));
    std::vector<std::pair<int, quint32>> byIndex;
    for (const auto& [rgb, index] : colours)
        byIndex.emplace_back(index, rgb);
    std::sort(byIndex.begin(), byIndex.end());
    for (const auto& entry : byIndex)
        gdImageColorAllocate(image.get(), red(entry.second), green(entry.second), blue(entry.second));
    for (int y = 0; y < picture.height; ++y) {
        const quint32* row = picture.pixels + std::size_t(y) * std::size_t(picture.width);
        for (int x = 0; x < picture.width; ++x)
            image->pixels[y][x] = static_cast<unsigned char>(colours.at(row[x] & 0xFFFFFF));
    }
    return image;
}

int nearest(quint32 colour, const std::vector<quint32>& palette)
{
    int best = 0;
    int bestDistance = std::numeric_limits<int>::max();
    for (int p = 0; p < int(palette.size()); ++p) {
        const quint32 entry = palette[std::size_t(p)];
        const int dr = red(colour) - red(entry), dg = green(colour) - green(entry), db = blue(colour) - blue(entry);
        const int distance = dr * dr + dg * dg + db * db;
        if (distance < bestDistance) {
            best = p;
            bestDistance = distance;
        }
    }
    return best;
}

// More than 256 colours (the smoothed edges of lines and letters): the
// palette holds the exact colours first, then the mean colours of the
// fullest buckets; each pixel takes the entry chosen for its bucket, which
// for a bucket holding an exact colour is that colour.
Image reducedPalette(const PixelRows& picture, const std::vector<quint32>& exact, const Histogram& histogram)
{
    const std::vector<Bucket>& buckets = histogram.buckets;
    std::vector<quint32> palette;
    std::vector<int> lookup(buckets.size(), -1);
    for (quint32 colour : exact) {
        colour &= 0xFFFFFF;
        if (palette.size() == 256 || std::find(palette.begin(), palette.end(), colour) != palette.end())
            continue;
        lookup[std::size_t(bucketOf(colour))] = int(palette.size());
        palette.push_back(colour);
    }
    std::vector<int> fullest;
    for (int b = 0; b < int(buckets.size()); ++b) {
        if (buckets[std::size_t(b)].count > 0 && lookup[std::size_t(b)] < 0)
            fullest.push_back(b);
    }
    std::sort(fullest.begin(), fullest.end(),
              [&buckets](int a, int b) { return buckets[std::size_t(a)].count > buckets[std::size_t(b)].count; });
    for (int b : fullest) {
        if (palette.size() == 256)
            break;
        lookup[std::size_t(b)] = int(palette.size());
        palette.push_back(buckets[std::size_t(b)].mean());
    }
    for (int b : fullest) {
        if (lookup[std::size_t(b)] < 0)
            lookup[std::size_t(b)] = nearest(buckets[std::size_t(b)].mean(), palette);
    }

    Image image(gdImageCreate(picture.width, picture.height));
    for (quint32 colour : palette)
        gdImageColorAllocate(image.get(), red(colour), green(colour), blue(colour));
    for (int y = 0; y < picture.height; ++y) {
        const quint32* row = picture.pixels + std::size_t(y) * std::size_t(picture.width);
        for (int x = 0; x < picture.width; ++x)
            image->pixels[y][x] = static_cast<unsigned char>(lookup[std::size_t(bucketOf(row[x]))]);
    }
    return image;
}

}  // namespace

QByteArray encode(const PixelRows& picture, const std::vector<quint32>& exact)
{
    if (picture.width <= 0 || picture.height <= 0 || !picture.pixels)
        return {};
    // More buckets in use than 256 means more colours than 256: no need to count them.
    const Histogram histogram = histogramOf(picture);
    const auto colours = histogram.used <= 256 ? fewColours(picture) : std::nullopt;
    Image image = colours ? exactPalette(picture, *colours) : reducedPalette(picture, exact, histogram);
    gdImageColorTransparent(image.get(), -1);
    int size = 0;
    void* bytes = gdImageGifPtr(image.get(), &size);
    QByteArray gif(static_cast<const char*>(bytes), size);
    gdFree(bytes);
    return gif;
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

}  // namespace GifFile
