#include <algorithm>
#include <cmath>

#include "FuzzTargets.h"
#include "TavrinKit/Project/EventTimelineFile.h"

namespace tavrin::fuzz {

namespace {

std::optional<EventTimeline> eventsFrom(JsonReader reader) {
    try {
        return readEventTimeline(reader);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

/// A reader that gets its text in pieces of some odd sizes.
JsonReader piecemeal(std::string_view text) {
    return JsonReader([text, round = std::size_t(0)](char* buffer, std::size_t size) mutable {
        const std::size_t count = std::min({size, text.size(), 1 + round++ * 7 % 23});
        std::copy_n(text.data(), count, buffer);
        text.remove_prefix(count);
        return count;
    });
}

void requireOrder(const auto& events) {
    require(std::ranges::is_sorted(events, {}, [](const auto& event) { return event.timestamp; }),
            "events are in order");
    require(std::ranges::all_of(events, [](const auto& event) { return std::isfinite(event.timestamp); }),
            "times are finite");
}

} // namespace

void fuzzEvents(std::string_view input) {
    const std::optional<EventTimeline> events = eventsFrom(JsonReader(input));
    require(events == eventsFrom(piecemeal(input)), "the pieces that a text comes in make no difference");
    if (!events) {
        return;
    }
    require(Json::accept(input), "the grammar is no looser than another parser's");
    requireOrder(events->mouseEvents());
    requireOrder(events->keyEvents());
    requireOrder(events->cursorStates());
    require(decodeEventTimeline(encodeEventTimeline(*events)) == *events,
            "what was written reads as the same");
}

} // namespace tavrin::fuzz
