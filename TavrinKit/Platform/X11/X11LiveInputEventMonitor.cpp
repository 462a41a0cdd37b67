#include "TavrinKit/Platform/X11/X11LiveInputEventMonitor.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "TavrinKit/Platform/X11/LiveKeyMapping.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11DisplayLayout.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11Event.h"
#include "TavrinKit/Platform/X11/X11Keyboard.h"
#include "TavrinKit/Platform/X11/X11LayoutEvents.h"
#include "TavrinKit/Platform/X11/X11WatchThread.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

using Clock = StopSignal::Clock;

constexpr const char* purpose = "watching the mouse and the keyboard";
constexpr int mostCoreButtons = 5; // those that the state of the pointer tells

bool isWheel(int button) {
    return button >= 4 && button <= 7;
}

/// 0 left, 1 right, 2 any other.
int clickedButton(int button) {
    return button == 1 ? 0 : button == 3 ? 1 : 2;
}

} // namespace

class X11LiveInputEventMonitor::Watch {
public:
    Watch(const Settings& settings, Handler handler)
        : settings_(settings), handler_(std::move(handler)), connection_(settings.displayName),
          keyboard_(connection_) {
        inputOpcode_ = connection_.requireInput2(purpose);
        selectEvents();
        layout_ = X11DisplayLayout::of(connection_);
        readButtonMapping();
        readHeldButtons();
        thread_.emplace(connection_, "TavrinKit.X11LiveInputEventMonitor",
                        [this](const StopSignal& stop) { run(stop); });
    }

private:
    struct HeldKey {
        std::uint32_t keycode;
        Clock::time_point nextRepetition;
        Clock::duration interval;
    };

    void selectEvents() const {
        struct {
            xcb_input_event_mask_t head;
            std::uint32_t events;
        } const mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                     XCB_INPUT_XI_EVENT_MASK_RAW_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                         XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
                         XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
        xcb_connection_t* xcb = connection_.xcb();
        const auto cookie = xcb_input_xi_select_events_checked(xcb, connection_.root(), 1, &mask.head);
        const X11Owned<xcb_generic_error_t> error(xcb_request_check(xcb, cookie));
        connection_.throwIfBroken();
        if (error) {
            throw X11Error::requestFailed(purpose, error->error_code);
        }
    }

    void run(const StopSignal& stop) {
        while (!stop.isRequested()) {
            readEvents();
            // Each of these asks the server, and may find that events came before the answer.
            if (!tellMoveWhenDue() && !repeatKeyWhenDue()) {
                stop.waitFor(connection_.fileDescriptor(), nextMoment());
            }
        }
    }

    void readEvents() {
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.xcb())}) {
            const int type = typeOf(*event);
            if (keyboard_.handle(event.get())) {
                continue;
            }
            if (type == XCB_GE_GENERIC) {
                handleInput(*reinterpret_cast<const xcb_ge_generic_event_t*>(event.get()));
            } else if (type == XCB_MAPPING_NOTIFY) {
                readButtonMapping();
            } else if (layoutEvents_.include(*event)) {
                layout_ = X11DisplayLayout::of(connection_);
            }
        }
        connection_.throwIfBroken();
    }

    void handleInput(const xcb_ge_generic_event_t& event) {
        if (event.extension != inputOpcode_) {
            return;
        }
        if (event.event_type == XCB_INPUT_RAW_MOTION) {
            hasMoved_ = true;
            return;
        }
        tellMove(); // What comes next happened behind it.
        const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        switch (event.event_type) {
        case XCB_INPUT_RAW_BUTTON_PRESS:
            pressButton(mappedButton(raw.detail));
            break;
        case XCB_INPUT_RAW_BUTTON_RELEASE:
            heldButtons_.erase(mappedButton(raw.detail));
            break;
        case XCB_INPUT_RAW_KEY_PRESS:
            pressKey(raw.detail, (raw.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0);
            break;
        case XCB_INPUT_RAW_KEY_RELEASE:
            if (heldKey_ && heldKey_->keycode == raw.detail) {
                heldKey_.reset();
            }
            break;
        default:
            break;
        }
    }

    void pressButton(int button) {
        if (button == 0 || isWheel(button)) {
            return;
        }
        heldButtons_.insert(button);
        tell({LiveInputEventKind::Clicked{clickedButton(button)}});
    }

    void pressKey(std::uint32_t keycode, bool isRepeat) {
        if (const auto kind = mapKey(keyboard_.interpret(keycode, isRepeat))) {
            tell(*kind);
        }
        if (const auto repetition = keyboard_.repetition(keycode)) {
            heldKey_ = HeldKey{keycode, Clock::now() + repetition->delay, repetition->interval};
        }
    }

    bool repeatKeyWhenDue() {
        const Clock::time_point now = Clock::now();
        if (!heldKey_ || now < heldKey_->nextRepetition) {
            return false;
        }
        heldKey_->nextRepetition = std::max(heldKey_->nextRepetition + heldKey_->interval, now);
        if (const auto kind = mapKey(keyboard_.interpret(heldKey_->keycode, true))) {
            tell(*kind);
        }
        return true;
    }

    bool tellMoveWhenDue() {
        const bool isDue = hasMoved_ && Clock::now() >= nextMove_;
        if (isDue) {
            tellMove();
        }
        return isDue;
    }

    void tellMove() {
        if (!std::exchange(hasMoved_, false)) {
            return;
        }
        nextMove_ = Clock::now() + settings_.minimumMoveInterval;
        if (heldButtons_.empty()) {
            tell({LiveInputEventKind::Moved{}});
        } else {
            tell({LiveInputEventKind::Dragged{}});
        }
    }

    void tell(LiveInputEventKind kind) {
        const double now = HostClock::now();
        if (const auto pointer = queryPointer()) {
            handler_({now, layout_.globalPoint(pointer->root_x, pointer->root_y), std::move(kind)});
        }
    }

    [[nodiscard]] X11Owned<xcb_query_pointer_reply_t> queryPointer() const {
        xcb_connection_t* xcb = connection_.xcb();
        X11Owned<xcb_query_pointer_reply_t> reply(
            xcb_query_pointer_reply(xcb, xcb_query_pointer(xcb, connection_.root()), nullptr));
        connection_.throwIfBroken();
        return reply;
    }

    [[nodiscard]] std::optional<Clock::time_point> nextMoment() const {
        std::optional<Clock::time_point> next;
        if (hasMoved_) {
            next = nextMove_;
        }
        if (heldKey_) {
            next = next ? std::min(*next, heldKey_->nextRepetition) : heldKey_->nextRepetition;
        }
        return next;
    }

    [[nodiscard]] int mappedButton(std::uint32_t physical) const {
        return physical >= 1 && physical <= buttonMapping_.size() ? buttonMapping_[physical - 1]
                                                                  : int(physical);
    }

    void readButtonMapping() {
        xcb_connection_t* xcb = connection_.xcb();
        const X11Owned<xcb_get_pointer_mapping_reply_t> reply(
            xcb_get_pointer_mapping_reply(xcb, xcb_get_pointer_mapping(xcb), nullptr));
        if (reply) {
            const std::uint8_t* map = xcb_get_pointer_mapping_map(reply.get());
            buttonMapping_.assign(map, map + xcb_get_pointer_mapping_map_length(reply.get()));
        }
    }

    void readHeldButtons() {
        const auto pointer = queryPointer();
        for (int button = 1; pointer && button <= mostCoreButtons; ++button) {
            if (!isWheel(button) && (pointer->mask & (XCB_BUTTON_MASK_1 << (button - 1))) != 0) {
                heldButtons_.insert(button);
            }
        }
    }

    const Settings& settings_;
    const Handler handler_;
    const X11Connection connection_;
    const X11LayoutEvents layoutEvents_{connection_, purpose};

    // The constructor's, then the thread's.
    X11Keyboard keyboard_;
    X11DisplayLayout layout_;
    std::vector<std::uint8_t> buttonMapping_; ///< from physical to logical buttons, both from 1
    std::set<int> heldButtons_;
    std::optional<HeldKey> heldKey_; ///< the one that repeats
    bool hasMoved_ = false;
    Clock::time_point nextMove_{};
    std::uint8_t inputOpcode_ = 0;

    std::optional<X11WatchThread> thread_; ///< goes first
};

X11LiveInputEventMonitor::X11LiveInputEventMonitor() : X11LiveInputEventMonitor(Settings{}) {}

X11LiveInputEventMonitor::X11LiveInputEventMonitor(Settings settings) : settings_(std::move(settings)) {}

X11LiveInputEventMonitor::~X11LiveInputEventMonitor() = default;

void X11LiveInputEventMonitor::start(Handler handler) {
    stop();
    watch_ = std::make_unique<Watch>(settings_, std::move(handler));
}

void X11LiveInputEventMonitor::stop() {
    watch_.reset();
}

} // namespace tavrin
