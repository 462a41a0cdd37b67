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

void encode(Json& json, const BrandKitPreset& value) {
    JsonObjectWriter(json)
        .put("id", value.id)
        .put("name", value.name)
        .put("cursorStyle", value.cursorStyle)
        .put("typingStyle", value.typingStyle)
        .put("framingStyle", value.framingStyle)
        .put("watermarkStyle", value.watermarkStyle)
        .put("createdAt", value.createdAt)
        .put("updatedAt", value.updatedAt)
        .put("author", value.author);
}

void decode(const Json& json, BrandKitPreset& value) {
    const JsonObject object(json);
    object.required("id", value.id);
    object.required("name", value.name);
    object.required("cursorStyle", value.cursorStyle);
    object.required("typingStyle", value.typingStyle);
    object.required("framingStyle", value.framingStyle);
    object.required("watermarkStyle", value.watermarkStyle);
    object.required("createdAt", value.createdAt);
    object.required("updatedAt", value.updatedAt);
    object.required("author", value.author);
}

} // namespace tavrin
