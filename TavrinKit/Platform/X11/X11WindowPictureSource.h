#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Media/PictureScaler.h"
#include "TavrinKit/Platform/X11/PicturePool.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Platform/X11/X11LayoutEvents.h"
#include "TavrinKit/Platform/X11/X11PicturePainter.h"
#include "TavrinKit/Platform/X11/X11PictureSource.h"
#include "TavrinKit/Platform/X11/X11PointerFollower.h"
#include "TavrinKit/Platform/X11/X11WindowGeometry.h"
#include "TavrinKit/Platform/X11/X11WindowPixmap.h"

namespace tavrin {

class X11Connection;

/// Follows what one window shows, wherever it lies: under others, partly or wholly off the screen.
///
/// A window of the configured size is recorded pixel for pixel, without its last column or row where these
/// are odd ones. At any other size it is scaled evenly to fit, centred on black. A move alone makes no
/// picture, only word of where the window is now.
///
/// A hidden window stays as it was seen last, with the warning "window_minimized", until it is shown again.
class X11WindowPictureSource : public X11PictureSource {
public:
    /// Where others cover the window its owner has to paint it first: that is waited for, a third of a second
    /// at most.
    /// @param connection  outlives the object
    /// @throws X11Error windowNotFound, windowHidden, and others
    X11WindowPictureSource(const X11Connection& connection, const ContentFilter::Window& filter,
                           const StreamConfiguration& configuration);
    ~X11WindowPictureSource() override;
    X11WindowPictureSource(const X11WindowPictureSource&) = delete;
    X11WindowPictureSource& operator=(const X11WindowPictureSource&) = delete;

    void readEvents() override;
    [[nodiscard]] bool hasNews() const override;
    /// @throws X11Error windowClosed, serverGone
    [[nodiscard]] Taken take(VideoSample& sample) override;
    [[nodiscard]] bool canMove() const override { return true; }
    [[nodiscard]] std::optional<VideoSample> takeMove() override;
    [[nodiscard]] std::vector<std::string> takeWarnings() override;

private:
    void selectEvents();
    void handle(const xcb_generic_event_t& event);
    void followMove();
    void followWindow();
    [[nodiscard]] bool isPartlyHidden() const;
    void awaitRepainting();
    void tellWhenHidden();
    [[nodiscard]] bool prepare();
    void show(const X11Rect& part);
    void collectChanges();
    [[nodiscard]] PixelBuffer makePicture();
    void paint(const PixelBuffer& target);
    void describePlace(VideoSample& sample) const;

    const X11Connection& connection_;
    const PixelSize pictureSize_;
    const std::uint32_t window_;
    const std::string title_;
    const X11LayoutEvents layoutEvents_;
    std::vector<std::uint32_t> extents_; ///< the properties that say what belongs to a frame

    X11DisplayLayout layout_;
    X11WindowGeometry geometry_; ///< moved along with the top-level window
    std::unique_ptr<X11WindowPixmap> pixmap_;
    X11PicturePainter painter_; ///< of the pixmap
    PicturePool pool_;
    std::optional<X11PointerFollower> pointer_; ///< when it is to be seen
    X11Rect drawnPointer_;                      ///< in the pixmap

    X11Rect part_;         ///< of the pixmap: what is the window to the user; empty before the first picture
    X11Rect content_;      ///< of the picture: where that goes
    PixelBuffer unscaled_; ///< of an even size; empty while the window has the size of the picture
    PictureScaler scaler_;
    PixelBuffer latest_;
    bool mayBeSame_ = false;   ///< the next picture as `latest_`
    bool isContentNew_ = true; ///< the last picture has other margins, or none was made

    // What events have said since the last look.
    bool isGone_ = false;
    bool isStale_ = false; ///< the window may have been resized, shown, hidden, or given another frame
    bool wasHidden_ = false;
    bool hasMoved_ = false;
    bool hasPointerShifted_ = false;
    bool hasLayoutChanged_ = false;

    bool hasToldHidden_ = false;
    std::vector<std::string> warnings_;
};

} // namespace tavrin
