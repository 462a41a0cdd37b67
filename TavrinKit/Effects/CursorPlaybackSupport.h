#pragma once

#include <optional>

#include "TavrinKit/Effects/CursorFrameState.h"

namespace tavrin {

class EventTimeline;
struct ZoomTrack;

/// The rules that stand between a frame and its cursor, the same for a preview and an export. Pure.
struct CursorPlaybackSupport {
    /// What is the same for all frames of a take.
    struct Playback {
        double duration = 0;                  ///< seconds, of what is being played
        std::optional<double> lastActivity{}; ///< what `lastActivityTime` says of the events
        bool sourceEmbedsCursor = false;      ///< the recording shows a cursor of its own
    };

    /// The cursor of a frame, by all the rules below: evaluated on its own clock, taken away during zooms,
    /// and without a body where the recording shows one.
    ///
    /// @param frameTime  seconds, any value
    [[nodiscard]] static CursorFrameState frameState(double frameTime, const EventTimeline& events,
                                                     const CursorStyle& style, const ZoomTrack& track,
                                                     const Playback& playback);

    /// The time of the last mouse event or cursor state, whichever is later; nothing for a take without both.
    [[nodiscard]] static std::optional<double> lastActivityTime(const EventTimeline& events);

    /// The time at which a frame's cursor is evaluated: the frame's own, until the style's end behaviour
    /// freezes it at the last activity or replays the last stretch of activity in a loop.
    ///
    /// @param frameTime     seconds; held to 0...duration first
    /// @param duration      seconds, of what is being played
    /// @param lastActivity  what `lastActivityTime` says of the events
    [[nodiscard]] static double cursorTime(double frameTime, double duration,
                                           std::optional<double> lastActivity, const CursorStyle& style);
};

} // namespace tavrin
