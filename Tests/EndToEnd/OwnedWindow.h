#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <xcb/xcb.h>

#include "Fixtures/Child.h"
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
    ~OwnedWindow();
    OwnedWindow(const OwnedWindow&) = delete;
    OwnedWindow& operator=(const OwnedWindow&) = delete;

    [[nodiscard]] std::uint32_t id() const { return client_; }
    void moveTo(int x, int y);
    void resize(PixelSize size);
    void close() { owner_.signal(9); }

    /// Lays an orange window over a part of the screen, or takes it away.
    void cover(int x, int y, PixelSize size);
    void uncover();

    /// What it must look like with its frame, but for the square: bgra8.
    [[nodiscard]] static PixelBuffer picture(PixelSize size);
    static constexpr int squareSide = 48;

private:
    std::uint32_t makeWindow(int x, int y, PixelSize size, std::uint32_t colour);
    void sync() const;

    Child owner_;
    xcb_connection_t* connection_;
    std::uint32_t root_ = 0;
    std::uint32_t client_ = 0;
    std::uint32_t frame_ = 0;
    std::uint32_t cover_ = 0;
};

} // namespace tavrin::test
