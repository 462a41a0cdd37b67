#pragma once

#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/TemporalFrameSampler.h"

namespace tavrin {

/// Whether a file's pictures come at uneven times, as those of a recorder do that writes one only when the
/// screen has changed.
///
/// Looks at the first 48 intervals, and at whether intervals like those would fill the track: a take that
/// begins with movement and then stands still is uneven too. False for a file that can't be read, which is
/// logged, and for one without pictures.
/// @param asset  as it was opened
[[nodiscard]] bool sourceHasVariableFrameTiming(const MediaAsset& asset);

/// Pictures per second of a file: its nominal rate; where it names none, the inverse of the shortest interval
/// at its start; else `fallback`.
/// @param asset  as it was opened
[[nodiscard]] double inferredSourceFrameRate(const MediaAsset& asset, double fallback);

/// How a file's pictures follow each other.
struct SourceTiming {
    double frameRate = 60; ///< pictures per second, or the fallback
    bool isVariable = false;

    [[nodiscard]] static SourceTiming of(const MediaAsset& asset, double fallbackFrameRate);

    /// How its pictures are sampled.
    ///
    /// A variable source is sampled on an even grid of 240 steps a second: each step shows what was on screen
    /// as it began, and is a sample of its own with the camera of its own time. So a zoom smears over a still
    /// screen as over a moving one, evenly rather than in two or three ghosts, no sample's camera jumps back
    /// to when its picture began, and nothing drifts. An edit is sampled so as well: its pictures begin
    /// beside any grid behind a cut, and stay for longer or shorter where the speed changes.
    ///
    /// @param duration  seconds, of the asset that is sampled
    /// @param isEdited  the asset is a cut or retimed one
    [[nodiscard]] TemporalFrameSampler::Options samplerOptions(double duration, bool isEdited) const;
};

} // namespace tavrin
