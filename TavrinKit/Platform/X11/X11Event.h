#pragma once

#include <xcb/xcb.h>

namespace tavrin {

/// Bits of `response_type` that say what an event is; the other one is set when a program sent it.
constexpr int eventTypeBits = 0x7f;

[[nodiscard]] inline int typeOf(const xcb_generic_event_t& event) {
    return event.response_type & eventTypeBits;
}

/// An event as what its type says that it is.
template <typename Event>
[[nodiscard]] const Event& eventAs(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Event&>(event);
}

} // namespace tavrin
