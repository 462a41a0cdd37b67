#include "TavrinKit/Platform/X11/DamageRegion.h"

#include <algorithm>
#include <limits>

namespace tavrin {
namespace {

/// Pixels that may be taken for nothing before a second request is the cheaper way.
constexpr std::int64_t worthOfARequest = 64 * 64;

std::int64_t waste(const X11Rect& a, const X11Rect& b) {
    return a.united(b).area() - a.area() - b.area();
}

} // namespace

void DamageRegion::add(const X11Rect& box) {
    const X11Rect inside = box.intersection(bounds_);
    if (inside.isEmpty() || covers(inside)) {
        return;
    }
    absorb(inside);
    while (boxes_.size() > maximumBoxes) {
        joinCheapestPair();
    }
    std::int64_t total = 0;
    for (const X11Rect& each : boxes_) {
        total += each.area();
    }
    if (total * 4 >= bounds_.area() * 3) {
        addAll();
    }
}

void DamageRegion::add(const DamageRegion& other) {
    for (const X11Rect& box : other.boxes_) {
        add(box);
    }
}

bool DamageRegion::covers(const X11Rect& box) const {
    return std::any_of(boxes_.begin(), boxes_.end(), [&](const X11Rect& each) { return each.contains(box); });
}

/// Joins the box with all that lie near it; what has grown may be near others.
void DamageRegion::absorb(X11Rect box) {
    for (auto each = boxes_.begin(); each != boxes_.end();) {
        if (waste(*each, box) <= worthOfARequest) {
            box = box.united(*each);
            boxes_.erase(each);
            each = boxes_.begin();
        } else {
            ++each;
        }
    }
    boxes_.push_back(box);
}

void DamageRegion::joinCheapestPair() {
    std::size_t bestA = 0;
    std::size_t bestB = 1;
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    for (std::size_t a = 0; a < boxes_.size(); ++a) {
        for (std::size_t b = a + 1; b < boxes_.size(); ++b) {
            if (const std::int64_t cost = waste(boxes_[a], boxes_[b]); cost < least) {
                least = cost;
                bestA = a;
                bestB = b;
            }
        }
    }
    const X11Rect joined = boxes_[bestA].united(boxes_[bestB]);
    boxes_.erase(boxes_.begin() + std::ptrdiff_t(bestB));
    boxes_.erase(boxes_.begin() + std::ptrdiff_t(bestA));
    absorb(joined);
}

X11Rect chromaAligned(const X11Rect& box, const X11Rect& bounds) {
    const int left = box.x & ~1;
    const int top = box.y & ~1;
    const int right = (box.x + box.width + 2) & ~1;
    const int bottom = (box.y + box.height + 1) & ~1;
    return X11Rect{left, top, right - left, bottom - top}.intersection(bounds);
}

} // namespace tavrin
