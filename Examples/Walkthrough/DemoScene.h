#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Examples/Walkthrough/DemoLayout.h"

namespace tavrin::demo {

struct Task {
    std::string title;
    std::string place; ///< what stands below the title
    std::string tag;
    std::uint32_t tagColour = 0; ///< 0xRRGGBB
    double progress = 0;         ///< 0...1
    bool done = false;
    bool assigned = false;
    std::string notes;
    double slot = 0; ///< where its row is drawn; glides to its place in the list
};

enum class PointerShape { arrow, hand, text, grabbing };

/// What the demo's window shows and how it answers to input.
///
/// Knows neither X11 nor Cairo: positions in, state and damaged rectangles out. One thread.
class DemoScene {
public:
    DemoScene();

    void pointerMoved(Vec2 position);
    void pointerPressed(Vec2 position);
    void pointerReleased(Vec2 position);

    /// @param keysym   of the key with its modifiers applied
    /// @param text     what the key types, UTF-8; empty for a key that types nothing
    /// @param control  the control key is held
    void keyPressed(std::uint32_t keysym, std::string_view text, bool control);

    /// Moves what glides and fades on to `now`, in seconds of any steady clock.
    void advance(double now);

    /// @return seconds until `advance` has something to do; nothing while all is at rest
    [[nodiscard]] std::optional<double> pause() const;

    /// The rectangles that look different since the last call.
    [[nodiscard]] std::vector<Rect> takeDamage();

    [[nodiscard]] const std::vector<Task>& tasks() const { return tasks_; }
    /// The tasks that the search leaves, as indices, in their order.
    [[nodiscard]] std::vector<std::size_t> shownTasks() const;
    [[nodiscard]] const Task& selectedTask() const { return tasks_[selected_]; }
    [[nodiscard]] std::size_t selected() const { return selected_; }
    [[nodiscard]] std::optional<std::size_t> hoveredRow() const { return hoveredTask_; }
    [[nodiscard]] std::optional<std::size_t> draggedRow() const;
    [[nodiscard]] std::optional<Button> hoveredButton() const { return hoveredButton_; }
    [[nodiscard]] std::optional<Button> pressedButton() const { return pressedButton_; }
    [[nodiscard]] bool sliderHeld() const { return sliderHeld_; }
    [[nodiscard]] Field focus() const { return focus_; }
    [[nodiscard]] const std::string& search() const { return search_; }
    [[nodiscard]] const std::string& toastText() const { return toastText_; }
    [[nodiscard]] double toastOpacity() const { return toastOpacity_; }
    [[nodiscard]] PointerShape pointerShape() const;

private:
    struct RowPress {
        std::size_t task = 0;
        Vec2 start;
        double grip = 0; ///< from the row's top to the pointer
        bool dragging = false;
    };

    [[nodiscard]] std::optional<std::size_t> rowAt(Vec2 position) const;
    void hover(Vec2 position);
    void activate(Button button);
    void select(std::size_t task);
    void setFocus(Field field);
    void toggleDone(std::size_t task);
    void dragRow(Vec2 position);
    void dragSlider(Vec2 position);
    void addTask();
    void showToast(std::string text);
    void placeRowsAtOnce();
    void editText(std::uint32_t keysym, std::string_view text);
    void damage(const Rect& rect) { damage_.push_back(rect); }

    std::vector<Task> tasks_;
    std::size_t selected_ = 0;
    Vec2 pointer_{-1, -1};
    std::optional<std::size_t> hoveredTask_;
    std::optional<Button> hoveredButton_;
    std::optional<Button> pressedButton_;
    std::optional<RowPress> rowPress_;
    bool sliderHeld_ = false;
    Field focus_ = Field::none;
    std::string search_;

    std::string toastText_;
    double toastOpacity_ = 0;
    double toastUntil_ = 0;
    double now_ = 0;
    bool rowsGlide_ = false;
    std::vector<Rect> damage_{DemoLayout::window};
};

} // namespace tavrin::demo
