#include "core/export/RssExporter.h"

#include "core/errors/ErrorReporter.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/WeatherSource.h"
#include "core/text/Clock.h"
#include "core/text/Cp1252.h"
#include "core/text/DateText.h"
#include "core/text/NumberText.h"

#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStringDecoder>

#include <utility>
#include <vector>

namespace {

constexpr qint64 kMaxTemplateSize = 8 * 1024 * 1024;
constexpr double kKnotsPerKmh = 0.5399568;

// "3:07pm", "12:05am": the hour on a 12-hour clock without a leading zero.
QString twelveHourTime(const QDateTime& time)
{
    const QTime t = time.isValid() ? time.time() : QTime(0, 0);
    const int hour = t.hour() % 12 == 0 ? 12 : t.hour() % 12;
    return QString("%1:%2%3").arg(hour).arg(t.minute(), 2, 10, QChar('0')).arg(t.hour() < 12 ? "am" : "pm");
}

// How the values are written into the template's bytes: as UTF-8 in a
// template that is UTF-8 (plain ASCII included) unless it declares a
// single-byte encoding, otherwise in Windows-1252.
bool writesUtf8(const QByteArray& templateBytes)
{
    static const QRegularExpression singleByte(R"(encoding\s*=\s*["'](windows-1252|iso-8859-1|latin-?1)["'])",
                                               QRegularExpression::CaseInsensitiveOption);
    if (singleByte.match(QString::fromLatin1(templateBytes.left(512))).hasMatch())
        return false;
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString decoded = utf8.decode(templateBytes);  // the decoding happens on conversion
    return !utf8.hasError();
}

// The template's lines without their ends; CR LF, LF and CR each end a line.
QList<QByteArray> templateLines(const QByteArray& bytes)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '\r' && bytes[i] != '\n')
            continue;
        lines.append(bytes.mid(start, i - start));
        if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n')
            ++i;
        start = i + 1;
    }
    if (start < bytes.size())
        lines.append(bytes.mid(start));
    return lines;
}

}  // namespace

QByteArray RssExporter::fillTemplate(const QByteArray& templateBytes, const WeatherSource& source, const QDateTime& now)
{
    const WeatherReading& w = source.reading();
    const auto general = [](double value) { return NumberText::generalNumber(value); };
    const std::vector<std::pair<const char*, QString>> tokens = {
        {"~SourceName~", source.sourceName()},
        {"~NOW~", DateText::format(now, "ddd, dd MMM yyyy HH:mm:ss")},
        {"~ReadTime~", twelveHourTime(w.readDate())},
        {"~TempOut~", general(w.temperatureOut())},
        {"~WindChill~", general(w.windChill())},
        {"~Dewpoint~", general(w.dewpoint())},
        {"~HumidityOut~", general(w.humidityOut())},
        {"~Windspeed~", NumberText::fixedNumber(w.windSpeed() / kKnotsPerKmh, 1)},
        {"~WindDirection~", w.windDirection()},
        {"~Rain24hr~", general(w.rain24h())},
        {"~Barometer~", general(w.barometer())},
    };
    const bool utf8 = writesUtf8(templateBytes);
    std::vector<std::pair<QByteArray, QByteArray>> replacements;
    for (const auto& [token, value] : tokens)
        replacements.emplace_back(token, utf8 ? value.toUtf8() : Cp1252::encode(value));

    QByteArray output;
    output.reserve(templateBytes.size() + 256);
    for (QByteArray line : templateLines(templateBytes)) {
        // In order, over the whole line: a value holding a later token gets
        // that token replaced too.
        for (const auto& [token, value] : replacements)
            line.replace(token, value);
        output += line + "\r\n";
    }
    return output;
}

bool RssExporter::exportRSS(const WeatherSource& source)
{
    const QString outputPath = source.exportFileName();
    if (outputPath.isEmpty())
        return false;
    BusyScope busy(environment_.busy);
    auto fail = [this](const QString& description) {
        environment_.errors.report("RSS Data Export Error: \r\n" + description);
        return false;
    };

    const QString templatePath = settings_.rssFile();
    QFile templateFile(templatePath);
    if (!templateFile.open(QIODevice::ReadOnly))
        return fail(QString("cannot read the template %1: %2").arg(templatePath, templateFile.errorString()));
    if (templateFile.size() > kMaxTemplateSize)
        return fail(QString("the template %1 is larger than 8 MB").arg(templatePath));
    const QByteArray templateBytes = templateFile.readAll();
    if (templateFile.error() != QFileDevice::NoError)
        return fail(QString("cannot read the template %1: %2").arg(templatePath, templateFile.errorString()));

    // Written beside the old file and then put in its place, so that a web
    // server reading it meanwhile sends the old feed or the new, never half.
    QSaveFile output(outputPath);
    if (!output.open(QIODevice::WriteOnly))
        return fail(QString("cannot write %1: %2").arg(outputPath, output.errorString()));
    const QByteArray filled = fillTemplate(templateBytes, source, environment_.clock.now());
    if (output.write(filled) != filled.size() || !output.commit())
        return fail(QString("cannot write %1: %2").arg(outputPath, output.errorString()));
    return true;
}
