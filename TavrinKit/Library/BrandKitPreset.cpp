#include "TavrinKit/Library/BrandKitPreset.h"

#include <algorithm>
#include <utility>

#include "TavrinKit/Support/Text.h"

namespace tavrin {

BrandKitPreset BrandKitPreset::from(const TimelineModel& timeline, const std::string& name,
                                    const std::string& author, Date now) {
    return BrandKitPreset{.name = name,
                          .cursorStyle = timeline.cursorTrack.style,
                          .typingStyle = timeline.typingTrack.style,
                          .framingStyle = timeline.framingTrack.style,
                          .watermarkStyle = timeline.watermarkTrack.style,
                          .createdAt = now,
                          .updatedAt = now,
                          .author = author}
        .normalized();
}

std::string BrandKitPreset::normalizedName(std::string_view name) {
    std::string bare = trimmed(name);
    return bare.empty() ? "Untitled Brand Kit" : bare;
}

BrandKitPreset BrandKitPreset::normalized() const {
    BrandKitPreset result = *this;
    result.name = normalizedName(name);
    result.updatedAt = std::max(updatedAt, createdAt);
    result.author = trimmed(author);
    if (result.author.empty()) {
        result.author = "local";
    }
    return result;
}

TimelineModel BrandKitPreset::applying(TimelineModel timeline) const {
    timeline.cursorTrack.style = cursorStyle;
    timeline.typingTrack.style = typingStyle;
    timeline.framingTrack.style = framingStyle;
    timeline.watermarkTrack.style = watermarkStyle;
    return timeline;
}

} // namespace tavrin
