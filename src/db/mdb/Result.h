#pragma once

#include <string>
#include <utility>
#include <variant>

namespace mdb {

// A failure: what went wrong and where ("table History, data page 57: row
// offset past end of page"). The engine never prints; it returns these.
struct Error {
    std::string message;
};

// A value or the Error that prevented it. Converts implicitly from either,
// so a function can `return value;` or `return Error{...};`.
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::move(value)) {}
    Result(Error error) : state_(std::move(error)) {}

    bool ok() const { return std::holds_alternative<T>(state_); }
    explicit operator bool() const { return ok(); }

    T& value() & { return std::get<T>(state_); }
    const T& value() const& { return std::get<T>(state_); }
    T&& value() && { return std::get<T>(std::move(state_)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    const Error& error() const { return std::get<Error>(state_); }

private:
    std::variant<T, Error> state_;
};

// Success, or the Error that prevented it.
class [[nodiscard]] Status {
public:
    Status() = default;
    Status(Error error) : error_(std::move(error)), failed_(true) {}

    static Status success() { return {}; }
    bool ok() const { return !failed_; }
    explicit operator bool() const { return ok(); }
    const Error& error() const { return error_; }

private:
    Error error_;
    bool failed_ = false;
};

// Prefixes an error with where it happened: within("table History", e)
// gives "table History: <e>".
inline Error within(const std::string& where, const Error& error)
{
    return Error{where + ": " + error.message};
}

}  // namespace mdb
