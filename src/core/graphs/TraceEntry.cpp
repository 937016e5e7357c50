#include "core/graphs/TraceEntry.h"

#include "core/graphs/DataTypes.h"
#include "core/settings/StoredColour.h"
#include "core/text/NumberText.h"

#include <array>
#include <cmath>

QString TraceEntry::typeName() const
{
    return DataTypes::name(dataType);
}

QString TraceEntry::title() const
{
    QString text = sourceName + ": " + typeName();
    if (offset != 0)
        text += " " + QString::number(offset);
    return text;
}

qint32 standardColour(int index)
{
    // As red, green, blue.
    static constexpr std::array<std::array<int, 3>, 16> rgb = {{
        {0, 0, 0},       {0, 0, 128},     {0, 128, 0},   {0, 128, 128},
        {128, 0, 0},     {128, 0, 128},   {128, 128, 0}, {192, 192, 192},
        {128, 128, 128}, {0, 0, 255},     {0, 255, 0},   {0, 255, 255},
        {255, 0, 0},     {255, 0, 255},   {255, 255, 0}, {255, 255, 255},
    }};
    const auto& c = rgb[std::size_t(index & 15)];
    return StoredColour::fromRgb(c[0], c[1], c[2]);
}

std::optional<qint32> defaultTraceColour(int n)
{
    static constexpr std::array<int, 15> paletteOfTrace = {11, 10, 12, 13, 14, 9, 6, 5, 4, 3, 2, 1, 7, 8, 15};
    if (n < 1 || n > int(paletteOfTrace.size()))
        return std::nullopt;
    return standardColour(paletteOfTrace[std::size_t(n - 1)]);
}

int dayOffsetFromText(const QString& text)
{
    // Halves go to the even neighbour, as the program's number rounding does.
    const double rounded = std::nearbyint(NumberText::leadingNumber(text));
    return int(std::clamp(rounded, -32768.0, 32767.0));
}
