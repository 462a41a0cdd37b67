#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "TavrinKit/Project/Events.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// What the user did.
struct LiveInputEventKind {
    struct Clicked {
        int button; ///< 0 left, 1 right, 2 any other

        friend bool operator==(const Clicked&, const Clicked&) = default;
    };
    struct KeyPressed {
        std::string text;
        std::vector<KeyModifier> modifiers;
        KeyEventContentKind contentKind;
        bool isRepeat;

        friend bool operator==(const KeyPressed&, const KeyPressed&) = default;
    };
    struct Moved {
        friend bool operator==(const Moved&, const Moved&) = default;
    };
    struct Dragged {
        friend bool operator==(const Dragged&, const Dragged&) = default;
    };

    std::variant<Moved, Clicked, Dragged, KeyPressed> value;

    friend bool operator==(const LiveInputEventKind&, const LiveInputEventKind&) = default;
};

/// One input event, as it happened.
struct LiveInputEventSample {
    double timestamp = 0; ///< host clock
    Vec2 location;        ///< of the pointer: global points, y upward
    LiveInputEventKind kind;

    friend bool operator==(const LiveInputEventSample&, const LiveInputEventSample&) = default;
};

/// Watches the user's mouse and keyboard, whichever application the events are meant for.
///
/// `start` and `stop` are called by one thread at a time.
class LiveInputEventMonitoring {
public:
    using Handler = std::function<void(const LiveInputEventSample&)>;

    virtual ~LiveInputEventMonitoring() = default;

    /// @param handler  called for each event in order, on a thread of the monitor's choice; must neither
    ///                 block nor call back into the monitor
    /// @throws Error of the platform when it can't be watched
    virtual void start(Handler handler) = 0;

    /// When this returns no call of the handler is in flight and none will follow. Harmless when not started.
    virtual void stop() = 0;
};

} // namespace tavrin
