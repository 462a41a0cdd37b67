#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "TavrinKit/Platform/X11/LiveKeyMapping.h"

struct xkb_keymap;

namespace tavrin {

class X11Connection;

/// The keyboard's layout and the state of its modifiers, kept up to date from the server's events.
///
/// One thread at a time: that which reads the events of the connection.
class X11Keyboard {
public:
    /// @param connection  outlives the object
    /// @throws X11Error when the server has no XKEYBOARD extension
    explicit X11Keyboard(const X11Connection& connection);
    ~X11Keyboard();
    X11Keyboard(const X11Keyboard&) = delete;
    X11Keyboard& operator=(const X11Keyboard&) = delete;

    /// Takes in an event that changes the layout or the state.
    /// @param event  an xcb_generic_event_t
    /// @return whether it was such an event
    bool handle(const void* event);

    /// Takes in all that happened until now; drops the connection's other events.
    void followChanges();

    /// Explains a press, and goes one step on in the composition of a character (a dead key and what
    /// follows it).
    /// @param keycode  the X server's
    [[nodiscard]] LiveKeyPress interpret(std::uint32_t keycode, bool isRepeat);

    /// How the server repeats this key while it is held; nothing when it doesn't.
    struct Repetition {
        std::chrono::milliseconds delay;    ///< from the press to the first repetition
        std::chrono::milliseconds interval; ///< from one to the next
    };
    [[nodiscard]] std::optional<Repetition> repetition(std::uint32_t keycode) const;

    [[nodiscard]] xkb_keymap* keymap() const;
    /// The index of the layout in use.
    [[nodiscard]] std::uint32_t layout() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
