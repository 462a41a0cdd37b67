#include "TestScreen.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

#include "TavrinKit/Media/PixelConversion.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"

namespace tavrin::test {

VirtualDisplay::Settings twoMonitors() {
    VirtualDisplay::Settings settings;
    settings.size = {screenWidth, screenHeight};
    settings.monitors = {
        {"LEFT", leftMonitor.x, leftMonitor.y, {leftMonitor.width, leftMonitor.height}, false},
        {"RIGHT", rightMonitor.x, rightMonitor.y, {rightMonitor.width, rightMonitor.height}, true}};
    return settings;
}

const std::string& sharedDisplay() {
    static const VirtualDisplay display(twoMonitors());
    return display.name();
}

std::uint32_t createWindow(const X11Connection& connection, const X11Rect& area, std::uint32_t mask,
                           const std::uint32_t* values) {
    const std::uint32_t window = xcb_generate_id(connection.xcb());
    xcb_create_window(connection.xcb(), XCB_COPY_FROM_PARENT, window, connection.root(), std::int16_t(area.x),
                      std::int16_t(area.y), std::uint16_t(area.width), std::uint16_t(area.height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, mask, values);
    return window;
}

void fillRectangle(const X11Connection& connection, std::uint32_t drawable, const X11Rect& area,
                   std::uint32_t color) {
    xcb_connection_t* xcb = connection.xcb();
    const std::uint32_t context = xcb_generate_id(xcb);
    xcb_create_gc(xcb, context, drawable, XCB_GC_FOREGROUND, &color);
    const xcb_rectangle_t rectangle{std::int16_t(area.x), std::int16_t(area.y), std::uint16_t(area.width),
                                    std::uint16_t(area.height)};
    xcb_poly_fill_rectangle(xcb, drawable, context, 1, &rectangle);
    xcb_free_gc(xcb, context);
}

void placeWindow(const X11Connection& connection, std::uint32_t window, const X11Rect& area) {
    const std::uint32_t place[] = {std::uint32_t(area.x), std::uint32_t(area.y), std::uint32_t(area.width),
                                   std::uint32_t(area.height)};
    xcb_configure_window(connection.xcb(), window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         place);
    connection.sync();
}

void usePointer(const X11Connection& connection, int hotSpotX, int hotSpotY, bool isVisible) {
    xcb_connection_t* xcb = connection.xcb();
    const xcb_pixmap_t shape = xcb_generate_id(xcb);
    const xcb_pixmap_t mask = xcb_generate_id(xcb);
    for (const xcb_pixmap_t pixmap : {shape, mask}) {
        xcb_create_pixmap(xcb, 1, pixmap, connection.root(), 9, 9);
        fillRectangle(connection, pixmap, {0, 0, 9, 9}, pixmap == mask && isVisible ? 1 : 0);
    }
    fillRectangle(connection, shape, {0, 0, 4, 6}, 1);
    const xcb_cursor_t cursor = xcb_generate_id(xcb);
    xcb_create_cursor(xcb, cursor, shape, mask, 0xffff, 0xffff, 0xffff, 0, 0, 0, std::uint16_t(hotSpotX),
                      std::uint16_t(hotSpotY));
    xcb_change_window_attributes(xcb, connection.root(), XCB_CW_CURSOR, &cursor);
    connection.sync();
}

PixelBuffer noise(const X11Rect& area, std::uint32_t seed, std::uint32_t channels) {
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, {area.width, area.height});
    for (int y = 0; y < area.height; ++y) {
        for (int x = 0; x < area.width; ++x) {
            std::uint32_t hash =
                (std::uint32_t(area.x + x) * 73856093U ^ std::uint32_t(area.y + y) * 19349663U ^ seed) *
                2654435761U;
            hash ^= hash >> 15;
            const std::uint32_t pixel = hash * 2246822519U & channels;
            std::memcpy(result.row(0, y) + std::ptrdiff_t(x) * 4, &pixel, 4);
        }
    }
    return result;
}

namespace {

void putPicture(const X11Connection& connection, std::uint32_t drawable, int depth,
                const PixelBuffer& picture, int left, int top) {
    xcb_connection_t* xcb = connection.xcb();
    const std::uint32_t context = xcb_generate_id(xcb);
    xcb_create_gc(xcb, context, drawable, 0, nullptr);
    const auto [width, height] = picture.size();
    for (int y = 0; y < height; ++y) {
        xcb_put_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, context, std::uint16_t(width), 1,
                      std::int16_t(left), std::int16_t(top + y), 0, std::uint8_t(depth),
                      std::uint32_t(width) * 4, picture.row(0, y));
    }
    xcb_free_gc(xcb, context);
}

std::uint32_t visualOf(const X11Connection& connection, int depth) {
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection.xcb())).data;
    for (auto each = xcb_screen_allowed_depths_iterator(screen); each.rem > 0; xcb_depth_next(&each)) {
        if (each.data->depth == depth) {
            return xcb_depth_visuals(each.data)->visual_id;
        }
    }
    return 0;
}

} // namespace

NoiseWindow::NoiseWindow(const X11Connection& connection, const X11Rect& area, const Settings& settings)
    : connection_(connection), id_(xcb_generate_id(connection.xcb())) {
    xcb_connection_t* xcb = connection.xcb();
    const auto depth = std::uint8_t(settings.depth);
    const std::uint32_t pixmap = xcb_generate_id(xcb);
    constexpr int side = 512;
    xcb_create_pixmap(xcb, depth, pixmap, connection.root(), side, side);
    putPicture(connection, pixmap, depth, noise({0, 0, side, side}, settings.seed, settings.channels), 0, 0);
    const std::uint32_t colors = xcb_generate_id(xcb);
    const std::uint32_t visual = visualOf(connection, depth);
    xcb_create_colormap(xcb, XCB_COLORMAP_ALLOC_NONE, colors, connection.root(), visual);
    const std::uint32_t values[] = {pixmap, 0, settings.isOverrideRedirect ? 1U : 0U, colors};
    xcb_create_window(xcb, depth, id_, settings.parent != 0 ? settings.parent : connection.root(),
                      std::int16_t(area.x), std::int16_t(area.y), std::uint16_t(area.width),
                      std::uint16_t(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
                      values);
    map();
}

void NoiseWindow::raise() const {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_.xcb(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    connection_.sync();
}

void NoiseWindow::map() const {
    xcb_map_window(connection_.xcb(), id_);
    connection_.sync();
}

void NoiseWindow::unmap() const {
    xcb_unmap_window(connection_.xcb(), id_);
    connection_.sync();
}

void NoiseWindow::destroy() const {
    xcb_destroy_window(connection_.xcb(), id_);
    connection_.sync();
}

void NoiseWindow::fill(const X11Rect& area, std::uint32_t color) const {
    fillRectangle(connection_, id_, area, color);
    connection_.sync();
}

Canvas::Canvas(const std::string& displayName, X11Rect screen)
    : connection_(displayName), screen_(screen),
      pixels_(PixelBuffer::allocate(PixelFormat::bgra8, {screen.width, screen.height})) {
    fill(screen, 0x204060);
    sync();
}

void Canvas::fill(const X11Rect& area, std::uint32_t color) {
    fillRectangle(connection_, connection_.root(), area, color);
    const X11Rect inside = area.intersection(screen_);
    for (int y = inside.y; y < inside.y + inside.height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(pixels_.row(0, y));
        std::fill_n(row + inside.x, inside.width, color);
    }
}

void Canvas::fillNoise(const X11Rect& area, std::uint32_t seed) {
    const PixelBuffer picture = noise(area, seed);
    putPicture(connection_, connection_.root(), connection_.rootDepth(), picture, area.x, area.y);
    for (int y = 0; y < area.height; ++y) {
        std::memcpy(pixels_.row(0, area.y + y) + std::ptrdiff_t(area.x) * 4, picture.row(0, y),
                    std::size_t(area.width) * 4);
    }
}

PixelBuffer Canvas::picture(const X11Rect& area) const {
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, {area.width, area.height});
    for (int y = 0; y < area.height; ++y) {
        std::memcpy(result.row(0, y), pixels_.row(0, area.y + y) + std::ptrdiff_t(area.x) * 4,
                    std::size_t(area.width) * 4);
    }
    return result;
}

void RecordingOutput::didOutput(VideoSample sample) {
    delivered_.with([&](Delivered& all) {
        all.samples.push_back(std::move(sample));
        if (all.samples.size() > picturesKept_) {
            all.samples[all.samples.size() - 1 - picturesKept_].pixels = PixelBuffer();
        }
    });
}

void RecordingOutput::didWarn(std::string warning) {
    delivered_.with([&](Delivered& all) { all.warnings.push_back(std::move(warning)); });
}

void RecordingOutput::didStop(std::exception_ptr error) {
    delivered_.with([&](Delivered& all) {
        all.error = std::move(error);
        all.hasStopped = true;
    });
}

void RecordingOutput::forget() {
    delivered_.with([](Delivered& all) { all.samples.clear(); });
}

void RecordingOutput::waitForQuiet() const {
    std::size_t before = 0;
    do {
        before = count();
        std::this_thread::sleep_for(quiet);
    } while (count() != before);
}

std::unique_ptr<ScreenStream> makeStream(const std::string& displayName, const std::string& monitor,
                                         const std::shared_ptr<ScreenStreamOutput>& output, bool showsCursor,
                                         const Adjust& adjust) {
    X11CaptureBackend backend(displayName);
    for (const ShareableDisplay& display : backend.shareableContent(true, true).displays) {
        if (display.name == monitor) {
            ContentFilter filter;
            ContentFilter::Display content{display.displayID, {}, {}};
            filter.contentRect = display.frame;
            StreamConfiguration configuration;
            configuration.width = (display.pixels.width + 1) / 2 * 2;
            configuration.height = (display.pixels.height + 1) / 2 * 2;
            configuration.showsCursor = showsCursor;
            if (adjust) {
                adjust(content, configuration);
            }
            filter.content = content;
            return backend.makeStream(filter, configuration, output);
        }
    }
    throw std::runtime_error("no monitor " + monitor);
}

RunningStream startStream(const std::string& displayName, const std::string& monitor, bool showsCursor,
                          const Adjust& adjust) {
    const auto output = std::make_shared<RecordingOutput>();
    auto stream = makeStream(displayName, monitor, output, showsCursor, adjust);
    stream->start({});
    if (!output->waitForCount(1)) {
        throw std::runtime_error("no picture of " + monitor);
    }
    return {output, std::move(stream)};
}

RestlessSpot::RestlessSpot(const std::string& displayName)
    : painter_([displayName](const std::stop_token& stop) {
          const X11Connection connection(displayName);
          for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
              fillRectangle(connection, connection.root(), {600, 100, 50, 50}, i * 7919 & 0xffffff);
              connection.sync();
          }
      }) {}

int worstDifference(const PixelBuffer& i420, const PixelBuffer& expected) {
    const PixelSize size = expected.size();
    const PixelBuffer reference = PixelBuffer::allocate(PixelFormat::i420, size);
    convertBGRXToI420Reference(expected, reference, {0, 0, size.width, size.height});
    int worst = 0;
    for (int i = 0; i < 3; ++i) {
        const PixelBuffer::Plane& plane = i420.plane(i);
        for (int y = 0; y < plane.height; ++y) {
            for (int x = 0; x < plane.width; ++x) {
                const int wanted = reference.row(
                    i, std::min(y, reference.plane(i).height - 1))[std::min(x, reference.plane(i).width - 1)];
                worst = std::max(worst, std::abs(int(i420.row(i, y)[x]) - wanted));
            }
        }
    }
    return worst;
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace tavrin::test
