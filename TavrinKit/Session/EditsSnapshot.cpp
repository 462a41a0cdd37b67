#include "TavrinKit/Session/EditsSnapshot.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tavrin {
namespace {

/// Two zeros of different sign are equal and yet not written alike.
unsigned signs(const AnnotationRegion& region) {
    unsigned result = 0;
    for (const double number :
         {region.startTime, region.endTime, region.position.x, region.position.y, region.size.width,
          region.size.height, region.style.fontSize, region.style.borderRadius, region.style.strokeWidth,
          region.style.shadowOpacity}) {
        result = result << 1 | unsigned(std::signbit(number));
    }
    return result;
}

bool areIdentical(const AnnotationRegion& a, const AnnotationRegion& b) {
    return a == b && signs(a) == signs(b);
}

} // namespace

EditsSnapshot::EditsSnapshot(const EditsDocument& document, const EditsSnapshot* neighbour) {
    EditsDocument rest = document;
    std::vector<AnnotationRegion> regions = std::exchange(rest.timeline.annotationTrack.regions, {});
    rest_ = std::make_shared<const EditsDocument>(std::move(rest));

    // Where one was added, taken away or moved, those behind it have moved by one.
    auto annotations = std::make_shared<Annotations>();
    annotations->reserve(regions.size());
    const std::size_t knownCount = neighbour != nullptr ? neighbour->annotations_->size() : 0;
    std::size_t expected = 0;
    for (AnnotationRegion& region : regions) {
        std::shared_ptr<const AnnotationRegion> shared;
        for (std::size_t i = expected - std::min<std::size_t>(expected, 1);
             i < std::min(expected + 2, knownCount) && !shared; ++i) {
            if (const auto& known = (*neighbour->annotations_)[i]; areIdentical(*known, region)) {
                shared = known;
                expected = i;
            }
        }
        expected += 1;
        annotations->push_back(shared ? std::move(shared)
                                      : std::make_shared<const AnnotationRegion>(std::move(region)));
    }
    annotations_ = std::move(annotations);
}

EditsDocument EditsSnapshot::document() const {
    EditsDocument document = *rest_;
    std::vector<AnnotationRegion>& regions = document.timeline.annotationTrack.regions;
    regions.reserve(annotations_->size());
    for (const auto& annotation : *annotations_) {
        regions.push_back(*annotation);
    }
    return document;
}

} // namespace tavrin
