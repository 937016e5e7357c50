#pragma once

#include <QDateTime>

// The source of "now" for everything that stamps or compares times, so that
// tests can set the time.
class Clock {
public:
    virtual ~Clock() = default;
    // The present local date and time.
    virtual QDateTime now() const = 0;
};

// The computer's clock.
class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

// A clock that stands still at a given time until moved (tests, simulations).
class FixedClock final : public Clock {
public:
    explicit FixedClock(QDateTime now) : now_(std::move(now)) {}
    QDateTime now() const override { return now_; }
    void set(const QDateTime& now) { now_ = now; }

private:
    QDateTime now_;
};
