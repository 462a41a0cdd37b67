#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Platform/X11/DamageRegion.h"
#include "TavrinKit/Platform/X11/PicturePool.h"
#include "TavrinKit/Platform/X11/X11CursorImage.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Platform/X11/X11FrameGrabber.h"
#include "TavrinKit/Platform/X11/X11PictureSource.h"

namespace tavrin {

class X11Connection;

/// Follows what one display, or an area of it, shows.
///
/// Only what has changed is read from the server and converted. The pointer is not part of what the server
/// gives; when it shall be seen it is drawn in, and where it was is read again.
///
/// A picture shows the display from its top left, cropped to the configured size. A display of odd size in a
/// picture of the next even one gets its last column or row twice; what lies further out is black.
class X11DisplayPictureSource : public X11PictureSource {
public:
    /// @param connection  outlives the object
    /// @throws X11Error
    X11DisplayPictureSource(const X11Connection& connection, const ContentFilter::Display& filter,
                            const StreamConfiguration& configuration);
    ~X11DisplayPictureSource() override;
    X11DisplayPictureSource(const X11DisplayPictureSource&) = delete;
    X11DisplayPictureSource& operator=(const X11DisplayPictureSource&) = delete;

    void readEvents() override;
    [[nodiscard]] bool hasNews() const override;
    [[nodiscard]] Taken take(VideoSample& sample) override;

private:
    struct PointerState {
        X11Rect area; ///< of the root window; empty while it can't be seen
        int x = 0;
        int y = 0;
        std::uint32_t serial = 0;

        friend bool operator==(const PointerState&, const PointerState&) = default;
    };

    void selectEvents();
    void place(const X11DisplayLayout::Monitor& monitor);
    void startAfresh();
    void followLayout();
    void collectChanges();
    void addRootDamage(const X11Rect& area);
    void updatePointer(int x, int y, bool isOnScreen);
    [[nodiscard]] X11Rect grabArea(const X11Rect& box) const;
    [[nodiscard]] std::vector<PixelBuffer> grabBoxes();
    void write(const PixelBuffer& source, const X11Rect& box, const PixelBuffer& target) const;
    void repeatEdges(const X11Rect& box, const PixelBuffer& target) const;

    const X11Connection& connection_;
    const StreamConfiguration configuration_;
    const std::uint32_t displayID_;

    X11DisplayLayout layout_;
    X11DisplayLayout::Monitor monitor_;
    X11Rect captured_;    ///< of the root window
    DamageRegion damage_; ///< in the picture, chroma-aligned
    std::unique_ptr<X11FrameGrabber> grabber_;
    std::unique_ptr<PicturePool> pool_;

    std::optional<X11CursorImage> cursor_;
    PointerState pointer_; ///< as it was drawn last

    std::uint8_t damageEvent_ = 0;
    std::uint8_t fixesEvent_ = 0;
    std::uint8_t randrEvent_ = 0;
    std::uint8_t inputOpcode_ = 0;
    std::uint32_t damageID_ = 0;
    std::uint32_t damagedParts_ = 0; ///< a region of the server's

    bool isDamaged_ = false;
    bool hasPointerMoved_ = false;
    bool hasCursorChanged_ = false;
    bool hasLayoutChanged_ = false;
};

} // namespace tavrin
