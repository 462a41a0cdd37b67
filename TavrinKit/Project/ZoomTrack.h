#pragma once

#include <optional>
#include <vector>

#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

enum class ZoomMode { automatic /* "auto" in JSON */, manual };
enum class ZoomTransitionStyle { gentle, smooth, snappy };

/// The camera stays on one focus for a while. Any key may be missing in JSON, and the decoder normalises.
struct ZoomSegment {
    UUID id = UUID::make();
    double startTime = 0;
    double endTime = 0; ///< at least `startTime`
    Vec2 focus{};       ///< a fraction of the picture when both are in 0...1, else pixels; y upward
    double scale = 1;   ///< at least 1
    bool enabled = true;
    ZoomMode mode = ZoomMode::automatic;
    ZoomTransitionStyle transitionStyle = ZoomTransitionStyle::smooth;

    [[nodiscard]] double duration() const { return endTime - startTime; }
    [[nodiscard]] ZoomSegment normalized() const;

    friend bool operator==(const ZoomSegment&, const ZoomSegment&) = default;
};

/// All zooms of an edit. The operations keep the segments sorted by start; those that name a segment which
/// isn't there do nothing.
struct ZoomTrack {
    std::vector<ZoomSegment> segments{};

    /// Sorted by start; segments of one start stay in their order.
    [[nodiscard]] ZoomTrack normalized() const;

    void add(ZoomSegment segment);

    /// A start below 0 becomes 0, an end below the start becomes the start. A start alone that passes the
    /// end takes the end along.
    void updateBounds(const UUID& segmentID, std::optional<double> start, std::optional<double> end);

    void setMode(const UUID& segmentID, ZoomMode mode);
    void setEnabled(const UUID& segmentID, bool enabled);
    void setTransitionStyle(const UUID& segmentID, ZoomTransitionStyle style);
    void remove(const UUID& segmentID);

    friend bool operator==(const ZoomTrack&, const ZoomTrack&) = default;
};

template <>
struct EnumNames<ZoomMode> {
    using enum ZoomMode;
    static constexpr auto names = namedCases<ZoomMode>({
        {automatic, "auto"},
        {manual, "manual"},
    });
};

template <>
struct EnumNames<ZoomTransitionStyle> {
    using enum ZoomTransitionStyle;
    static constexpr auto names = namedCases<ZoomTransitionStyle>({
        {gentle, "gentle"},
        {smooth, "smooth"},
        {snappy, "snappy"},
    });
};

template <>
struct JsonRecord<ZoomSegment> {
    static constexpr bool decoderNormalizes = true;
    static void fields(auto& keys, auto& value) {
        keys.tolerated("id", value.id);
        keys.tolerated("startTime", value.startTime);
        keys.tolerated("endTime", value.endTime);
        keys.tolerated("focus", value.focus);
        keys.tolerated("scale", value.scale);
        keys.tolerated("enabled", value.enabled);
        keys.tolerated("mode", value.mode);
        keys.tolerated("transitionStyle", value.transitionStyle);
    }
};

template <>
struct JsonRecord<ZoomTrack> {
    static void fields(auto& keys, auto& value) { keys.required("segments", value.segments); }
};

} // namespace tavrin
