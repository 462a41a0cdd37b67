#pragma once

#include "TavrinKit/Effects/CursorRenderer.h"

namespace tavrin::test {

/// What a cursor looks like, worked out by walking all events of the take and keeping lists of what counts.
[[nodiscard]] CursorFrameState plainCursor(double time, const EventTimeline& events,
                                           const CursorStyle& style);

} // namespace tavrin::test
