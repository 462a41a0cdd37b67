#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

class X11Connection;

/// Reads parts of windows and pixmaps through memory shared with the server.
///
/// One thread at a time.
class X11FrameGrabber {
public:
    /// @param connection  outlives the object
    /// @param mostPixels  of all areas of one `grab` together
    /// @param mostAreas   of one `grab`
    /// @throws X11Error when the server has no MIT-SHM 1.2, won't share memory, or shows anything but 32 bits
    ///         per pixel in the order B G R X
    X11FrameGrabber(const X11Connection& connection, std::int64_t mostPixels, std::size_t mostAreas);
    ~X11FrameGrabber();
    X11FrameGrabber(const X11FrameGrabber&) = delete;
    X11FrameGrabber& operator=(const X11FrameGrabber&) = delete;

    /// One picture for each area, in their order, without the pointer. They may be written to; they are valid
    /// until the next call.
    /// @param drawable  a window with what lies over it, or a pixmap; 32 bits per pixel
    /// @param areas     of the drawable, none empty
    /// @return nothing when the server refuses, as it does when an area lies outside of the drawable
    /// @throws X11Error serverGone
    [[nodiscard]] std::vector<PixelBuffer> grab(std::uint32_t drawable, const std::vector<X11Rect>& areas);

private:
    class Segment;

    const X11Connection& connection_;
    std::unique_ptr<Segment> segment_;
};

} // namespace tavrin
