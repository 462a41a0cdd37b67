#pragma once

#include "TavrinKit/Effects/TypingBursts.h"
#include "TavrinKit/Effects/TypingFrameState.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/TypingStyle.h"

namespace tavrin {

/// The row of chips that shows what is being typed: runs of text, named keys, shortcuts.
///
/// A pure function of the events, the style and the time: frames can be asked for in any order and on any
/// thread. The chips are those of the burst of keys that lasts until the asked time; the overlay lives on
/// for a while after the last of them and then fades.
struct TypingRenderer {
    /// The most characters that a chip of typed text shows: the last ones.
    static constexpr std::size_t maximumTextLength = 48;

    /// @param time  seconds on the take's clock; any value. Before the first key, as for a NaN, nothing
    /// shows.
    ///
    /// The cost follows the length of the burst. Whoever draws frame after frame of one take calls the other
    /// one.
    [[nodiscard]] static TypingFrameState frameState(double time, const EventTimeline& events,
                                                     const TypingStyle& style);

    /// The same, at a cost that follows what is to be seen and not the length of the burst.
    ///
    /// @param bursts  made of the key events of `events` and of the style's `burstGapSeconds`
    [[nodiscard]] static TypingFrameState frameState(double time, const EventTimeline& events,
                                                     const TypingStyle& style, const TypingBursts& bursts);
};

} // namespace tavrin
