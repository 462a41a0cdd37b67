#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin::demo {

/// What of a desktop to record, as a user says it: the main display, unless a window or an area is given.
struct SourceChoice {
    std::optional<std::string> windowTitle; ///< a title, or a part that only one title has
    std::optional<Rect> area;               ///< points, y downward from the top left of the main display
};

/// The same in the recorder's words.
struct ChosenSource {
    RecordingTarget target;
    CaptureCoordinateMappingContext mappingContext;
};

/// Finds what was chosen. An area is recorded of the display that has most of it.
/// @throws Error that says what there is instead; Error of the platform, CancellationError
[[nodiscard]] ChosenSource chooseSource(const std::shared_ptr<ScreenCaptureBackend>& backend,
                                        const SourceChoice& choice, const std::stop_token& stop = {});

} // namespace tavrin::demo
