#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "TavrinApp/Sources/CaptureSourceCataloging.h"
#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin {

/// The displays and windows of a display server.
///
/// Displays come in the order of their numbers. Of the windows only those that are somebody's work: shown, of
/// at least 80 by 80 points, with a known owner, neither Tavrin's own nor part of the desktop itself; by
/// application and title, as the user's language orders names. Keeps nothing between calls.
class DesktopSourceCatalog : public CaptureSourceCataloging {
public:
    /// @param applicationExclusionRule  whose windows not to list
    explicit DesktopSourceCatalog(std::shared_ptr<ScreenCaptureBackend> backend,
                                  CaptureApplicationExclusionRule applicationExclusionRule =
                                      CaptureApplicationExclusionRule::currentProcess());

    /// A server that doesn't answer is waited for five seconds.
    /// @throws DesktopCaptureBridgeError, Error of the platform, CancellationError
    [[nodiscard]] std::vector<CaptureSourceOption> loadSources(const std::stop_token& stop = {}) override;

private:
    [[nodiscard]] bool isWork(const ShareableWindow& window) const;

    std::shared_ptr<ScreenCaptureBackend> backend_;
    CaptureApplicationExclusionRule applicationExclusionRule_;
};

/// A title as the list shows it: trimmed, `fallback` when nothing is left of it, and from 61 characters on
/// its first 57 and "...".
[[nodiscard]] std::string sanitizedTitle(std::string_view title, const std::string& fallback);

} // namespace tavrin
