#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "TavrinKit/Readiness/AppErrorCode.h"
#include "TavrinKit/Readiness/Metadata.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin {

/// A failure that already knows its code. Its `what()` is the code's sentence; the technical message is for
/// logs and never reaches the user.
class StructuredAppError : public ErrorFamily<AppErrorCode> {
public:
    StructuredAppError(AppErrorCode code, std::string technicalMessage, Metadata metadata = {});

    [[nodiscard]] AppErrorCode code() const { return kind(); }
    [[nodiscard]] const std::string& technicalMessage() const { return technicalMessage_; }
    [[nodiscard]] const Metadata& metadata() const { return metadata_; }

    friend bool operator==(const StructuredAppError& a, const StructuredAppError& b) {
        return a.code() == b.code() && a.technicalMessage_ == b.technicalMessage_ &&
               a.metadata_ == b.metadata_;
    }

private:
    std::string technicalMessage_;
    Metadata metadata_;
};

} // namespace tavrin

template <>
struct std::hash<tavrin::StructuredAppError> {
    std::size_t operator()(const tavrin::StructuredAppError& error) const noexcept;
};
