#include "Examples/Walkthrough/DemoScript.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Examples/Walkthrough/Pacing.h"

namespace tavrin::demo {

namespace {

constexpr Vec2 restingPlace{1540, 640}; // on the wallpaper

Vec2 inRow(double slot, double share) {
    const Rect row = DemoLayout::row(slot);
    return {row.x + row.width * share, row.midY() + 4};
}

Vec2 checkboxOf(double slot) {
    return DemoLayout::checkbox(DemoLayout::row(slot)).mid();
}

} // namespace

DemoScript::DemoScript(XTestDriver& hand, Vec2 origin)
    : hand_(hand), origin_(origin), position_(restingPlace) {}

void DemoScript::prepare() {
    hand_.moveTo(int(origin_.x + position_.x), int(origin_.y + position_.y));
}

void DemoScript::run(const std::stop_token& stop) {
    stop_ = stop;
    start_ = std::chrono::steady_clock::now();
    chooseTasks();
    moveSlider();
    reorderTasks();
    addTask();
    finishTask();
    searchAndRest();
    waitUntil(seconds);
}

void DemoScript::chooseTasks() {
    waitUntil(0.8);
    click(inRow(1, 0.42), 60);
    waitUntil(1.8);
    click(checkboxOf(2), 24);
    waitUntil(2.6);
    click(inRow(3, 0.35), 60);
    waitUntil(3.3);
    click(checkboxOf(5), 24);
}

void DemoScript::moveSlider() {
    waitUntil(5.4);
    drag(DemoLayout::sliderHandle(0.75), DemoLayout::sliderHandle(0.3), 1.4);
}

void DemoScript::reorderTasks() {
    waitUntil(8.3);
    drag(inRow(4, 0.5), inRow(0, 0.52), 1.6);
}

void DemoScript::addTask() {
    waitUntil(11.6);
    click(DemoLayout::button(Button::newTask).mid(), 40);
    waitUntil(12.5);
    click(DemoLayout::button(Button::share).mid(), 40);
    waitUntil(13.2);
    click(DemoLayout::button(Button::save).mid(), 40);
    waitUntil(14);
    type("Zoom in on the export dialog");
    pause(0.25);
    hand_.tapKey("s", {"Control_L"});
}

void DemoScript::finishTask() {
    waitUntil(17.3);
    click(DemoLayout::button(Button::assign).mid(), 44);
    waitUntil(18.3);
    click(DemoLayout::button(Button::markDone).mid(), 44);
}

void DemoScript::searchAndRest() {
    waitUntil(19.6);
    glideTo({1130, 470}, 80);
    waitUntil(20.1);
    hand_.tapKey("f", {"Control_L"});
    pause(0.3);
    type("export");
    waitUntil(23.2); // nothing moves for more than two seconds
    hand_.tapKey("Escape");
    pause(0.2);
    glideTo({760, 400}, 120);
}

void DemoScript::waitUntil(double time) const {
    const std::chrono::duration<double> past = std::chrono::steady_clock::now() - start_;
    pauseFor(std::max(time - past.count(), 0.0), stop_);
}

void DemoScript::pause(double length) const {
    pauseFor(length, stop_);
}

void DemoScript::glideTo(Vec2 inWindow, double targetSize, double pace) {
    moveAlong(path_.steps(position_, inWindow, targetSize, pace), hand_, origin_, stop_);
    position_ = inWindow;
}

void DemoScript::click(Vec2 inWindow, double targetSize) {
    const Vec2 aim{inWindow.x + path_.between(-0.1, 0.1) * targetSize,
                   inWindow.y + path_.between(-0.1, 0.1) * targetSize};
    glideTo(aim, targetSize);
    pause(path_.between(0.05, 0.09));
    hand_.press(XTestDriver::Button::left);
    pause(path_.between(0.07, 0.11));
    hand_.release(XTestDriver::Button::left);
}

void DemoScript::drag(Vec2 from, Vec2 to, double pace) {
    glideTo(from, 40);
    pause(0.12);
    hand_.press(XTestDriver::Button::left);
    pause(0.16);
    glideTo(to, 20, pace);
    pause(0.2);
    hand_.release(XTestDriver::Button::left);
}

void DemoScript::type(std::string_view text) {
    for (const char character : text) {
        hand_.type(std::string_view(&character, 1));
        pause(path_.keyInterval());
    }
}

} // namespace tavrin::demo
