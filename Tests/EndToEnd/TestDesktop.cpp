#include "TestDesktop.h"

#include <chrono>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin::test {

namespace {

constexpr int field = 32;

std::uint32_t grey(unsigned level) {
    return level << 16U | level << 8U | level;
}

} // namespace

struct TestDesktop::Implementation {
    explicit Implementation(const std::string& display)
        : server(display), connection(server.xcb()), root(server.root()), gc(xcb_generate_id(connection)) {
        xcb_create_gc(connection, gc, root, 0, nullptr);
    }

    void fill(xcb_drawable_t target, xcb_gcontext_t context, std::uint32_t colour,
              const xcb_rectangle_t& area) const {
        xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &colour);
        xcb_poly_fill_rectangle(connection, target, context, 1, &area);
    }

    void paintBoard() const {
        const xcb_pixmap_t pixmap = xcb_generate_id(connection);
        xcb_create_pixmap(connection, std::uint8_t(server.rootDepth()), pixmap, root, 4 * field, 4 * field);
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                fill(pixmap, gc, grey(40U + 30U * unsigned((row + column) % 3) + 5U * unsigned(row)),
                     {std::int16_t(column * field), std::int16_t(row * field), field, field});
            }
        }
        xcb_change_window_attributes(connection, root, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_clear_area(connection, 0, root, 0, 0, 0, 0);
    }

    void setDiskCursor() const {
        constexpr std::uint16_t side = diskDiameter;
        const xcb_pixmap_t shape = xcb_generate_id(connection);
        xcb_create_pixmap(connection, 1, shape, root, side, side);
        const xcb_gcontext_t bit = xcb_generate_id(connection);
        xcb_create_gc(connection, bit, shape, 0, nullptr);
        fill(shape, bit, 0, {0, 0, side, side});
        // Rows of a disk that is its own mirror image, so that its middle is the hot spot exactly.
        for (int y = -side / 2; y <= side / 2; ++y) {
            int half = 0;
            while ((half + 1) * (half + 1) + y * y <= side * side / 4) {
                ++half;
            }
            fill(shape, bit, 1,
                 {std::int16_t(side / 2 - half), std::int16_t(side / 2 + y), std::uint16_t(2 * half + 1), 1});
        }
        const xcb_cursor_t cursor = xcb_generate_id(connection);
        xcb_create_cursor(connection, cursor, shape, shape, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff, 0xffff,
                          side / 2, side / 2);
        xcb_change_window_attributes(connection, root, XCB_CW_CURSOR, &cursor);
    }

    const X11Connection server;
    xcb_connection_t* const connection;
    const xcb_window_t root;
    const xcb_gcontext_t gc;
};

TestDesktop::TestDesktop(const std::string& display)
    : implementation_(std::make_unique<Implementation>(display)) {
    implementation_->paintBoard();
    implementation_->setDiskCursor();
    implementation_->server.sync();
}

TestDesktop::~TestDesktop() = default;

void TestDesktop::startFlicker() {
    flicker_ = std::jthread([this](const std::stop_token& stop) {
        const Implementation& x = *implementation_;
        for (unsigned i = 0; !stop.stop_requested() && !x.server.isBroken(); ++i) {
            x.fill(x.root, x.gc, grey(20 + i * 7 % 100), {64, 64, 160, 120});
            x.server.sync();
            std::this_thread::sleep_for(std::chrono::milliseconds(33));
        }
    });
}

} // namespace tavrin::test
