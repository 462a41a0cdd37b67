#include "Examples/Walkthrough/DemoScene.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <xkbcommon/xkbcommon-keysyms.h>

#include "TavrinKit/Support/Text.h"

namespace tavrin::demo {

namespace {

constexpr double dragThreshold = 6;    // pixels before a press becomes a drag
constexpr double frameTime = 1.0 / 60; // between two steps of an animation
constexpr double toastStays = 1.9;     // seconds
constexpr double toastFades = 0.22;    // seconds, in and out
constexpr double glideRate = 16;       // of a row to its place, 1/s
constexpr std::uint32_t indigo = 0x5b5bd6;

std::vector<Task> firstTasks() {
    return {
        {"Draw the onboarding flow", "Design · due Monday", "Design", 0xd6409f, 0.65, false, true,
         "Three screens, one promise each. Keep the copy short and show the product early.", 0},
        {"Review the export settings", "Engineering · due Tuesday", "Review", 0x0091ff, 0.35, false, false,
         "Check the bit rate of every preset.", 1},
        {"Record the product tour", "Marketing · due Wednesday", "Video", 0xf76b15, 0.1, false, false, "", 2},
        {"Fix the timeline ruler", "Engineering · due Thursday", "Bug", 0xe5484d, 0.75, false, false,
         "Labels overlap below 40 pixels per second.", 3},
        {"Write the release notes", "Docs · due Friday", "Docs", 0x30a46c, 0.2, false, true, "", 4},
        {"Measure the render path", "Engineering · next week", "Speed", indigo, 0.45, false, false, "", 5},
        {"Plan the beta programme", "Product · next week", "Plan", 0x8e4ec6, 0, false, false, "", 6},
    };
}

void removeLastCharacter(std::string& text) {
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xc0U) == 0x80U) {
        text.pop_back();
    }
    if (!text.empty()) {
        text.pop_back();
    }
}

} // namespace

DemoScene::DemoScene() : tasks_(firstTasks()) {}

std::vector<std::size_t> DemoScene::shownTasks() const {
    std::vector<std::size_t> shown;
    const std::string wanted = lowerCased(search_);
    for (std::size_t i = 0; i < tasks_.size(); ++i) {
        if (wanted.empty() || lowerCased(tasks_[i].title).find(wanted) != std::string::npos) {
            shown.push_back(i);
        }
    }
    return shown;
}

std::optional<std::size_t> DemoScene::draggedRow() const {
    return rowPress_ && rowPress_->dragging ? std::optional(rowPress_->task) : std::nullopt;
}

std::optional<std::size_t> DemoScene::rowAt(Vec2 position) const {
    const std::vector<std::size_t> shown = shownTasks();
    for (std::size_t slot = 0; slot < std::min(shown.size(), DemoLayout::visibleRows); ++slot) {
        if (DemoLayout::row(double(slot)).contains(position)) {
            return shown[slot];
        }
    }
    return std::nullopt;
}

PointerShape DemoScene::pointerShape() const {
    if (draggedRow() || sliderHeld_) {
        return PointerShape::grabbing;
    }
    if (DemoLayout::field(Field::search).contains(pointer_) ||
        DemoLayout::field(Field::notes).contains(pointer_)) {
        return PointerShape::text;
    }
    if (hoveredButton_ || hoveredTask_ || DemoLayout::slider.contains(pointer_)) {
        return PointerShape::hand;
    }
    return PointerShape::arrow;
}

void DemoScene::hover(Vec2 position) {
    std::optional<Button> button;
    for (const Button candidate : allButtons) {
        if (DemoLayout::button(candidate).contains(position)) {
            button = candidate;
        }
    }
    if (button != hoveredButton_) {
        for (const auto& changed : {button, hoveredButton_}) {
            if (changed) {
                damage(DemoLayout::button(*changed));
            }
        }
        hoveredButton_ = button;
    }
    const std::optional<std::size_t> task = rowAt(position);
    if (task != hoveredTask_) {
        for (const auto& changed : {task, hoveredTask_}) {
            if (changed && *changed < tasks_.size()) {
                damage(DemoLayout::row(tasks_[*changed].slot));
            }
        }
        hoveredTask_ = task;
    }
}

void DemoScene::pointerMoved(Vec2 position) {
    pointer_ = position;
    if (sliderHeld_) {
        dragSlider(position);
    } else if (rowPress_) {
        dragRow(position);
    } else {
        hover(position);
    }
}

void DemoScene::pointerPressed(Vec2 position) {
    pointerMoved(position);
    if (hoveredButton_) {
        pressedButton_ = hoveredButton_;
        damage(DemoLayout::button(*pressedButton_));
        return;
    }
    if (DemoLayout::slider.contains(position)) {
        sliderHeld_ = true;
        dragSlider(position);
        return;
    }
    for (const Field field : {Field::search, Field::notes}) {
        if (DemoLayout::field(field).contains(position)) {
            setFocus(field);
            return;
        }
    }
    setFocus(Field::none);
    if (const auto task = rowAt(position)) {
        const Rect row = DemoLayout::row(tasks_[*task].slot);
        if (DemoLayout::checkbox(row).contains(position)) {
            toggleDone(*task);
            return;
        }
        select(*task);
        if (search_.empty()) {
            rowPress_ = RowPress{*task, position, position.y - row.y, false};
        }
    }
}

void DemoScene::pointerReleased(Vec2 position) {
    if (pressedButton_) {
        const Button button = *pressedButton_;
        pressedButton_.reset();
        damage(DemoLayout::button(button));
        if (DemoLayout::button(button).contains(position)) {
            activate(button);
        }
    }
    if (sliderHeld_) {
        sliderHeld_ = false;
        damage(DemoLayout::slider.inset(-14, -8));
    }
    if (rowPress_) {
        rowsGlide_ = true;
        damage(DemoLayout::list);
        rowPress_.reset();
    }
    pointerMoved(position);
}

void DemoScene::dragRow(Vec2 position) {
    RowPress& press = *rowPress_;
    if (!press.dragging &&
        std::hypot(position.x - press.start.x, position.y - press.start.y) < dragThreshold) {
        return;
    }
    press.dragging = true;
    const double last = double(std::min(tasks_.size(), DemoLayout::visibleRows)) - 1;
    const double slot = std::clamp((position.y - press.grip - DemoLayout::firstRow) / DemoLayout::rowHeight,
                                   -0.3, last + 0.3);
    tasks_[press.task].slot = slot;
    const auto target = std::size_t(std::clamp(std::round(slot), 0.0, last));
    const auto at = [&](std::size_t i) {
        return tasks_.begin() + std::ptrdiff_t(i);
    };
    if (target < press.task) {
        std::rotate(at(target), at(press.task), at(press.task + 1));
    } else if (target > press.task) {
        std::rotate(at(press.task), at(press.task + 1), at(target + 1));
    }
    press.task = target;
    selected_ = target;
    hoveredTask_.reset();
    rowsGlide_ = true;
    damage(DemoLayout::list);
}

void DemoScene::dragSlider(Vec2 position) {
    const Vec2 low = DemoLayout::sliderHandle(0);
    const Vec2 high = DemoLayout::sliderHandle(1);
    tasks_[selected_].progress = std::clamp((position.x - low.x) / (high.x - low.x), 0.0, 1.0);
    damage(DemoLayout::slider.inset(-14, -8));
    damage({DemoLayout::slider.maxX(), DemoLayout::slider.y, 120, DemoLayout::slider.height});
    damage(DemoLayout::chart);
    damage(DemoLayout::row(tasks_[selected_].slot));
}

void DemoScene::select(std::size_t task) {
    if (task != selected_) {
        damage(DemoLayout::row(tasks_[selected_].slot));
        damage(DemoLayout::row(tasks_[task].slot));
        damage(DemoLayout::detail);
        selected_ = task;
    }
}

void DemoScene::setFocus(Field field) {
    if (field != focus_) {
        damage(DemoLayout::field(focus_).inset(-6, -6));
        damage(DemoLayout::field(field).inset(-6, -6));
        focus_ = field;
    }
}

void DemoScene::toggleDone(std::size_t task) {
    tasks_[task].done = !tasks_[task].done;
    damage(DemoLayout::list);
    damage(DemoLayout::detail);
}

void DemoScene::activate(Button button) {
    switch (button) {
    case Button::newTask:
        addTask();
        break;
    case Button::save:
        showToast("Saved");
        break;
    case Button::share:
        showToast("Link copied");
        break;
    case Button::markDone:
        toggleDone(selected_);
        break;
    case Button::assign:
        tasks_[selected_].assigned = !tasks_[selected_].assigned;
        damage(DemoLayout::detail);
        break;
    }
}

void DemoScene::addTask() {
    tasks_.insert(tasks_.begin(),
                  Task{"Untitled task", "Inbox · no date", "New", indigo, 0, false, false, "", -1});
    selected_ = 0;
    hoveredTask_.reset();
    rowsGlide_ = true;
    setFocus(Field::notes);
    damage(DemoLayout::list);
    damage(DemoLayout::detail);
}

void DemoScene::showToast(std::string text) {
    toastText_ = std::move(text);
    toastUntil_ = now_ + toastStays;
    damage(DemoLayout::toast);
}

void DemoScene::placeRowsAtOnce() {
    const std::vector<std::size_t> shown = shownTasks();
    for (std::size_t slot = 0; slot < shown.size(); ++slot) {
        tasks_[shown[slot]].slot = double(slot);
    }
    hoveredTask_.reset();
    damage(DemoLayout::list);
}

void DemoScene::keyPressed(std::uint32_t keysym, std::string_view text, bool control) {
    if (control) {
        switch (keysym) {
        case XKB_KEY_s:
            showToast("Saved");
            break;
        case XKB_KEY_f:
            setFocus(Field::search);
            break;
        case XKB_KEY_n:
            addTask();
            break;
        case XKB_KEY_d:
            toggleDone(selected_);
            break;
        default:
            break;
        }
        return;
    }
    if (keysym == XKB_KEY_Escape) {
        if (focus_ == Field::search && !search_.empty()) {
            search_.clear();
            placeRowsAtOnce();
        }
        setFocus(Field::none);
        return;
    }
    if (focus_ != Field::none) {
        editText(keysym, text);
    }
}

void DemoScene::editText(std::uint32_t keysym, std::string_view text) {
    std::string& edited = focus_ == Field::search ? search_ : tasks_[selected_].notes;
    if (keysym == XKB_KEY_BackSpace) {
        removeLastCharacter(edited);
    } else if (keysym == XKB_KEY_Return) {
        if (focus_ == Field::search) {
            setFocus(Field::none);
            return;
        }
        edited += '\n';
    } else if (!text.empty() && static_cast<unsigned char>(text.front()) >= 0x20) {
        edited += text;
    }
    damage(DemoLayout::field(focus_));
    if (focus_ == Field::search) {
        placeRowsAtOnce();
    }
}

void DemoScene::advance(double now) {
    const double elapsed = std::clamp(now - now_, 0.0, 0.1);
    now_ = now;

    const double wanted = toastUntil_ > now ? 1 : 0;
    if (toastOpacity_ != wanted) {
        const double step = elapsed / toastFades;
        toastOpacity_ = wanted > toastOpacity_ ? std::min(wanted, toastOpacity_ + step)
                                               : std::max(wanted, toastOpacity_ - step);
        damage(DemoLayout::toast);
    }

    if (rowsGlide_) {
        const std::vector<std::size_t> shown = shownTasks();
        rowsGlide_ = false;
        for (std::size_t place = 0; place < shown.size(); ++place) {
            Task& task = tasks_[shown[place]];
            if (draggedRow() == shown[place]) {
                continue;
            }
            const double distance = double(place) - task.slot;
            const bool arrived = std::abs(distance) < 0.004;
            task.slot = arrived ? double(place) : task.slot + distance * (1 - std::exp(-glideRate * elapsed));
            rowsGlide_ = rowsGlide_ || !arrived;
        }
        damage(DemoLayout::list);
    }
}

std::optional<double> DemoScene::pause() const {
    const bool fading = toastOpacity_ != (toastUntil_ > now_ ? 1 : 0);
    if (rowsGlide_ || fading) {
        return frameTime;
    }
    if (toastUntil_ > now_) {
        return toastUntil_ - now_;
    }
    return std::nullopt;
}

std::vector<Rect> DemoScene::takeDamage() {
    return std::exchange(damage_, {});
}

} // namespace tavrin::demo
