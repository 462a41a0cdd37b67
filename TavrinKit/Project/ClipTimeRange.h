#pragma once

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// A stretch of time in seconds. Both keys are required in JSON and read as they stand.
struct ClipTimeRange {
    double startTime = 0;
    double endTime = 0;

    /// Negative when a file says so.
    [[nodiscard]] double duration() const { return endTime - startTime; }

    /// A start that is not finite or below 0 becomes 0; an end that is not finite or before it, the start.
    [[nodiscard]] ClipTimeRange normalized() const;

    friend bool operator==(const ClipTimeRange&, const ClipTimeRange&) = default;
};

/// The same for the times of a region.
template <typename Region>
void normalizeTimes(Region& region) {
    const ClipTimeRange range = ClipTimeRange{region.startTime, region.endTime}.normalized();
    region.startTime = range.startTime;
    region.endTime = range.endTime;
}

template <>
struct JsonRecord<ClipTimeRange> {
    static void fields(auto& keys, auto& value) {
        keys.required("startTime", value.startTime);
        keys.required("endTime", value.endTime);
    }
};

} // namespace tavrin
