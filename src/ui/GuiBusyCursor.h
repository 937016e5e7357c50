#pragma once

#include "core/errors/BusyIndicator.h"

#include <QObject>
#include <atomic>

// Shows the wait cursor while an operation runs, on any thread. Work that
// ends within a moment shows nothing, so that the cursor does not flicker
// every minute while the cycle reads and logs in the background.
class GuiBusyCursor final : public QObject, public BusyIndicator {
    Q_OBJECT

public:
    static constexpr int kDelayMs = 300;

    explicit GuiBusyCursor(QObject* parent = nullptr) : QObject(parent) {}
    void begin() override;
    void end() override;

private:
    void showIfStillBusy();
    void hide();

    std::atomic<int> depth_{0};
    std::atomic<unsigned> generation_{0};  // which busy period a delayed show belongs to
    bool shown_ = false;                   // on the window thread only
};
