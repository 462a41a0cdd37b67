#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// A stretch of a source on a lane of the timeline. All keys but `takeGroupID` are required in JSON.
struct TimelineClip {
    UUID id = UUID::make();
    std::string sourceID{};
    ClipTimeRange sourceRange{};
    ClipTimeRange timelineRange{};
    std::int64_t lane = 0; ///< at least 0
    std::optional<UUID> takeGroupID{};

    [[nodiscard]] double duration() const { return timelineRange.duration(); }
    [[nodiscard]] TimelineClip normalized() const;

    friend bool operator==(const TimelineClip&, const TimelineClip&) = default;
};

/// One of several stretches of source that a clip can play. All keys are required in JSON.
struct ClipTake {
    UUID id = UUID::make();
    std::string sourceID{};
    ClipTimeRange sourceRange{};
    std::string label{};

    friend bool operator==(const ClipTake&, const ClipTake&) = default;
};

/// The takes of a clip. All keys but `previewTakeID` are required in JSON.
struct TakeGroup {
    UUID id = UUID::make();
    UUID clipID{};
    std::vector<ClipTake> takes{};
    UUID committedTakeID{};
    std::optional<UUID> previewTakeID{};

    /// The take on trial if there is one, else the committed one.
    [[nodiscard]] UUID activeTakeID() const { return previewTakeID.value_or(committedTakeID); }

    friend bool operator==(const TakeGroup&, const TakeGroup&) = default;
};

/// The clips of an edit, by lane, then start, then id, and their takes. Both keys are required in JSON.
struct VideoTrack {
    std::vector<TimelineClip> clips{};
    std::vector<TakeGroup> takeGroups{};

    [[nodiscard]] VideoTrack normalized() const;
    void normalizeClipOrder();

    friend bool operator==(const VideoTrack&, const VideoTrack&) = default;
};

void encode(Json& json, const TimelineClip& value);
void encode(Json& json, const ClipTake& value);
void encode(Json& json, const TakeGroup& value);
void encode(Json& json, const VideoTrack& value);
void decode(const Json& json, TimelineClip& value);
void decode(const Json& json, ClipTake& value);
void decode(const Json& json, TakeGroup& value);
void decode(const Json& json, VideoTrack& value);

} // namespace tavrin
