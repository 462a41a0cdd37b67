#pragma once

#include <vector>

#include "TavrinKit/Project/Events.h"

namespace tavrin {

/// The record of every mouse, key and cursor event of a take; all effects follow from it.
///
/// Always in order: each list is sorted by timestamp, events of one time in the order in which they came.
/// Always usable: events with a time or place that is not finite, key events whose text is empty or has 25
/// characters or more, and cursor states whose appearance can't be drawn are dropped in silence.
/// EventTimelineFile.h reads and writes it.
class EventTimeline {
public:
    EventTimeline() = default;
    explicit EventTimeline(std::vector<MouseEvent> mouseEvents, std::vector<KeyEvent> keyEvents = {},
                           std::vector<CursorStateEvent> cursorStates = {});

    [[nodiscard]] const std::vector<MouseEvent>& mouseEvents() const { return mouseEvents_; }
    [[nodiscard]] const std::vector<KeyEvent>& keyEvents() const { return keyEvents_; }
    [[nodiscard]] const std::vector<CursorStateEvent>& cursorStates() const { return cursorStates_; }

    [[nodiscard]] bool isEmpty() const {
        return mouseEvents_.empty() && keyEvents_.empty() && cursorStates_.empty();
    }

    /// Cheap for an event that is the latest so far; an earlier one goes to its place, behind its equals.
    void append(MouseEvent event);
    void append(KeyEvent event);
    void append(CursorStateEvent event);

    friend bool operator==(const EventTimeline&, const EventTimeline&) = default;

private:
    std::vector<MouseEvent> mouseEvents_;
    std::vector<KeyEvent> keyEvents_;
    std::vector<CursorStateEvent> cursorStates_;
};

} // namespace tavrin
