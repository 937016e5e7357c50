#pragma once

#include "core/readings/WeatherReading.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <array>

// What the current conditions panel shows: the ten values (barometer,
// temperature out, humidity out, temperature in, humidity in, wind speed,
// wind direction, read time, rain of 1 hour and of 24 hours),
// the texts and pictures of the status bar panels, and the two pictures of
// the panel (the pressure trend and the weather). Pictures are named by
// their image key: "up", "down", "sun", "cloud", "rain", "storm"; an empty
// key shows no picture. It only computes; the window draws it.
class CurrentConditions {
public:
    static constexpr int kLabels = 10;
    // The status bar panels, left to right.
    static const QStringList& panelKeys();

    // Shows a reading. While a storm warning is on, the weather picture keeps
    // what it showed and the "rain" panel shows the storm picture instead.
    void showReading(const WeatherReading& reading);

    QString label(int index) const { return labels_.at(std::size_t(index)); }
    QString panelText(const QString& key) const { return panelTexts_.value(key); }
    QString panelImage(const QString& key) const { return panelImages_.value(key); }
    QString trendImage() const { return trendImage_; }
    QString weatherImage() const { return weatherImage_; }

private:
    std::array<QString, kLabels> labels_;
    QMap<QString, QString> panelTexts_;
    QMap<QString, QString> panelImages_;
    QString trendImage_;
    QString weatherImage_;
};
