#include "TavrinKit/Capture/InputEventRecorder.h"

#include <utility>

namespace tavrin {

void InputEventRecorder::start() {
    EventTimeline previous; // let go of outside the lock
    state_.with([&](State& state) {
        std::swap(previous, state.timeline);
        state.isRecording = true;
    });
}

EventTimeline InputEventRecorder::stop() {
    return state_.with([](State& state) {
        state.isRecording = false;
        return state.timeline;
    });
}

bool InputEventRecorder::isRecording() const {
    return state_.with([](const State& state) { return state.isRecording; });
}

void InputEventRecorder::recordMove(double time, Vec2 location) {
    append(MouseEvent{time, location, MouseEventKind::moved, std::nullopt});
}

void InputEventRecorder::recordDrag(double time, Vec2 location) {
    append(MouseEvent{time, location, MouseEventKind::dragged, std::nullopt});
}

void InputEventRecorder::recordClick(double time, Vec2 location, int button) {
    append(MouseEvent{time, location, MouseEventKind::clicked, button});
}

void InputEventRecorder::recordKey(double time, std::string_view displayText,
                                   const std::vector<KeyModifier>& modifiers, KeyEventContentKind contentKind,
                                   bool isRepeat) {
    append(KeyEvent{time, std::string(displayText), modifiers, contentKind, isRepeat}.normalized());
}

void InputEventRecorder::recordCursorState(double time, Vec2 location, bool visible,
                                           const CursorAppearance& appearance) {
    append(CursorStateEvent{time, location, visible, appearance});
}

template <typename Event>
void InputEventRecorder::append(Event event) {
    state_.with([&](State& state) {
        if (state.isRecording) {
            state.timeline.append(std::move(event));
        }
    });
}

} // namespace tavrin
