#include "core/readings/WeatherReading.h"

#include "core/errors/ErrorReporter.h"
#include "core/readings/CurrentDataReader.h"
#include "core/readings/FeedReader.h"
#include "core/readings/LineReader.h"
#include "core/text/NumberText.h"

#include <array>
#include <cmath>
#include <optional>
#include <utility>

namespace {

using CodeTable = std::array<std::pair<const char16_t*, const char16_t*>, 4>;

const CodeTable kStabilityTexts = {{{u"-1", u"---"}, {u"0", u"Unstable"}, {u"1", u"Fluctuating"}, {u"2", u"Stable"}}};
const CodeTable kTrendTexts = {{{u"-1", u"---"}, {u"0", u"Constant"}, {u"1", u"Rising"}, {u"2", u"Falling"}}};
const CodeTable kStormTexts = {{{u"-1", u""}, {u"0", u""}, {u"1", u"Storm Warning"}, {nullptr, nullptr}}};

std::optional<QString> textForCode(const CodeTable& table, const QString& code)
{
    for (const auto& [input, text] : table) {
        if (input && code == QStringView(input))
            return QString::fromUtf16(text);
    }
    return std::nullopt;
}

// The numeric value of a code text, kept to the 16-bit range.
qint16 codeValue(const QString& code)
{
    const double value = std::round(NumberText::leadingNumber(code));
    if (value > 32767)
        return 32767;
    if (value < -32768)
        return -32768;
    return qint16(value);
}

void applyCode(const CodeTable& table, const QString& code, QString& text, qint16& data)
{
    data = codeValue(code);
    if (auto known = textForCode(table, code))
        text = *known;
}

}  // namespace

void WeatherReading::setStabilityFromCode(const QString& code)
{
    applyCode(kStabilityTexts, code, stability_, stabilityData_);
}

void WeatherReading::setTrendFromCode(const QString& code)
{
    applyCode(kTrendTexts, code, trend_, trendData_);
}

void WeatherReading::setStormFromCode(const QString& code)
{
    applyCode(kStormTexts, code, stormWarning_, stormWarningData_);
}

void WeatherReading::setWindDirection(const QString& value)
{
    QString text = value;
    windDirection_ = text.remove(u'"');
}

bool WeatherReading::readSourceFile(const QString& fileName, SourceKind kind, ErrorReporter& errors, const QDateTime& now)
{
    if (fileName.isEmpty())
        return false;

    LineReader lines(fileName);
    const ReadOutcome outcome =
        kind == SourceKind::StationFile ? readCurrentData(lines, *this) : readFeed(lines, *this, now);
    if (!outcome.error.isEmpty()) {
        errors.report(QStringLiteral("\r\nCurrent Data Read Error: ") + outcome.error);
        return false;
    }
    return outcome.result;
}
