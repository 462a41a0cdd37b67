#include "TavrinKit/Project/EventTimeline.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

bool isUsable(const MouseEvent& event) {
    return std::isfinite(event.timestamp) && event.location.isFinite();
}

bool isUsable(const KeyEvent& event) {
    return std::isfinite(event.timestamp) && !event.displayText.empty() &&
           characterCount(event.displayText) <= KeyEvent::maximumTextLength;
}

bool isUsable(const CursorStateEvent& event) {
    return std::isfinite(event.timestamp) && event.location.isFinite() && event.appearance.isFinite();
}

template <typename Event>
bool isEarlier(const Event& a, const Event& b) {
    return a.timestamp < b.timestamp;
}

template <typename Event>
std::vector<Event> usableInOrder(std::vector<Event> events) {
    std::erase_if(events, [](const Event& event) { return !isUsable(event); });
    if (!std::ranges::is_sorted(events, isEarlier<Event>)) {
        std::ranges::stable_sort(events, isEarlier<Event>);
    }
    return events;
}

template <typename Event>
void insertInOrder(std::vector<Event>& events, Event event) {
    if (!isUsable(event)) {
        return;
    }
    if (events.empty() || events.back().timestamp <= event.timestamp) {
        events.push_back(std::move(event));
    } else {
        events.insert(std::ranges::upper_bound(events, event, isEarlier<Event>), std::move(event));
    }
}

} // namespace

EventTimeline::EventTimeline(std::vector<MouseEvent> mouseEvents, std::vector<KeyEvent> keyEvents,
                             std::vector<CursorStateEvent> cursorStates)
    : mouseEvents_(usableInOrder(std::move(mouseEvents))), keyEvents_(usableInOrder(std::move(keyEvents))),
      cursorStates_(usableInOrder(std::move(cursorStates))) {}

void EventTimeline::append(MouseEvent event) {
    insertInOrder(mouseEvents_, std::move(event));
}

void EventTimeline::append(KeyEvent event) {
    insertInOrder(keyEvents_, std::move(event));
}

void EventTimeline::append(CursorStateEvent event) {
    insertInOrder(cursorStates_, std::move(event));
}

} // namespace tavrin
