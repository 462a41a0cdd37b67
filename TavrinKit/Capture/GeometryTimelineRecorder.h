#pragma once

#include <optional>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Takes down where a moving source lay on the screen, one sample per move rather than per picture.
/// Any thread.
class GeometryTimelineRecorder {
public:
    /// @param surfaceSizePixels  of the stream's pictures; what is not finite or positive counts as 0
    explicit GeometryTimelineRecorder(Size2D surfaceSizePixels);

    /// Ignores a sample that says nothing new, or nothing at all about the source's place.
    void append(const VideoSample& sample);

    [[nodiscard]] std::vector<CaptureGeometrySample> samples() const { return samples_.copy(); }

private:
    [[nodiscard]] std::optional<CaptureGeometrySample> makeSample(const VideoSample& sample) const;

    const Size2D surfaceSizePixels_;
    Guarded<std::vector<CaptureGeometrySample>> samples_;
};

} // namespace tavrin
