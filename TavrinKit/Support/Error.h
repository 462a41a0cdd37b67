#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace tavrin {

/// The base of everything that Tavrin throws. `what()` is one sentence for the user.
///
/// The cause of a failure, where there is one, travels along in `underlying()`, so that the sentence can
/// name the operation and a log line the reason.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& sentence, std::exception_ptr underlying = nullptr)
        : std::runtime_error(sentence), underlying_(std::move(underlying)) {}

    [[nodiscard]] const std::exception_ptr& underlying() const noexcept { return underlying_; }

private:
    std::exception_ptr underlying_;
};

/// An error family whose cases are the values of an enumeration.
///
/// A family derives from this, offers one named constructor function per case and stores the payload of
/// its cases in members of its own.
template <typename Case>
class ErrorFamily : public Error {
public:
    ErrorFamily(Case kind, const std::string& sentence, std::exception_ptr underlying = nullptr)
        : Error(sentence, std::move(underlying)), kind_(kind) {}

    [[nodiscard]] Case kind() const noexcept { return kind_; }

private:
    Case kind_;
};

/// The one way in which a cancelled wait ends.
class CancellationError : public Error {
public:
    CancellationError() : Error("The operation was cancelled.") {}
};

/// The sentence of any exception: `what()`, or a plain text for something that is no std::exception.
[[nodiscard]] std::string sentenceOf(const std::exception_ptr& error);

/// The sentence with the type and, behind it, the chain of causes: for log lines.
[[nodiscard]] std::string describe(const std::exception_ptr& error);

} // namespace tavrin
