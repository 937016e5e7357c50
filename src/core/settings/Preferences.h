#pragma once

#include <QString>
#include <array>

// Every preference of the program as it is held while the program runs, one
// field per settings key (SettingsModel.cpp names the key of each). Values
// are the texts and numbers the store holds; defaults are those of a fresh
// installation (the error log's default depends on the program folder and is
// set on loading).
//
// Flags are check boxes, stored as "1" (on) and "0" (off); any other stored
// value reads as off. Colours are 24-bit RGB numbers with red in the low byte.
struct Preferences {
    static constexpr int kScaleGroups = 5;  // barometer, Temperature, Humidity, Wind Speed, Rainfall

    std::array<QString, kScaleGroups> axisMinimum = {"990.0", "0", "0", "0", "0"};
    std::array<QString, kScaleGroups> axisMaximum = {"1030.0", "45", "100", "40", "100"};
    QString graphicFolder;
    QString database;
    QString errorLog;
    QString errorSmtp;
    QString errorUser;
    QString errorPassword;
    QString errorFrom;
    QString errorTo;
    QString rssFile;
    int intervalPosition = 0;  // position in the cycle list 10, 20, ... 60 minutes (cycleMinutes)
    bool autoRefresh = false;
    bool autoGraph = false;
    bool autoExport = false;
    bool autoPicture = false;
    bool autoDatabase = false;
    bool unattended = false;
    bool errorMail = false;
    // Light text on a dark ground, on which the bright default trace colours
    // (cyan, green, red, magenta, yellow...) stand out.
    qint32 fontColour = 0xE6E6E6;        // light grey text
    qint32 backColour = 0x201814;        // on a dark blue-grey
    qint32 fontColourExport = 0x202020;  // dark grey text
    qint32 backColourExport = 0xFFFFFF;  // on white: web pages and paper

    bool operator==(const Preferences&) const = default;
};

// The remote client's own keys (section Data), read and written by it alone.
struct RemoteSettings {
    QString remoteAddress = "127.0.0.1";
    QString remotePort = "5850";
    QString localPort = "8080";

    bool operator==(const RemoteSettings&) const = default;
};
