#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Takes down the events of a take as they come: positions on the screen, times of the host clock.
///
/// Outside of a take events are dropped without a sound. Any thread; a call costs one append.
class InputEventRecorder {
public:
    /// Begins a take with an empty timeline.
    void start();

    /// Ends the take and returns what it gathered, which stays as it is until the next start.
    EventTimeline stop();

    [[nodiscard]] bool isRecording() const;

    void recordMove(double time, Vec2 location);
    void recordDrag(double time, Vec2 location);
    void recordClick(double time, Vec2 location, int button);
    /// Keeps the normalised event only; one without text is dropped.
    void recordKey(double time, std::string_view displayText, const std::vector<KeyModifier>& modifiers,
                   KeyEventContentKind contentKind, bool isRepeat);
    void recordCursorState(double time, Vec2 location, bool visible, const CursorAppearance& appearance);

private:
    struct State {
        EventTimeline timeline;
        bool isRecording = false;
    };

    template <typename Event>
    void append(Event event);

    Guarded<State> state_;
};

} // namespace tavrin
