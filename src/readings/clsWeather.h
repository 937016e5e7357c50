#pragma once

#include <QDateTime>
#include <QString>
#include <QtGlobal>

class ErrorReporter;

// One reading of current conditions from one weather source, with the time it
// belongs to. Units: temperatures in degrees Celsius, humidity in percent,
// wind speed in knots, rain in mm, pressure in hPa; ReadDate is local time.
//
// Every field starts at zero, empty text and a null date, and keeps its last
// value until it is set again: a read that does not mention a field leaves
// the previous reading's value in place.
//
// The three coded properties (Stability, Trend, StormWarning) are set from
// the station's code text ("-1", "0", "1", "2"): the numeric code always takes
// the new value, the display text only when the code is one the table knows;
// for any other input the text keeps what it held before.
class clsWeather {
public:
    QDateTime ReadDate() const { return readDate_; }
    void setReadDate(const QDateTime& value) { readDate_ = value; }

    QString Stability() const { return stability_; }
    qint16 StabilityData() const { return stabilityData_; }
    void setStability(const QString& code);

    QString Trend() const { return trend_; }
    qint16 TrendData() const { return trendData_; }
    void setTrend(const QString& code);

    QString StormWarning() const { return stormWarning_; }
    qint16 StormWarningData() const { return stormWarningData_; }
    void setStormWarning(const QString& code);

    double RainTotal() const { return rainTotal_; }
    void setRainTotal(double value) { rainTotal_ = value; }
    double Rain24hr() const { return rain24hr_; }
    void setRain24hr(double value) { rain24hr_ = value; }
    double Rain1hr() const { return rain1hr_; }
    void setRain1hr(double value) { rain1hr_ = value; }
    double WindChill() const { return windChill_; }
    void setWindChill(double value) { windChill_ = value; }
    double Dewpoint() const { return dewpoint_; }
    void setDewpoint(double value) { dewpoint_ = value; }

    // Compass text as read ("NNE"), or "-"/"---" when unknown. The setter
    // removes every double quote from the text.
    QString WindDirection() const { return windDirection_; }
    void setWindDirection(const QString& value);
    // Stores the text exactly as given (the feed reader's wind line).
    void setWindDirectionVerbatim(const QString& value) { windDirection_ = value; }

    double WindSpeed() const { return windSpeed_; }
    void setWindSpeed(double value) { windSpeed_ = value; }
    double HumidityIn() const { return humidityIn_; }
    void setHumidityIn(double value) { humidityIn_ = value; }
    double HumidityOut() const { return humidityOut_; }
    void setHumidityOut(double value) { humidityOut_ = value; }
    double TemperatureIn() const { return temperatureIn_; }
    void setTemperatureIn(double value) { temperatureIn_ = value; }
    double TemperatureOut() const { return temperatureOut_; }
    void setTemperatureOut(double value) { temperatureOut_ = value; }
    double Barometer() const { return barometer_; }
    void setBarometer(double value) { barometer_ = value; }

    // Fills the reading from a source's data file: sourceType 0 is a station
    // current-data file, any other value a saved feed page. `now` is the
    // present time, against which a feed's time is checked.
    // Returns false for an empty file name (nothing else happens) and after a
    // failure, which goes to `errors` as one "Current Data Read Error: "
    // message; values set before the failure keep their new values.
    bool RefreshData(const QString& fileName, qint16 sourceType, ErrorReporter& errors, const QDateTime& now);

    bool operator==(const clsWeather&) const = default;

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
