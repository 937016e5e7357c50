#pragma once

#include <QDateTime>
#include <QElapsedTimer>

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

// The computer's clock run faster: from the moment it is made, `speed`
// seconds pass for each real one (the demo at --speed 60 sees a ten-minute
// mark every ten seconds). Safe to read from any thread.
class FastClock final : public Clock {
public:
    explicit FastClock(double speed) : start_(QDateTime::currentDateTime()), speed_(speed) { elapsed_.start(); }
    QDateTime now() const override { return start_.addMSecs(qint64(double(elapsed_.elapsed()) * speed_)); }
    double speed() const { return speed_; }

private:
    QDateTime start_;
    QElapsedTimer elapsed_;
    double speed_;
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
