#pragma once

#include <string>

#include <xcb/xcb.h>

namespace tavrin::test {

/// A black window over the whole screen that comes and goes: a mark in the picture that can't be missed.
class ClapWindow {
public:
    explicit ClapWindow(const std::string& display);
    ~ClapWindow();
    ClapWindow(const ClapWindow&) = delete;
    ClapWindow& operator=(const ClapWindow&) = delete;

    void show();
    void hide();

private:
    xcb_connection_t* connection_;
    xcb_window_t window_ = 0;
};

} // namespace tavrin::test
