#include "MotionPainter.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <random>
#include <thread>
#include <vector>

#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"

namespace tavrin::bench {

namespace {

constexpr auto frameTime = std::chrono::nanoseconds(1'000'000'000 / 60);
constexpr int spare = 512; // how much larger than the screen the texture is, each way

std::uint32_t texel(double x, double y, std::mt19937& random) {
    const double grain = double(random() % 7) - 3;
    const auto channel = [&](double phase, double fx, double fy) {
        const double wave =
            std::sin(x * fx + phase) * std::cos(y * fy - phase) + 0.4 * std::sin((x + y) * 0.043 + phase);
        return std::uint32_t(std::clamp(128 + 80 * wave + grain, 0.0, 255.0));
    };
    return channel(0.3, 0.011, 0.017) << 16U | channel(1.9, 0.016, 0.009) << 8U | channel(4.1, 0.007, 0.021);
}

} // namespace

class MotionPainter::Implementation {
public:
    explicit Implementation(const std::string& display) : connection_(display) {
        makeTexture();
        paint(0);
        thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
    }

    [[nodiscard]] std::int64_t frames() const { return frames_; }

private:
    void makeTexture() {
        const auto width = std::uint16_t(connection_.rootSize().width + spare);
        const auto height = std::uint16_t(connection_.rootSize().height + spare);
        const auto depth = std::uint8_t(connection_.rootDepth());
        texture_ = xcb_generate_id(connection_.xcb());
        xcb_create_pixmap(connection_.xcb(), depth, texture_, connection_.root(), width, height);
        gc_ = xcb_generate_id(connection_.xcb());
        const std::array<std::uint32_t, 2> values{XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
        xcb_create_gc(connection_.xcb(), gc_, connection_.root(),
                      XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values.data());
        std::mt19937 random(7);
        std::vector<std::uint32_t> row(width);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                row[std::size_t(x)] = texel(x, y, random);
            }
            xcb_put_image(connection_.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, texture_, gc_, width, 1, 0,
                          std::int16_t(y), 0, depth, std::uint32_t(row.size() * 4),
                          reinterpret_cast<const std::uint8_t*>(row.data()));
        }
    }

    void paint(std::int64_t frame) {
        const auto there = [&](int speed) {
            const int way = int(frame * speed % (2 * spare));
            return std::int16_t(way < spare ? way : 2 * spare - way);
        };
        xcb_copy_area(connection_.xcb(), texture_, connection_.root(), gc_, there(5), there(3), 0, 0,
                      std::uint16_t(connection_.rootSize().width),
                      std::uint16_t(connection_.rootSize().height));
        connection_.sync(); // keeps painter and server in step
    }

    void run(const std::stop_token& stop) {
        auto due = std::chrono::steady_clock::now();
        while (!stop.stop_requested() && !connection_.isBroken()) {
            due += frameTime;
            std::this_thread::sleep_until(due);
            paint(++frames_);
        }
    }

    const X11Connection connection_;
    xcb_pixmap_t texture_ = 0;
    xcb_gcontext_t gc_ = 0;
    std::atomic<std::int64_t> frames_ = 0;
    std::jthread thread_;
};

MotionPainter::MotionPainter(const std::string& display)
    : implementation_(std::make_unique<Implementation>(display)) {}

MotionPainter::~MotionPainter() = default;

std::int64_t MotionPainter::frames() const {
    return implementation_->frames();
}

} // namespace tavrin::bench
