#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "TavrinApp/Sources/CaptureSourceOption.h"
#include "TavrinApp/Sources/RecordingLauncherAreaSelection.h"

namespace tavrin {

/// Lets the user drag an area on a display. The main thread only.
class AreaCaptureSelecting {
public:
    /// The window that makes way for a selection.
    class MainWindow {
    public:
        virtual ~MainWindow() = default;
        /// Shows it again, also when it was minimised, above the others and with the focus.
        virtual void comeBack() = 0;
    };
    using Completion = std::function<void(std::optional<RecordingLauncherAreaSelection>)>;

    virtual ~AreaCaptureSelecting() = default;

    virtual void attachMainWindow(std::weak_ptr<MainWindow> window) = 0;

    /// @param display     an option of kind `display`
    /// @param completion  called once, on the main thread, perhaps before this returns; with nothing when the
    ///                    user cancels, the display has gone, or another selection is running
    virtual void selectArea(const CaptureSourceOption& display, Completion completion) = 0;
};

/// Nobody to ask: every selection ends at once with nothing.
class NoopAreaCaptureSelectionController : public AreaCaptureSelecting {
public:
    void attachMainWindow(std::weak_ptr<MainWindow> window) override;
    void selectArea(const CaptureSourceOption& display, Completion completion) override;
};

} // namespace tavrin
