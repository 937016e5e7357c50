#pragma once

#include <string>
#include <utility>
#include <variant>

namespace mdb {

// What kind of failure an Error is, so that callers can decide what to do
// without reading its text: a damaged file is never treated like a feature
// the engine lacks.
enum class ErrorKind {
    Corruption,       // the file contradicts its format
    Unsupported,      // a valid file or value this engine does not handle
    Io,               // the operating system refused a read, write or sync
    Busy,             // another program holds the file
    NotFound,         // a file, table, column, index or row that is not there
    InvalidArgument,  // the caller asked for something impossible
};

// A failure: its kind, and what went wrong and where ("table History, data
// page 57: row offset past end of page"). The engine never prints; it
// returns these.
struct Error {
    ErrorKind kind = ErrorKind::Corruption;
    std::string message;
};

inline Error corruption(std::string message) { return {ErrorKind::Corruption, std::move(message)}; }
inline Error unsupported(std::string message) { return {ErrorKind::Unsupported, std::move(message)}; }
inline Error ioError(std::string message) { return {ErrorKind::Io, std::move(message)}; }
inline Error busy(std::string message) { return {ErrorKind::Busy, std::move(message)}; }
inline Error notFound(std::string message) { return {ErrorKind::NotFound, std::move(message)}; }
inline Error invalidArgument(std::string message) { return {ErrorKind::InvalidArgument, std::move(message)}; }

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
// gives "table History: <e>", of the same kind.
inline Error within(const std::string& where, const Error& error)
{
    return Error{error.kind, where + ": " + error.message};
}

}  // namespace mdb
