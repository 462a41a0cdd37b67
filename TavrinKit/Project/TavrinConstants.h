#pragma once

#include <cstdint>

/// What the whole system agrees on.
namespace tavrin::TavrinConstants {

inline constexpr std::int64_t projectSchemaVersion = 2;
inline constexpr double defaultFPS = 60;                ///< of recordings and exports
inline constexpr double previewFPS = 30;                ///< of playback in the editor
inline constexpr double minimumTrimDuration = 1.0 / 60; ///< seconds
inline constexpr double minimumMotionBlurIntensity = 0;
inline constexpr double maximumMotionBlurIntensity = 0.65;

} // namespace tavrin::TavrinConstants
