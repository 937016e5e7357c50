#include "core/text/Compass.h"

#include <array>

namespace Compass {

namespace {

constexpr std::array<const char16_t*, 16> kCompassPoints = {
    u"N", u"NNE", u"NE", u"ENE", u"E", u"ESE", u"SE", u"SSE",
    u"S", u"SSW", u"SW", u"WSW", u"W", u"WNW", u"NW", u"NNW",
};

}  // namespace

qint16 code(const QString& compassText)
{
    for (std::size_t i = 0; i < kCompassPoints.size(); ++i) {
        if (compassText == QStringView(kCompassPoints[i]))
            return qint16(i + 1);
    }
    return 0;
}

QString text(int code)
{
    if (code < 1 || code > int(kCompassPoints.size()))
        return {};
    return QString::fromUtf16(kCompassPoints[code - 1]);
}

}  // namespace Compass
