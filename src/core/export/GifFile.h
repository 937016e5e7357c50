#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QtGlobal>

#include <vector>

// An opaque picture as rows of 0xffRRGGBB pixels (the alpha byte is ignored).
struct PixelRows {
    int width = 0;
    int height = 0;
    const quint32* pixels = nullptr;  // width * height values, row after row
};

// GIF encoding of pictures.
namespace GifFile {

// The picture as a GIF: no transparent colour, and a palette that holds
// every colour exactly when there are at most 256 of them. With more (the
// smoothed edges of lines and letters), the palette is reduced, but the
// colours in `exact` (the background, the text, the traces) keep their
// exact values. Empty when the picture is empty.
QByteArray encode(const PixelRows& picture, const std::vector<quint32>& exact = {});

// Writes the GIF to `path`, replacing a file of that name whole (a failure
// leaves the old file); false with `error` saying why.
bool write(const QString& path, const PixelRows& picture, const std::vector<quint32>& exact, QString& error);
// The same for a drawn image, in whatever format it was drawn.
bool write(const QString& path, const QImage& picture, const std::vector<quint32>& exact, QString& error);

}  // namespace GifFile
