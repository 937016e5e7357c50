#include "core/export/GifFile.h"

#include <QSaveFile>

#include <gd.h>

#include <algorithm>
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

// The picture's colours and their palette index, when there are at most 256.
std::optional<std::unordered_map<quint32, int>> fewColours(const PixelRows& picture)
{
    std::unordered_map<quint32, int> colours;
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

Image reducedPalette(const PixelRows& picture, const std::vector<quint32>& exact)
{
    Image trueColour(gdImageCreateTrueColor(picture.width, picture.height));
    for (int y = 0; y < picture.height; ++y) {
        const quint32* row = picture.pixels + std::size_t(y) * std::size_t(picture.width);
        for (int x = 0; x < picture.width; ++x)
            trueColour->tpixels[y][x] = gdTrueColor(red(row[x]), green(row[x]), blue(row[x]));
    }
    Image palette(gdImageCreatePaletteFromTrueColor(trueColour.get(), 0, 256));
    gdImageColorMatch(trueColour.get(), palette.get());
    // The named colours keep their values: the nearest entry becomes exact.
    for (quint32 rgb : exact) {
        const int index = gdImageColorClosest(palette.get(), red(rgb), green(rgb), blue(rgb));
        if (index < 0)
            continue;
        palette->red[index] = red(rgb);
        palette->green[index] = green(rgb);
        palette->blue[index] = blue(rgb);
    }
    return palette;
}

}  // namespace

QByteArray encode(const PixelRows& picture, const std::vector<quint32>& exact)
{
    if (picture.width <= 0 || picture.height <= 0 || !picture.pixels)
        return {};
    const auto colours = fewColours(picture);
    Image image = colours ? exactPalette(picture, *colours) : reducedPalette(picture, exact);
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
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(gif) != gif.size() || !file.commit()) {
        error = path + ": " + file.errorString();
        return false;
    }
    return true;
}

}  // namespace GifFile
