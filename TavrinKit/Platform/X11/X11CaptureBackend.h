#pragma once

#include <memory>
#include <string>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/DesktopEntryIndex.h"

namespace tavrin {

/// An X server as a source of recordings: its RandR monitors, also several on one root window.
///
/// Holds no connection: each call makes its own, so that one that hangs holds up no other. Any thread.
class X11CaptureBackend : public ScreenCaptureBackend {
public:
    /// @param displayName  as in ":0"; empty: what DISPLAY says at each call
    explicit X11CaptureBackend(std::string displayName = {});

    /// Whether the server can be reached; an X server shows its screen to whoever it talks to.
    [[nodiscard]] bool preflightAccess() override;
    /// There is nobody to ask: as `preflightAccess`.
    [[nodiscard]] bool requestAccess() override;

    [[nodiscard]] ShareableContent shareableContent(bool excludingDesktopWindows,
                                                    bool onScreenWindowsOnly) override;

    /// Displays, areas of them, and windows.
    [[nodiscard]] std::unique_ptr<ScreenStream>
    makeStream(const ContentFilter& filter, const StreamConfiguration& configuration,
               std::shared_ptr<ScreenStreamOutput> output) override;

private:
    const std::string displayName_;
    const std::shared_ptr<const DesktopEntryIndex> entries_ = std::make_shared<DesktopEntryIndex>();
};

} // namespace tavrin
