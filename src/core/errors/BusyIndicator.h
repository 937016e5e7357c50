#pragma once

// Shows the user that the program is working (the wait cursor) while an
// operation runs. begin() and end() come in pairs and may nest; both may be
// called from any thread.
class BusyIndicator {
public:
    virtual ~BusyIndicator() = default;
    virtual void begin() = 0;
    virtual void end() = 0;
};

// Shows nothing: for tests and command-line use.
class NoBusyIndicator final : public BusyIndicator {
public:
    void begin() override {}
    void end() override {}
};

// Busy from construction to the end of the scope, however the scope ends.
class BusyScope {
public:
    explicit BusyScope(BusyIndicator& indicator) : indicator_(indicator) { indicator_.begin(); }
    ~BusyScope() { indicator_.end(); }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    BusyIndicator& indicator_;
};
