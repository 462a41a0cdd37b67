#include "Examples/Walkthrough/DemoApplication.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "Examples/Walkthrough/DemoCursors.h"
#include "Examples/Walkthrough/DemoPainter.h"
#include "Examples/Walkthrough/DemoScene.h"
#include "Examples/Walkthrough/Drawing.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::demo {

namespace {

template <typename Value, auto free>
struct Freed {
    void operator()(Value* value) const { free(value); }
};
template <typename Value, auto free>
using Owned = std::unique_ptr<Value, Freed<Value, free>>;

template <typename Event>
const Event& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Event&>(event);
}

/// The top left corner of a window in the middle of the screen.
Vec2 originOn(const X11Connection& connection) {
    return {std::floor((connection.rootSize().width - DemoLayout::width) / 2),
            std::floor((connection.rootSize().height - DemoLayout::height) / 2)};
}

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Overlapping rectangles become their union, so that nothing is painted twice.
std::vector<Rect> merged(const std::vector<Rect>& rects) {
    std::vector<Rect> result;
    for (Rect rect : rects) {
        rect = rect.intersection(DemoLayout::window);
        if (rect.isEmpty()) {
            continue;
        }
        for (std::size_t i = 0; i < result.size();) {
            if (result[i].intersection(rect).isEmpty()) {
                ++i;
                continue;
            }
            rect = rect.united(result[i]);
            result.erase(result.begin() + std::ptrdiff_t(i));
            i = 0;
        }
        result.push_back(rect);
    }
    return result;
}

} // namespace

class DemoApplication::Implementation {
public:
    explicit Implementation(const std::string& display);
    ~Implementation();
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    [[nodiscard]] Vec2 origin() const { return origin_; }

private:
    void makeDesktop();
    void makeWindow();
    void loadKeyboard();
    void run(const std::stop_token& stop);
    void waitForWork() const;
    void handle(const xcb_generic_event_t& event);
    void handleKey(const xcb_key_press_event_t& event);
    void showPointerShape();
    void repaint();
    void upload(xcb_drawable_t target, cairo_surface_t* surface, const Rect& part);

    const X11Connection connection_;
    xcb_gcontext_t gc_ = 0;
    xcb_window_t window_ = 0;
    const Vec2 origin_;
    CairoSurface desktop_;
    CairoSurface canvas_; ///< the window's contents
    const DemoCursors cursors_;
    std::optional<PointerShape> shownShape_;
    Owned<xkb_context, xkb_context_unref> keyboardContext_;
    Owned<xkb_keymap, xkb_keymap_unref> keymap_;
    Owned<xkb_state, xkb_state_unref> keyboard_;
    DemoScene scene_;
    DemoPainter painter_;
    int wakeUp_ = -1;
    std::jthread thread_;
};

DemoApplication::Implementation::Implementation(const std::string& display)
    : connection_(display), origin_(originOn(connection_)), cursors_(connection_) {
    if (connection_.rootDepth() != 24) {
        throw Error("The demonstration needs a display with 24 bits of colour.");
    }
    makeDesktop();
    makeWindow();
    loadKeyboard();
    repaint();
    connection_.sync();
    wakeUp_ = eventfd(0, EFD_CLOEXEC);
    thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

DemoApplication::Implementation::~Implementation() {
    thread_.request_stop();
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeUp_, &one, sizeof one);
    thread_.join();
    close(wakeUp_);
}

void DemoApplication::Implementation::makeDesktop() {
    const auto [width, height] = connection_.rootSize();
    desktop_.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    const CairoContext cr(cairo_create(desktop_.get()));
    DemoPainter::paintDesktop(cr.get(), width, height, DemoLayout::window.translated(origin_.x, origin_.y));

    const xcb_pixmap_t pixmap = xcb_generate_id(connection_.xcb());
    xcb_create_pixmap(connection_.xcb(), 24, pixmap, connection_.root(), std::uint16_t(width),
                      std::uint16_t(height));
    gc_ = xcb_generate_id(connection_.xcb());
    xcb_create_gc(connection_.xcb(), gc_, pixmap, 0, nullptr);
    upload(pixmap, desktop_.get(), {0, 0, double(width), double(height)});
    const std::array<std::uint32_t, 2> values{pixmap, cursors_.cursor(PointerShape::arrow)};
    xcb_change_window_attributes(connection_.xcb(), connection_.root(), XCB_CW_BACK_PIXMAP | XCB_CW_CURSOR,
                                 values.data());
    xcb_clear_area(connection_.xcb(), 0, connection_.root(), 0, 0, 0, 0);
    xcb_free_pixmap(connection_.xcb(), pixmap);
}

void DemoApplication::Implementation::makeWindow() {
    canvas_.reset(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, int(DemoLayout::width), int(DemoLayout::height)));
    const CairoContext cr(cairo_create(canvas_.get()));
    cairo_set_source_surface(cr.get(), desktop_.get(), -origin_.x, -origin_.y);
    cairo_paint(cr.get());

    window_ = xcb_generate_id(connection_.xcb());
    const std::array<std::uint32_t, 3> values{
        XCB_BACK_PIXMAP_NONE, 1,
        XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
            XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION |
            XCB_EVENT_MASK_LEAVE_WINDOW};
    xcb_create_window(connection_.xcb(), XCB_COPY_FROM_PARENT, window_, connection_.root(),
                      std::int16_t(origin_.x), std::int16_t(origin_.y), std::uint16_t(DemoLayout::width),
                      std::uint16_t(DemoLayout::height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      connection_.rootVisual(),
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    static constexpr std::string_view title = "Fieldbook";
    xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                        8, std::uint32_t(title.size()), title.data());
    xcb_map_window(connection_.xcb(), window_);
    xcb_set_input_focus(connection_.xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, window_, XCB_CURRENT_TIME);
}

void DemoApplication::Implementation::loadKeyboard() {
    xkb_x11_setup_xkb_extension(connection_.xcb(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr,
                                nullptr, nullptr, nullptr);
    keyboardContext_.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const std::int32_t device = xkb_x11_get_core_keyboard_device_id(connection_.xcb());
    keymap_.reset(xkb_x11_keymap_new_from_device(keyboardContext_.get(), connection_.xcb(), device,
                                                 XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap_) {
        throw Error("The X server's keyboard layout can't be read.");
    }
    keyboard_.reset(xkb_x11_state_new_from_device(keymap_.get(), connection_.xcb(), device));
}

void DemoApplication::Implementation::run(const std::stop_token& stop) {
    while (!stop.stop_requested() && !connection_.isBroken()) {
        scene_.advance(steadySeconds());
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.xcb())}) {
            handle(*event);
        }
        scene_.advance(steadySeconds());
        showPointerShape();
        repaint();
        waitForWork();
    }
}

void DemoApplication::Implementation::waitForWork() const {
    std::array<pollfd, 2> sources{{{connection_.fileDescriptor(), POLLIN, 0}, {wakeUp_, POLLIN, 0}}};
    const std::optional<double> pause = scene_.pause();
    poll(sources.data(), sources.size(), pause ? int(std::ceil(*pause * 1000)) : -1);
}

void DemoApplication::Implementation::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7fU) {
    case XCB_MOTION_NOTIFY: {
        const auto& motion = as<xcb_motion_notify_event_t>(event);
        scene_.pointerMoved({double(motion.event_x), double(motion.event_y)});
        break;
    }
    case XCB_LEAVE_NOTIFY:
        scene_.pointerMoved({-1, -1});
        break;
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE: {
        const auto& button = as<xcb_button_press_event_t>(event);
        const Vec2 position{double(button.event_x), double(button.event_y)};
        if (button.detail == XCB_BUTTON_INDEX_1) {
            (event.response_type & 0x7fU) == XCB_BUTTON_PRESS ? scene_.pointerPressed(position)
                                                              : scene_.pointerReleased(position);
        }
        break;
    }
    case XCB_KEY_PRESS:
        handleKey(as<xcb_key_press_event_t>(event));
        break;
    case XCB_KEY_RELEASE:
        xkb_state_update_key(keyboard_.get(), as<xcb_key_press_event_t>(event).detail, XKB_KEY_UP);
        break;
    case XCB_EXPOSE: {
        const auto& exposed = as<xcb_expose_event_t>(event);
        upload(window_, canvas_.get(),
               {double(exposed.x), double(exposed.y), double(exposed.width), double(exposed.height)});
        connection_.flush();
        break;
    }
    default:
        break;
    }
}

void DemoApplication::Implementation::handleKey(const xcb_key_press_event_t& event) {
    const bool control =
        xkb_state_mod_name_is_active(keyboard_.get(), XKB_MOD_NAME_CTRL, XKB_STATE_MODS_EFFECTIVE) > 0;
    std::array<char, 16> text{};
    const int length = xkb_state_key_get_utf8(keyboard_.get(), event.detail, text.data(), text.size());
    scene_.keyPressed(xkb_state_key_get_one_sym(keyboard_.get(), event.detail),
                      {text.data(), std::size_t(std::clamp(length, 0, int(text.size()) - 1))}, control);
    xkb_state_update_key(keyboard_.get(), event.detail, XKB_KEY_DOWN);
}

void DemoApplication::Implementation::showPointerShape() {
    const PointerShape shape = scene_.pointerShape();
    if (shape != shownShape_) {
        shownShape_ = shape;
        const std::uint32_t cursor = cursors_.cursor(shape);
        xcb_change_window_attributes(connection_.xcb(), window_, XCB_CW_CURSOR, &cursor);
        connection_.flush();
    }
}

void DemoApplication::Implementation::repaint() {
    for (Rect part : merged(scene_.takeDamage())) {
        const double left = std::floor(part.minX());
        const double top = std::floor(part.minY());
        part = {left, top, std::ceil(part.maxX()) - left, std::ceil(part.maxY()) - top};
        const CairoContext cr(cairo_create(canvas_.get()));
        cairo_rectangle(cr.get(), part.x, part.y, part.width, part.height);
        cairo_clip(cr.get());
        painter_.paintWindow(cr.get(), scene_);
        upload(window_, canvas_.get(), part);
    }
    connection_.flush();
}

void DemoApplication::Implementation::upload(xcb_drawable_t target, cairo_surface_t* surface,
                                             const Rect& part) {
    cairo_surface_flush(surface);
    const auto* pixels = cairo_image_surface_get_data(surface);
    const auto stride = std::size_t(cairo_image_surface_get_stride(surface));
    const auto rowBytes = std::size_t(part.width) * 4;
    const std::size_t requestBytes = std::size_t(xcb_get_maximum_request_length(connection_.xcb())) * 4 - 64;
    const auto rowsAtOnce =
        int(std::clamp<std::size_t>(requestBytes / rowBytes, 1, std::size_t(part.height)));
    std::vector<std::uint8_t> strip(std::size_t(rowsAtOnce) * rowBytes);
    for (int y = 0; y < int(part.height); y += rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, int(part.height) - y);
        for (int row = 0; row < rows; ++row) {
            std::memcpy(strip.data() + std::size_t(row) * rowBytes,
                        pixels + std::size_t(part.y + y + row) * stride + std::size_t(part.x) * 4, rowBytes);
        }
        xcb_put_image(connection_.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, target, gc_, std::uint16_t(part.width),
                      std::uint16_t(rows), std::int16_t(part.x), std::int16_t(part.y + y), 0, 24,
                      std::uint32_t(std::size_t(rows) * rowBytes), strip.data());
    }
}

DemoApplication::DemoApplication(const std::string& display)
    : implementation_(std::make_unique<Implementation>(display)) {}

DemoApplication::~DemoApplication() = default;

Vec2 DemoApplication::origin() const {
    return implementation_->origin();
}

} // namespace tavrin::demo
