#pragma once

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The part of the source picture that is shown, in fractions of it: origin at the bottom left, y upward.
/// All keys are required in JSON.
struct CropRegion {
    double x = 0;
    double y = 0;
    double width = 1;  ///< 0.05...1
    double height = 1; ///< 0.05...1

    [[nodiscard]] double maxX() const { return x + width; }
    [[nodiscard]] double maxY() const { return y + height; }
    /// Within a ten-thousandth.
    [[nodiscard]] bool isFullFrame() const;

    /// Inside the picture: a size in its range, then an origin that leaves room for it.
    [[nodiscard]] CropRegion normalized() const;

    friend bool operator==(const CropRegion&, const CropRegion&) = default;
};

struct CropTrack {
    CropRegion region{};

    friend bool operator==(const CropTrack&, const CropTrack&) = default;
};

template <>
struct JsonRecord<CropRegion> {
    static void fields(auto& keys, auto& value) {
        keys.required("x", value.x);
        keys.required("y", value.y);
        keys.required("width", value.width);
        keys.required("height", value.height);
    }
};

template <>
struct JsonRecord<CropTrack> {
    static void fields(auto& keys, auto& value) { keys.required("region", value.region); }
};

} // namespace tavrin
