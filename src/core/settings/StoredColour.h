#pragma once

#include <QColor>
#include <QtGlobal>

// Colours as the settings and the Traces table keep them: 24-bit RGB
// numbers with red in the low byte (0x00BBGGRR).
namespace StoredColour {

constexpr qint32 fromRgb(int red, int green, int blue)
{
    return qint32(red | green << 8 | blue << 16);
}

// The colour as 0xRRGGBB, as pictures and most libraries take it.
constexpr quint32 toRgb(qint32 stored)
{
    const auto bits = quint32(stored);
    return (bits & 0xFF) << 16 | (bits & 0xFF00) | (bits >> 16 & 0xFF);
}

// The colour as Qt draws it.
inline QColor toColour(qint32 stored)
{
    return QColor::fromRgb(toRgb(stored));
}

}  // namespace StoredColour
