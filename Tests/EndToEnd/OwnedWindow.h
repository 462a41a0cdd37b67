#pragma once

#include <cstdint>
#include <string>

#include "Fixtures/Child.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin::test {

/// Owns a window, repaints it when the server asks for it, and lets a square in its middle flicker; until its
/// end. What a test's second process does. @return what `main` returns
int ownWindow(const char* display, PixelSize size);

/// A window of a second process in a frame, managed as a window manager does.
class OwnedWindow {
public:
    static constexpr int left = 5;
    static constexpr int right = 5;
    static constexpr int top = 24;
    static constexpr int bottom = 6;

    /// @param size  without the frame
    OwnedWindow(const std::string& display, int x, int y, PixelSize size);

    [[nodiscard]] std::uint32_t id() const { return client_; }
    void moveTo(int x, int y);
    void resize(PixelSize size);
    void close() { owner_.signal(9); }

    /// What it must look like with its frame, but for the square: bgra8.
    [[nodiscard]] static PixelBuffer picture(PixelSize size);
    static constexpr int squareSide = 48;

private:
    Child owner_;
    const X11Connection connection_;
    const std::uint32_t client_;
    const std::uint32_t frame_;
};

} // namespace tavrin::test
