#include "TavrinKit/Platform/X11/X11LiveCursorStateMonitor.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include "TavrinKit/Platform/X11/LiveCursorSignature.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11CursorAppearance.h"
#include "TavrinKit/Platform/X11/X11CursorImage.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Platform/X11/X11Event.h"
#include "TavrinKit/Platform/X11/X11LayoutEvents.h"
#include "TavrinKit/Platform/X11/X11WatchThread.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

/// More than any desktop shows in turn; an application that draws a new pointer for each frame starts anew.
constexpr std::size_t mostLooks = 256;

struct Looks {
    CursorAppearance appearance;
    bool isVisible = false;
};

} // namespace

class X11LiveCursorStateMonitor::Watch {
public:
    Watch(const Settings& settings, Handler handler)
        : interval_(settings.pollInterval), handler_(std::move(handler)), connection_(settings.displayName) {
        fixesEvent_ = connection_.requireFixes("watching the pointer's looks");
        xcb_xfixes_select_cursor_input(connection_.xcb(), connection_.root(),
                                       XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
        layout_ = X11DisplayLayout::of(connection_);
        thread_.emplace(connection_, "TavrinKit.X11LiveCursorStateMonitor",
                        [this](const StopSignal& stop) { run(stop); });
    }

private:
    void run(const StopSignal& stop) {
        bool force = true;
        while (!stop.isRequested()) {
            readEvents();
            emit(std::exchange(force, false));
            stop.waitUntil(StopSignal::Clock::now() + interval_);
        }
    }

    void readEvents() {
        bool hasLayoutChanged = false;
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.xcb())}) {
            hasCursorChanged_ = hasCursorChanged_ || typeOf(*event) == fixesEvent_ + XCB_XFIXES_CURSOR_NOTIFY;
            hasLayoutChanged = hasLayoutChanged || layoutEvents_.include(*event);
        }
        connection_.throwIfBroken();
        if (hasLayoutChanged) {
            layout_ = X11DisplayLayout::of(connection_);
        }
    }

    void emit(bool force) {
        if (const auto sample = currentSample(); sample && filter_.passes(*sample, force)) {
            handler_(*sample);
        }
    }

    /// Nothing while the server has no picture of the pointer.
    std::optional<LiveCursorStateSample> currentSample() {
        xcb_connection_t* xcb = connection_.xcb();
        const double now = HostClock::now();
        const X11Owned<xcb_query_pointer_reply_t> pointer(
            xcb_query_pointer_reply(xcb, xcb_query_pointer(xcb, connection_.root()), nullptr));
        connection_.throwIfBroken();
        if (hasCursorChanged_) {
            hasCursorChanged_ = false;
            looks_ = currentLooks();
        }
        if (!pointer || !looks_ || !looks_->appearance.isFinite()) {
            return std::nullopt;
        }
        return LiveCursorStateSample{now, layout_.globalPoint(pointer->root_x, pointer->root_y),
                                     looks_->isVisible && pointer->same_screen != 0, looks_->appearance};
    }

    std::optional<Looks> currentLooks() {
        const auto image = X11CursorImage::current(connection_);
        if (!image) {
            return std::nullopt;
        }
        const auto known = looksBySerial_.find(image->serial);
        if (known != looksBySerial_.end()) {
            return known->second;
        }
        if (looksBySerial_.size() >= mostLooks) {
            looksBySerial_.clear();
        }
        const Looks looks{cursorAppearance(*image), image->isVisible()};
        looksBySerial_.emplace(image->serial, looks);
        return looks;
    }

    const std::chrono::nanoseconds interval_;
    const Handler handler_;
    const X11Connection connection_;
    const X11LayoutEvents layoutEvents_{connection_, "watching the pointer's place"};

    // The constructor's, then the thread's.
    X11DisplayLayout layout_;
    std::uint8_t fixesEvent_ = 0;
    bool hasCursorChanged_ = true;
    std::optional<Looks> looks_;
    std::map<std::uint32_t, Looks> looksBySerial_;
    LiveCursorFilter filter_;

    std::optional<X11WatchThread> thread_; ///< goes first
};

X11LiveCursorStateMonitor::X11LiveCursorStateMonitor() : X11LiveCursorStateMonitor(Settings{}) {}

X11LiveCursorStateMonitor::X11LiveCursorStateMonitor(Settings settings) : settings_(std::move(settings)) {}

X11LiveCursorStateMonitor::~X11LiveCursorStateMonitor() = default;

void X11LiveCursorStateMonitor::start(Handler handler) {
    stop();
    watch_ = std::make_unique<Watch>(settings_, std::move(handler));
}

void X11LiveCursorStateMonitor::stop() {
    watch_.reset();
}

} // namespace tavrin
