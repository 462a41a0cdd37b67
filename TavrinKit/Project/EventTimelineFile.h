#pragma once

#include <string>
#include <string_view>

#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Support/JsonReader.h"
#include "TavrinKit/Support/JsonWriter.h"

namespace tavrin {

// The events of a take as JSON. An hour of them is some hundred megabytes of text, so it is read and written
// as a stream: a document tree is never built, and each cursor image is kept once however often the text
// repeats it.

/// Reads a document with the keys `mouseEvents`, `keyEvents` and `cursorStates`; a missing one is an empty
/// list, inside the events only a mouse event's `button` may be missing.
/// @throws JsonError
[[nodiscard]] EventTimeline readEventTimeline(JsonReader& reader);

/// @throws JsonError for text that is not UTF-8
void writeEventTimeline(JsonWriter& writer, const EventTimeline& timeline);

/// The same for a whole text in memory.
[[nodiscard]] EventTimeline decodeEventTimeline(std::string_view text);
[[nodiscard]] std::string encodeEventTimeline(const EventTimeline& timeline);

} // namespace tavrin
