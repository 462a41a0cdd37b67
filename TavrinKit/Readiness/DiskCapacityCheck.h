#pragma once

#include <cstdint>
#include <optional>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class DiskCapacityStatus { pass, warn, fail, unknown };

/// How much room a disk has, judged against two thresholds.
struct DiskCapacityCheck {
    std::optional<std::int64_t> availableBytes; ///< absent when it could not be read
    std::int64_t warningThresholdBytes = 0;     ///< as used: never negative
    std::int64_t failureThresholdBytes = 0;     ///< as used: 0...`warningThresholdBytes`
    DiskCapacityStatus status = DiskCapacityStatus::unknown;

    /// Brings the thresholds into their ranges and judges: `fail` below the one, `warn` below the other. What
    /// equals a threshold is not below it.
    [[nodiscard]] static DiskCapacityCheck judge(std::optional<std::int64_t> availableBytes,
                                                 std::int64_t warningThresholdBytes,
                                                 std::int64_t failureThresholdBytes);

    friend bool operator==(const DiskCapacityCheck&, const DiskCapacityCheck&) = default;
};

template <>
struct EnumNames<DiskCapacityStatus> {
    using enum DiskCapacityStatus;
    static constexpr auto names = namedCases<DiskCapacityStatus>({
        {pass, "pass"},
        {warn, "warn"},
        {fail, "fail"},
        {unknown, "unknown"},
    });
};

template <>
struct JsonRecord<DiskCapacityCheck> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("availableBytes", value.availableBytes);
        keys.required("warningThresholdBytes", value.warningThresholdBytes);
        keys.required("failureThresholdBytes", value.failureThresholdBytes);
        keys.required("status", value.status);
    }
};

} // namespace tavrin
