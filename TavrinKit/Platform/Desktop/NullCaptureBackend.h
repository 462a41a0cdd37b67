#pragma once

#include <memory>
#include <string>

#include "TavrinKit/Capture/LiveCursorStateMonitoring.h"
#include "TavrinKit/Capture/LiveInputEventMonitoring.h"
#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin {

/// What stands in where there is no desktop that can be recorded: everything that is asked of it fails with
/// the reason.
class NullCaptureBackend : public ScreenCaptureBackend {
public:
    /// @param reason  a sentence for the user
    explicit NullCaptureBackend(std::string reason);

    /// Yes: it isn't for want of a permission that nothing can be recorded.
    [[nodiscard]] bool preflightAccess() override { return true; }
    [[nodiscard]] bool requestAccess() override { return true; }
    /// @throws Error with the reason
    [[nodiscard]] ShareableContent shareableContent(bool excludingDesktopWindows,
                                                    bool onScreenWindowsOnly) override;
    /// @throws Error with the reason
    [[nodiscard]] std::unique_ptr<ScreenStream>
    makeStream(const ContentFilter& filter, const StreamConfiguration& configuration,
               std::shared_ptr<ScreenStreamOutput> output) override;

private:
    const std::string reason_;
};

/// Sees no input: its start fails with the reason.
class NullLiveInputEventMonitor : public LiveInputEventMonitoring {
public:
    explicit NullLiveInputEventMonitor(std::string reason);
    void start(Handler handler) override;
    void stop() override {}

private:
    const std::string reason_;
};

/// Sees no pointer: its start fails with the reason.
class NullLiveCursorStateMonitor : public LiveCursorStateMonitoring {
public:
    explicit NullLiveCursorStateMonitor(std::string reason);
    void start(Handler handler) override;
    void stop() override {}

private:
    const std::string reason_;
};

} // namespace tavrin
