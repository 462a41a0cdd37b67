#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "TavrinKit/Platform/X11/DamageRegion.h"
#include "TavrinKit/Platform/X11/X11FrameGrabber.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

class X11Connection;

/// Brings what has changed in a part of a window or pixmap into 4:2:0 pictures.
///
/// Only what was named as damaged is read from the server and converted. A picture shows the part from its
/// top left, pixel for pixel, cropped to the picture's size; where a pair of columns or rows has only its
/// first one in the part, that is repeated. One thread at a time.
class X11PicturePainter {
public:
    /// Draws over what was read, before it is converted.
    /// @param pixels  bgra8, of the size of `area`
    /// @param area    of the drawable
    using DrawOver = std::function<void(const PixelBuffer& pixels, const X11Rect& area)>;

    /// @param connection   outlives the object
    /// @param pictureSize  even
    X11PicturePainter(const X11Connection& connection, PixelSize pictureSize);
    ~X11PicturePainter();

    /// From now on shows this part, all of which is damaged. Its size may change the memory that is shared
    /// with the server.
    /// @param part  of the drawable; not empty
    /// @throws X11Error
    void show(const X11Rect& part) { show(part, pictureSize_); }
    /// The same, with pictures of another size from now on.
    void show(const X11Rect& part, PixelSize pictureSize);
    /// What is shown, cropped to the picture's size.
    [[nodiscard]] const X11Rect& part() const { return part_; }

    /// @param area  of the drawable
    void addDamage(const X11Rect& area);
    /// In the picture, chroma-aligned.
    [[nodiscard]] const DamageRegion& damage() const { return damage_; }

    /// Reads what is damaged. @return whether the server gave it: not when the part lies outside of the
    /// drawable
    /// @throws X11Error serverGone
    [[nodiscard]] bool read(std::uint32_t drawable);

    /// Writes what was read last into a picture, where it is damaged; nothing is damaged any more then.
    /// @param target  i420, of the picture's size
    void paint(const PixelBuffer& target, const DrawOver& drawOver = {});

private:
    [[nodiscard]] X11Rect areaToRead(const X11Rect& box) const;
    void convert(const PixelBuffer& source, const X11Rect& box, const PixelBuffer& target) const;
    void repeatEdges(const X11Rect& box, const PixelBuffer& target) const;

    const X11Connection& connection_;
    PixelSize pictureSize_;
    X11Rect part_;
    DamageRegion damage_;
    std::int64_t mostPixels_ = 0; ///< that `grabber_` can read
    std::unique_ptr<X11FrameGrabber> grabber_;
    std::vector<PixelBuffer> read_; ///< one for each box of `damage_`
};

/// The part of a 4:2:0 picture, as a picture of its own on the same memory, which it doesn't keep.
/// @param area  with even left and top
[[nodiscard]] PixelBuffer partOf(const PixelBuffer& picture, const X11Rect& area);

} // namespace tavrin
