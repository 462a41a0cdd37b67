#pragma once

#include <functional>

#include "TavrinKit/Project/CursorAppearance.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// What the pointer looked like, and where it was.
struct LiveCursorStateSample {
    double timestamp = 0; ///< host clock
    Vec2 location;        ///< global points, y upward
    bool visible = true;
    CursorAppearance appearance;

    friend bool operator==(const LiveCursorStateSample&, const LiveCursorStateSample&) = default;
};

/// Watches the pointer's looks.
///
/// `start` and `stop` are called by one thread at a time.
class LiveCursorStateMonitoring {
public:
    using Handler = std::function<void(const LiveCursorStateSample&)>;

    virtual ~LiveCursorStateMonitoring() = default;

    /// @param handler  called for each change in order, on a thread of the monitor's choice; must neither
    ///                 block nor call back into the monitor
    /// @throws Error of the platform when it can't be watched
    virtual void start(Handler handler) = 0;

    /// When this returns no call of the handler is in flight and none will follow. Harmless when not started.
    virtual void stop() = 0;
};

} // namespace tavrin
