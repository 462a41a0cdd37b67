#pragma once

namespace tavrin {

/// The curves along which zooms go in and out.
///
/// Each maps 0...1 onto 0...1, rising; an argument outside counts as the nearer end, a NaN as 0.
struct Easing {
    [[nodiscard]] static double quintInOut(double t);
    [[nodiscard]] static double cubicInOut(double t);
    [[nodiscard]] static double cubicOut(double t);
};

} // namespace tavrin
