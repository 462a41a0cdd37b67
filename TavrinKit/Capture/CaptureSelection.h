#pragma once

#include <optional>
#include <string>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin {

/// What a recording target comes to on a display server.
struct CaptureSelection {
    ContentFilter filter;
    int width = 0;                  ///< pixels of the recording, even
    int height = 0;                 ///< pixels of the recording, even
    std::optional<Rect> sourceRect; ///< points, relative to the display, y downward
    bool isWindowCapture = false;
    CaptureApplicationExclusionRule
        exclusionRule; ///< for the sound, also that of applications without a window
};

/// @param exclusionRule  whose windows to leave out, besides those that `options` names
/// @throws DesktopStreamCaptureError (targetNotFound, targetNotSupported)
[[nodiscard]] CaptureSelection captureSelection(const CaptureOptions& options,
                                                const CaptureApplicationExclusionRule& exclusionRule,
                                                const ShareableContent& content);

/// @param identifier  a display's number in decimal, or "main" for the first of the list
/// @return null when there is none
[[nodiscard]] const ShareableDisplay* findDisplay(const std::string& identifier,
                                                  const ShareableContent& content);

/// The size to record a source of this size in: an encoder takes even sizes only, so that a last odd column
/// or row is left out; never less than 2 by 2.
[[nodiscard]] PixelSize recordableSize(PixelSize size);

[[nodiscard]] StreamConfiguration streamConfiguration(const CaptureSelection& selection,
                                                      const CaptureOptions& options);

} // namespace tavrin
