#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

class ErrorReporter;

// What a source's input file is: the station program's current-data file
// (stored as 0 in the Sources table) or a saved feed page (any other value).
enum class SourceKind { StationFile = 0, Feed = 1 };

// One reading of current conditions from one weather source, with the time it
// belongs to. Units: temperatures in degrees Celsius, humidity in percent,
// wind speed in knots, rain in mm, pressure in hPa; readDate is local time.
//
// Every field starts at zero, empty text and a null date, and keeps its last
// value until it is set again: a read that does not mention a field leaves
// the previous reading's value in place.
//
// The three coded properties (stabilityText, trendText, stormText) are set from
// the station's code text ("-1", "0", "1", "2"): the numeric code always takes
// the new value, the display text only when the code is one the table knows;
// for any other input the text keeps what it held before.
class WeatherReading {
public:
    QDateTime readDate() const { return readDate_; }
    void setReadDate(const QDateTime& value) { readDate_ = value; }

    QString stabilityText() const { return stability_; }
    qint16 stabilityCode() const { return stabilityData_; }
    void setStabilityFromCode(const QString& code);

    QString trendText() const { return trend_; }
    qint16 trendCode() const { return trendData_; }
    void setTrendFromCode(const QString& code);

    QString stormText() const { return stormWarning_; }
    qint16 stormCode() const { return stormWarningData_; }
    void setStormFromCode(const QString& code);

    double rainTotal() const { return rainTotal_; }
    void setRainTotal(double value) { rainTotal_ = value; }
    double rain24h() const { return rain24hr_; }
    void setRain24h(double value) { rain24hr_ = value; }
    double rain1h() const { return rain1hr_; }
    void setRain1h(double value) { rain1hr_ = value; }
    double windChill() const { return windChill_; }
    void setWindChill(double value) { windChill_ = value; }
    double dewpoint() const { return dewpoint_; }
    void setDewpoint(double value) { dewpoint_ = value; }

    // Compass text as read ("NNE"), or "-"/"---" when unknown. The setter
    // removes every double quote from the text.
    QString windDirection() const { return windDirection_; }
    void setWindDirection(const QString& value);
    // Stores the text exactly as given (the feed reader's wind line).
    void setWindDirectionVerbatim(const QString& value) { windDirection_ = value; }

    double windSpeed() const { return windSpeed_; }
    void setWindSpeed(double value) { windSpeed_ = value; }
    double humidityIn() const { return humidityIn_; }
    void setHumidityIn(double value) { humidityIn_ = value; }
    double humidityOut() const { return humidityOut_; }
    void setHumidityOut(double value) { humidityOut_ = value; }
    double temperatureIn() const { return temperatureIn_; }
    void setTemperatureIn(double value) { temperatureIn_ = value; }
    double temperatureOut() const { return temperatureOut_; }
    void setTemperatureOut(double value) { temperatureOut_ = value; }
    double barometer() const { return barometer_; }
    void setBarometer(double value) { barometer_ = value; }

    // Fills the reading from a source's data file. `now` is the present time,
    // against which a feed's time is checked.
    // Returns false for an empty file name (nothing else happens) and after a
    // failure, which goes to `errors` as one "Current Data Read Error: "
    // message; values set before the failure keep their new values.
    bool readSourceFile(const QString& fileName, SourceKind kind, ErrorReporter& errors, const QDateTime& now);

    bool operator==(const WeatherReading&) const = default;

private:
    QDateTime readDate_;
    QString stability_;
    qint16 stabilityData_ = 0;
    QString trend_;
    qint16 trendData_ = 0;
    QString stormWarning_;
    qint16 stormWarningData_ = 0;
    double rainTotal_ = 0;
    double rain24hr_ = 0;
    double rain1hr_ = 0;
    double windChill_ = 0;
    double dewpoint_ = 0;
    QString windDirection_;
    double windSpeed_ = 0;
    double humidityIn_ = 0;
    double humidityOut_ = 0;
    double temperatureIn_ = 0;
    double temperatureOut_ = 0;
    double barometer_ = 0;
};
