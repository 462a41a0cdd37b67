#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Platform/X11/PicturePool.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Platform/X11/X11ExclusionComposer.h"
#include "TavrinKit/Platform/X11/X11LayoutEvents.h"
#include "TavrinKit/Platform/X11/X11PicturePainter.h"
#include "TavrinKit/Platform/X11/X11PictureSource.h"
#include "TavrinKit/Platform/X11/X11PointerFollower.h"

namespace tavrin {

class X11Connection;

/// Follows what one display, or an area of it, shows.
///
/// Windows of excluded applications are not seen; what they cover is (X11ExclusionComposer).
///
/// Only what has changed is read from the server and converted. The pointer is not part of what the server
/// gives; when it shall be seen it is drawn in, and where it was is read again.
///
/// A picture shows the display from its top left, cropped to the configured size. A display of odd size in a
/// picture of the next even one gets its last column or row twice; what lies further out is black.
class X11DisplayPictureSource : public X11PictureSource {
public:
    /// @param connection  outlives the object
    /// @param entries     by which excluded applications are known
    /// @throws X11Error
    X11DisplayPictureSource(const X11Connection& connection, const ContentFilter::Display& filter,
                            const StreamConfiguration& configuration,
                            std::shared_ptr<const DesktopEntryIndex> entries);
    ~X11DisplayPictureSource() override;
    X11DisplayPictureSource(const X11DisplayPictureSource&) = delete;
    X11DisplayPictureSource& operator=(const X11DisplayPictureSource&) = delete;

    void readEvents() override;
    [[nodiscard]] bool hasNews() const override;
    [[nodiscard]] Taken take(VideoSample& sample) override;

private:
    void selectEvents();
    [[nodiscard]] X11Rect sourceAreaOn(const X11DisplayLayout::Monitor& monitor) const;
    void followLayout();
    void collectChanges();
    [[nodiscard]] bool read();
    void readAnyway();
    void collectExclusion();
    [[nodiscard]] std::vector<X11Rect> damagedAreas() const; ///< of the root window

    const X11Connection& connection_;
    const StreamConfiguration configuration_;
    const std::uint32_t displayID_;

    const X11LayoutEvents layoutEvents_;
    X11DisplayLayout layout_;
    X11DisplayLayout::Monitor monitor_;
    X11PicturePainter painter_; ///< of the root window
    PicturePool pool_;
    std::optional<X11PointerFollower> pointer_;       ///< when it is to be seen
    std::unique_ptr<X11ExclusionComposer> exclusion_; ///< when something is to be left out

    std::uint8_t damageEvent_ = 0;
    std::uint32_t damageID_ = 0;
    std::uint32_t damagedParts_ = 0; ///< a region of the server's

    bool isDamaged_ = false;
    bool hasLayoutChanged_ = false;
};

} // namespace tavrin
