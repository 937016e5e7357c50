#pragma once

#include <QString>
#include <array>

// Every preference of the program as it is held while the program runs, one
// field per settings key, named after the key. Values are the texts and
// numbers the store holds; defaults are those of a fresh installation (the
// error log's default depends on the program folder and is set on loading).
//
// Flags are check-box states: 0 off, 1 on (other values are kept as read and
// count as off). Colours are 24-bit RGB numbers with red in the low byte.
struct Preferences {
    static constexpr int kScaleGroups = 5;  // Barometer, Temperature, Humidity, Wind Speed, Rainfall

    std::array<QString, kScaleGroups> Min = {"990.0", "0", "0", "0", "0"};
    std::array<QString, kScaleGroups> Max = {"1030.0", "45", "100", "40", "100"};
    QString Graphic;
    QString Database;
    QString ErrorLog;
    QString ErrorSMTP;
    QString ErrorUser;
    QString ErrorPass;
    QString ErrorFrom;
    QString ErrorTo;
    QString RSSFile;
    int Interval = 0;  // position in the cycle list 10, 20, ... 60 minutes
    int AutoRefresh = 0;
    int AutoGraph = 0;
    int AutoExport = 0;
    int AutoPicture = 0;
    int AutoDataBase = 0;
    int Unattended = 0;
    int ErrorMail = 0;
    qint32 FontColour = 0x000000;        // black text
    qint32 BackColour = 0xFFFFFF;        // on white
    qint32 FontColourExport = 0x000000;
    qint32 BackColourExport = 0xFFFFFF;

    bool operator==(const Preferences&) const = default;
};

// The remote client's own keys (section Data), read and written by it alone.
struct RemoteSettings {
    QString RemoteIP = "127.0.0.1";
    QString RemotePort = "5850";
    QString LocalPort = "8080";

    bool operator==(const RemoteSettings&) const = default;
};
