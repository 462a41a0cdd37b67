#pragma once

#include <array>
#include <cstddef>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin::demo {

enum class Button { newTask, save, share, markDone, assign };
inline constexpr std::array allButtons{Button::newTask, Button::save, Button::share, Button::markDone,
                                       Button::assign};

enum class Field { none, search, notes };

/// Where everything lies in the demo's window: pixels, y downward, from the window's top left corner.
///
/// The scene hits, the painter draws and the script aims by the same numbers.
namespace DemoLayout {

inline constexpr double width = 1440;
inline constexpr double height = 860;
inline constexpr double cornerRadius = 14;
inline constexpr double titleBarHeight = 48;
inline constexpr double toolbarBottom = 120;
inline constexpr double listWidth = 528;
inline constexpr double firstRow = 178;
inline constexpr double rowHeight = 78;
inline constexpr std::size_t visibleRows = 8;

inline constexpr Rect window{0, 0, width, height};
inline constexpr Rect titleBar{0, 0, width, titleBarHeight};
inline constexpr Rect toolbar{0, titleBarHeight, width, toolbarBottom - titleBarHeight};
inline constexpr Rect list{0, toolbarBottom, listWidth, height - toolbarBottom};
inline constexpr Rect detail{listWidth, toolbarBottom, width - listWidth, height - toolbarBottom};
inline constexpr Rect slider{listWidth + 34, 494, 734, 40};
inline constexpr Rect chart{listWidth + 48, 596, 816, 138};
inline constexpr Rect toast{listWidth + 48, 766, 328, 56};

[[nodiscard]] constexpr Rect button(Button which) {
    switch (which) {
    case Button::newTask:
        return {24, 64, 134, 40};
    case Button::save:
        return {170, 64, 96, 40};
    case Button::share:
        return {278, 64, 100, 40};
    case Button::markDone:
        return {1112, 772, 150, 44};
    case Button::assign:
        return {940, 772, 160, 44};
    }
    return {};
}

[[nodiscard]] constexpr Rect field(Field which) {
    switch (which) {
    case Field::search:
        return {1056, 64, 360, 40};
    case Field::notes:
        return {listWidth + 48, 266, 816, 170};
    case Field::none:
        break;
    }
    return {};
}

/// @param slot  0 for the topmost row; a fraction while a row is on its way
[[nodiscard]] constexpr Rect row(double slot) {
    return {12, firstRow + slot * rowHeight, listWidth - 24, rowHeight - 6};
}

[[nodiscard]] constexpr Rect checkbox(const Rect& row) {
    return {row.x + 18, row.y + 22, 28, 28};
}

/// The handle of the slider. @param value  0...1
[[nodiscard]] constexpr Vec2 sliderHandle(double value) {
    return {slider.x + 14 + value * (slider.width - 28), slider.y + slider.height / 2};
}

} // namespace DemoLayout
} // namespace tavrin::demo
