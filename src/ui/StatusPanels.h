#pragma once

#include <QMap>
#include <QObject>

class CurrentConditions;
class QLabel;
class QStatusBar;

// The status bar's panels ("barometer", "tempout", "humidout", "tempin",
// "wind", "rain", "time"), each a picture and a text, kept in step with the
// current conditions. Each panel is a widget named by its key.
class StatusPanels final : public QObject {
    Q_OBJECT

public:
    explicit StatusPanels(QStatusBar* bar);
    void display(const CurrentConditions& conditions);

private:
    struct Panel {
        QLabel* picture = nullptr;
        QLabel* text = nullptr;
    };
    QStatusBar* bar_;
    QMap<QString, Panel> panels_;
};
