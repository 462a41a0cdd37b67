#pragma once

#include <string>
#include <string_view>

#include "TavrinKit/Project/TimelineModel.h"
#include "TavrinKit/Support/Date.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// A saved look: the four styles that make recordings by one user or company look alike.
/// All keys are required in JSON.
struct BrandKitPreset {
    UUID id = UUID::make();
    std::string name;
    CursorStyle cursorStyle{};
    TypingStyle typingStyle{};
    FramingStyle framingStyle{};
    WatermarkStyle watermarkStyle{};
    Date createdAt{};
    Date updatedAt{}; ///< not before `createdAt`
    std::string author = "local";

    /// A new kit with the timeline's four styles.
    [[nodiscard]] static BrandKitPreset from(const TimelineModel& timeline, const std::string& name,
                                             const std::string& author, Date now);

    /// Without white space at its ends; "Untitled Brand Kit" if nothing is left.
    [[nodiscard]] static std::string normalizedName(std::string_view name);

    [[nodiscard]] BrandKitPreset normalized() const;

    /// The timeline with the four styles in place of its own. All else stays.
    [[nodiscard]] TimelineModel applying(TimelineModel timeline) const;

    friend bool operator==(const BrandKitPreset&, const BrandKitPreset&) = default;
};

template <>
struct JsonRecord<BrandKitPreset> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("name", value.name);
        keys.required("cursorStyle", value.cursorStyle);
        keys.required("typingStyle", value.typingStyle);
        keys.required("framingStyle", value.framingStyle);
        keys.required("watermarkStyle", value.watermarkStyle);
        keys.required("createdAt", value.createdAt);
        keys.required("updatedAt", value.updatedAt);
        keys.required("author", value.author);
    }
};

} // namespace tavrin
