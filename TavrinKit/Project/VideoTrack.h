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
///
/// Its edits keep two promises: the clips are in order, and no two clips of a lane overlap. Times are snapped
/// to the frames of the project's frame rate `fps`; a rate below 1 counts as 1, one that is not finite as 60.
/// No piece becomes shorter than a frame. The ranges that they make are normalised like every ClipTimeRange.
///
/// An edit that can't be made throws before it changes anything. `overlapDetected` is the exception: it says
/// that clips overlap after the edit, which has been made. Clips that overlapped when the track was read are
/// found so at the first edit.
struct VideoTrack {
    std::vector<TimelineClip> clips{};
    std::vector<TakeGroup> takeGroups{};

    [[nodiscard]] VideoTrack normalized() const;
    void normalizeClipOrder();

    /// @throws VideoTrackEditError::overlapDetected for the lowest lane on which a clip starts more than a
    ///         tenth of a millisecond before the end of the one in front of it
    void assertNoOverlap() const;

    /// Makes two clips of one; the left piece keeps the id. Both play what the clip played there, by the
    /// lengths on the timeline: what the source range had beyond them is lost.
    ///
    /// @throws VideoTrackEditError  clipNotFound; overlapDetected; splitTimeOutOfRange unless more than a
    ///                              frame stays on either side
    void splitClip(const UUID& clipID, double time, double fps);

    /// Cuts off the clip's beginning; a time before its start cuts off nothing.
    /// @throws VideoTrackEditError  clipNotFound; overlapDetected
    void trimClipIn(const UUID& clipID, double time, double fps);

    /// Cuts off the clip's end; a time behind its end cuts off nothing.
    /// @throws VideoTrackEditError  clipNotFound; overlapDetected
    void trimClipOut(const UUID& clipID, double time, double fps);

    /// Removes the clip and its take groups, and moves everything behind it, on all lanes, up by its length.
    /// @throws VideoTrackEditError  clipNotFound; overlapDetected
    void rippleDelete(const UUID& clipID, double fps);

    /// Marks a take of the group as on trial. Clips don't change.
    /// @throws VideoTrackEditError  takeGroupNotFound; takeNotFound
    void previewTake(const UUID& groupID, const UUID& takeID);

    /// @throws VideoTrackEditError  takeGroupNotFound
    void revertPreviewTake(const UUID& groupID);

    /// Lets the group's clip play the take on trial, from that take's start and as long as the clip stands on
    /// the timeline, even where the take is shorter. Does nothing without a take on trial.
    /// @throws VideoTrackEditError  takeGroupNotFound; takeNotFound; clipNotFound; overlapDetected
    void commitPreviewTake(const UUID& groupID);

    friend bool operator==(const VideoTrack&, const VideoTrack&) = default;
};

template <>
struct JsonRecord<TimelineClip> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("sourceID", value.sourceID);
        keys.required("sourceRange", value.sourceRange);
        keys.required("timelineRange", value.timelineRange);
        keys.required("lane", value.lane);
        keys.tolerated("takeGroupID", value.takeGroupID);
    }
};

template <>
struct JsonRecord<ClipTake> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("sourceID", value.sourceID);
        keys.required("sourceRange", value.sourceRange);
        keys.required("label", value.label);
    }
};

template <>
struct JsonRecord<TakeGroup> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("clipID", value.clipID);
        keys.required("takes", value.takes);
        keys.required("committedTakeID", value.committedTakeID);
        keys.tolerated("previewTakeID", value.previewTakeID);
    }
};

template <>
struct JsonRecord<VideoTrack> {
    static void fields(auto& keys, auto& value) {
        keys.required("clips", value.clips);
        keys.required("takeGroups", value.takeGroups);
    }
};

} // namespace tavrin
