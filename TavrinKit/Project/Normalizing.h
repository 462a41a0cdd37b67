#pragma once

#include <algorithm>
#include <cmath>

namespace tavrin {

// How all records of this folder are built.
//
// A record is a plain struct: its fields are public and carry the plain defaults, two records are equal when
// their fields are. Whoever makes a record out of values that weren't checked before passes it through
// `normalized()`, which returns a copy that obeys the ranges and orders of that type:
//
//     track.add(SpeedRegion{.startTime = from, .endTime = to, .speed = PlaybackSpeed::x2}.normalized());
//
// `normalized()` looks at the record's own fields; records inside it are taken as they are. `decode` keeps
// what the file says, out of range or not, except where the type says that its decoder normalises.
// A new record has a new id.

/// `value` held in `low`...`high`; NaN becomes `low`.
[[nodiscard]] inline double clampedTo(double value, double low, double high) {
    return value > low ? std::min(value, high) : low;
}

/// `value`, but no less than `low`; NaN becomes `low`.
[[nodiscard]] inline double atLeast(double value, double low) {
    return value > low ? value : low;
}

[[nodiscard]] inline double finiteOr(double value, double otherwise) {
    return std::isfinite(value) ? value : otherwise;
}

} // namespace tavrin
