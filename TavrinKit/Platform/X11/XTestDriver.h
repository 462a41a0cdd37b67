#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// Plays a user: moves the real pointer, presses real buttons and keys, through the XTEST extension.
///
/// Positions are those of the X server: pixels, y downward from the top left of the root window. Each call
/// returns when the server has taken the event, before clients have necessarily seen it. One thread at a
/// time.
class XTestDriver {
public:
    struct Position {
        int x = 0;
        int y = 0;

        friend bool operator==(const Position&, const Position&) = default;
    };
    enum class Button { left = 1, middle = 2, right = 3, wheelUp = 4, wheelDown = 5, back = 8, forward = 9 };

    /// @param displayName  empty: what DISPLAY says
    /// @throws X11Error
    explicit XTestDriver(const std::string& displayName = {});
    ~XTestDriver();
    XTestDriver(const XTestDriver&) = delete;
    XTestDriver& operator=(const XTestDriver&) = delete;

    void moveTo(int x, int y);
    [[nodiscard]] Position position() const;

    void press(Button button);
    void release(Button button);
    void click(Button button = Button::left);

    /// Names are those of the keysyms: "a", "Return", "Control_L", "Super_L", "adiaeresis".
    /// @throws X11Error keySymbolMissing
    void pressKey(std::string_view keysymName);
    void releaseKey(std::string_view keysymName);

    /// Presses and releases a key, with the modifier keys that its symbol needs on the current layout and
    /// those given held around it, as in `tapKey("c", {"Control_L"})`.
    /// @throws X11Error keySymbolMissing
    void tapKey(std::string_view keysymName, const std::vector<std::string>& modifiers = {});

    /// Types a text, one `tapKey` for each character; a newline is Return, a tab is Tab.
    /// @param utf8  only characters that the current layout has
    /// @throws X11Error keySymbolMissing
    void type(std::string_view utf8);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
