#pragma once

#include <cstddef>
#include <vector>

#include "TavrinKit/Platform/X11/X11DisplayLayout.h"

namespace tavrin {

/// What has changed of a picture, as a handful of boxes within its bounds.
///
/// Boxes that lie close together become one, since each costs a request of its own; when most of the
/// picture has changed there is one box, the whole of it. Boxes may overlap, but all together they never
/// have more pixels than the picture.
class DamageRegion {
public:
    static constexpr std::size_t maximumBoxes = 8;

    DamageRegion() = default; ///< of an empty picture: stays empty
    explicit DamageRegion(const X11Rect& bounds) : bounds_(bounds) {}

    /// Adds the part of the box that lies inside the bounds.
    void add(const X11Rect& box);
    void add(const DamageRegion& other);
    void addAll() { boxes_ = {bounds_}; }
    void clear() { boxes_.clear(); }

    [[nodiscard]] bool isEmpty() const { return boxes_.empty(); }
    /// Whether one of the boxes holds all of `box`.
    [[nodiscard]] bool covers(const X11Rect& box) const;
    [[nodiscard]] const std::vector<X11Rect>& boxes() const { return boxes_; }
    [[nodiscard]] const X11Rect& bounds() const { return bounds_; }

private:
    void absorb(X11Rect box);
    void joinCheapestPair();

    X11Rect bounds_;
    std::vector<X11Rect> boxes_;
};

/// The area of a 4:2:0 picture whose samples depend on the pixels of `box`: whole pairs of rows and columns,
/// and one pair more on the right when the chroma there, which looks one column to the left, sees the box.
[[nodiscard]] X11Rect chromaAligned(const X11Rect& box, const X11Rect& bounds);

} // namespace tavrin
