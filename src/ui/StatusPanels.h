#pragma once

#include <QMap>
#include <QObject>

class CurrentConditions;
class QLabel;
class QStatusBar;

// The status bar's panels ("barometer", "tempout", "humidout", "tempin",
// "wind", "rain", "time"), each a picture and a text, kept in step with the
// current conditions, and before them, when readings are not being logged,
// why not. Each panel is a widget named by its key.
//
// A panel is never cut short, since a value cut off would mislead: when the
// window is too narrow for all of them, the panels that fit are shown, the
// time, temperature and pressure first (the Current Conditions tab shows
// every value whatever the width).
class StatusPanels final : public QObject {
    Q_OBJECT

public:
    explicit StatusPanels(QStatusBar* bar);
    void display(const CurrentConditions& conditions);
    // Why readings are not logged; empty hides the warning.
    void showLoggingProblem(const QString& problem);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Panel {
        QWidget* widget = nullptr;
        QWidget* separator = nullptr;
        QLabel* picture = nullptr;
        QLabel* text = nullptr;
    };
    // Shows the panels that fit the bar's width, in order of importance.
    void fitPanels();

    QStatusBar* bar_;
    QLabel* loggingProblem_ = nullptr;
    QMap<QString, Panel> panels_;
};
