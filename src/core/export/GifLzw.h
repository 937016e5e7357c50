#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cstddef>

// The LZW compression of a GIF image's colour indices, as the image data
// follows its minimum code size byte: data sub-blocks (a length byte and up
// to 255 bytes each), without the closing empty block. `minimumCodeSize`
// is 2 to 8 and every index is below 2 to its power. Codes grow from
// minimumCodeSize + 1 bits to 12, and the table starts again (a clear code)
// when it is full, as GIF decoders expect.
namespace GifLzw {
QByteArray compress(const quint8* indices, std::size_t count, int minimumCodeSize);
}
