#pragma once

#include "TavrinKit/Effects/CursorFrameState.h"
#include "TavrinKit/Project/EventTimeline.h"

namespace tavrin {

/// The cursor that is drawn in place of the recorded one: smoothed, steadied, with a glyph that tells what
/// the user is doing, a highlight around clicks, a trail, and a fade when it rests.
///
/// A pure function of the events, the style and the time: nothing is kept between calls, the smoothing is
/// replayed from a short window on every call, so that frames can be asked for in any order and on any
/// thread. The cost depends on the events within the last 1.5 seconds and not on the length of the take.
struct CursorRenderer {
    /// @param time    seconds on the take's clock; any value. Before the first event, as for a NaN, the
    ///                answer is that of a take without events.
    /// @param events  sorted by time, as every timeline is
    [[nodiscard]] static CursorFrameState frameState(double time, const EventTimeline& events,
                                                     const CursorStyle& style);
};

} // namespace tavrin
