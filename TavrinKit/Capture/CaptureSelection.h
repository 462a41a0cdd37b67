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
/// A window is recorded alone: nothing is left out of its take.
/// @throws DesktopStreamCaptureError targetNotFound
[[nodiscard]] CaptureSelection captureSelection(const CaptureOptions& options,
                                                const CaptureApplicationExclusionRule& exclusionRule,
                                                const ShareableContent& content);

/// @param identifier  a display's number in decimal, or "main" for the first of the list
/// @return null when there is none
[[nodiscard]] const ShareableDisplay* findDisplay(const std::string& identifier,
                                                  const ShareableContent& content);

/// @param identifier  a window's number in decimal, also with a plus sign or zeros in front
/// @return null when there is none
[[nodiscard]] const ShareableWindow* findWindow(const std::string& identifier,
                                                const ShareableContent& content);

/// The pixels that a window comes to: those of `contentRect`, or of `fallbackFrame` where that is no larger
/// than a point. Not yet even.
/// @param pointPixelScale  1 when it makes no sense
[[nodiscard]] PixelSize resolvedWindowCapturePixelSize(const Rect& contentRect, double pointPixelScale,
                                                       const Rect& fallbackFrame);

/// Pixels for each point of a display, across and down.
[[nodiscard]] Size2D resolvedDisplayScale(const ShareableDisplay& display);

/// The part of an area that lies on a display: points, relative to the display, y downward.
/// @param rect               global points, y upward
/// @param mainDisplayHeight  without it the display's frame counts as y upward already
/// @throws DesktopStreamCaptureError targetNotFound, when no more than a strip of one point does
[[nodiscard]] Rect areaSourceRect(const Rect& rect, const ShareableDisplay& display,
                                  std::optional<double> mainDisplayHeight);

/// The size to record a source of this size in: an encoder takes even sizes only, so that a last odd column
/// or row is left out; never less than 2 by 2.
[[nodiscard]] PixelSize recordableSize(PixelSize size);

[[nodiscard]] StreamConfiguration streamConfiguration(const CaptureSelection& selection,
                                                      const CaptureOptions& options);

} // namespace tavrin
