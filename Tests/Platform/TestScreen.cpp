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

void sync(const X11Connection& connection) {
    std::free(xcb_get_input_focus_reply(connection.xcb(), xcb_get_input_focus(connection.xcb()), nullptr));
}

std::uint32_t createWindow(const X11Connection& connection, const X11Rect& area, std::uint32_t mask,
                           const std::uint32_t* values, int border) {
    const std::uint32_t window = xcb_generate_id(connection.xcb());
    xcb_create_window(connection.xcb(), XCB_COPY_FROM_PARENT, window, connection.root(), std::int16_t(area.x),
                      std::int16_t(area.y), std::uint16_t(area.width), std::uint16_t(area.height),
                      std::uint16_t(border), XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, mask,
                      values);
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
    sync(connection);
}

Canvas::Canvas(const std::string& displayName, X11Rect screen)
    : connection_(displayName), screen_(screen), context_(xcb_generate_id(connection_.xcb())),
      pixels_(std::size_t(screen.area())) {
    xcb_create_gc(connection_.xcb(), context_, connection_.root(), 0, nullptr);
    fill(screen, 0x204060);
    sync();
}

void Canvas::fill(const X11Rect& area, std::uint32_t color) {
    fillRectangle(connection_, connection_.root(), area, color);
    remember(area, [color](int, int) { return color; });
}

void Canvas::fillNoise(const X11Rect& area, std::uint32_t seed) {
    remember(area, [seed](int x, int y) {
        std::uint32_t hash =
            (std::uint32_t(x) * 73856093U ^ std::uint32_t(y) * 19349663U ^ seed) * 2654435761U;
        hash ^= hash >> 15;
        return hash * 2246822519U & 0xffffffU;
    });
    const PixelBuffer rows = picture(area);
    std::vector<std::uint8_t> packed;
    for (int y = 0; y < area.height; ++y) {
        packed.insert(packed.end(), rows.row(0, y), rows.row(0, y) + std::ptrdiff_t(area.width) * 4);
    }
    xcb_put_image(connection_.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.root(), context_,
                  std::uint16_t(area.width), std::uint16_t(area.height), std::int16_t(area.x),
                  std::int16_t(area.y), 0, std::uint8_t(connection_.rootDepth()),
                  std::uint32_t(packed.size()), packed.data());
}

void Canvas::remember(const X11Rect& area, const std::function<std::uint32_t(int, int)>& color) {
    const X11Rect inside = area.intersection(screen_);
    for (int y = inside.y; y < inside.y + inside.height; ++y) {
        for (int x = inside.x; x < inside.x + inside.width; ++x) {
            pixels_[std::size_t(y * screen_.width + x)] = color(x, y);
        }
    }
}

PixelBuffer Canvas::picture(const X11Rect& area) const {
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, {area.width, area.height});
    for (int y = 0; y < area.height; ++y) {
        std::memcpy(result.row(0, y), &pixels_[std::size_t((area.y + y) * screen_.width + area.x)],
                    std::size_t(area.width) * 4);
    }
    return result;
}

void RecordingOutput::didOutput(VideoSample sample) {
    const std::lock_guard lock(mutex_);
    samples_.push_back(std::move(sample));
    if (samples_.size() > picturesKept_) {
        samples_[samples_.size() - 1 - picturesKept_].pixels = PixelBuffer();
    }
    changed_.notify_all();
}

void RecordingOutput::didWarn(std::string warning) {
    const std::lock_guard lock(mutex_);
    warnings_.push_back(std::move(warning));
    changed_.notify_all();
}

std::vector<std::string> RecordingOutput::warnings() const {
    const std::lock_guard lock(mutex_);
    return warnings_;
}

void RecordingOutput::didStop(std::exception_ptr error) {
    const std::lock_guard lock(mutex_);
    error_ = std::move(error);
    hasStopped_ = true;
    changed_.notify_all();
}

std::size_t RecordingOutput::count() const {
    const std::lock_guard lock(mutex_);
    return samples_.size();
}

std::vector<VideoSample> RecordingOutput::samples() const {
    const std::lock_guard lock(mutex_);
    return samples_;
}

VideoSample RecordingOutput::last() const {
    const std::lock_guard lock(mutex_);
    return samples_.empty() ? VideoSample{} : samples_.back();
}

std::exception_ptr RecordingOutput::error() const {
    const std::lock_guard lock(mutex_);
    return error_;
}

void RecordingOutput::forget() {
    const std::lock_guard lock(mutex_);
    samples_.clear();
}

bool RecordingOutput::waitForCount(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return samples_.size() >= count; });
}

void RecordingOutput::waitForQuiet() {
    std::unique_lock lock(mutex_);
    std::size_t before = samples_.size();
    while (changed_.wait_for(lock, quiet, [&] { return samples_.size() != before; })) {
        before = samples_.size();
    }
}

bool RecordingOutput::waitForStop() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return hasStopped_; });
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
              sync(connection);
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
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace tavrin::test
