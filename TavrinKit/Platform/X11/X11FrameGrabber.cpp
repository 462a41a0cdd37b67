#include "TavrinKit/Platform/X11/X11FrameGrabber.h"

#include <sys/mman.h>
#include <unistd.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"

namespace tavrin {
namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t alignment = 64;

std::size_t bytesOf(std::int64_t pixels) {
    return (std::size_t(pixels) * bytesPerPixel + alignment - 1) / alignment * alignment;
}

const xcb_visualtype_t* findVisual(const xcb_setup_t* setup, xcb_visualid_t wanted) {
    for (auto screen = xcb_setup_roots_iterator(setup); screen.rem > 0; xcb_screen_next(&screen)) {
        for (auto depth = xcb_screen_allowed_depths_iterator(screen.data); depth.rem > 0;
             xcb_depth_next(&depth)) {
            for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
                 xcb_visualtype_next(&visual)) {
                if (visual.data->visual_id == wanted) {
                    return visual.data;
                }
            }
        }
    }
    return nullptr;
}

int bitsPerPixel(const xcb_setup_t* setup, int depth) {
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0; xcb_format_next(&format)) {
        if (format.data->depth == depth) {
            return format.data->bits_per_pixel;
        }
    }
    return 0;
}

void requireBGRX(const X11Connection& connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection.xcb());
    const xcb_visualtype_t* visual = findVisual(setup, connection.rootVisual());
    const bool isBGRX = visual != nullptr && visual->red_mask == 0xff0000 && visual->green_mask == 0xff00 &&
                        visual->blue_mask == 0xff && setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST &&
                        bitsPerPixel(setup, connection.rootDepth()) == 32;
    if (!isBGRX) {
        throw X11Error::unsuitablePixels(connection.displayName(), connection.rootDepth());
    }
}

} // namespace

/// Memory that the server has mapped too. It has no name, so nothing of it is left behind by a crash.
class X11FrameGrabber::Segment {
public:
    Segment(const X11Connection& connection, std::size_t size)
        : connection_(connection), size_(size), id_(xcb_generate_id(connection.xcb())) {
        const int file = ::memfd_create("screen", MFD_CLOEXEC);
        void* memory = MAP_FAILED;
        if (file >= 0 && ::ftruncate(file, off_t(size)) == 0) {
            memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        }
        if (memory == MAP_FAILED) {
            if (file >= 0) {
                ::close(file);
            }
            throw X11Error::sharedMemoryRefused(connection.displayName());
        }
        memory_ = static_cast<std::uint8_t*>(memory);
        // The library closes the file once it is sent.
        const auto cookie = xcb_shm_attach_fd_checked(connection.xcb(), id_, file, 0);
        const X11Owned<xcb_generic_error_t> error(xcb_request_check(connection.xcb(), cookie));
        if (error || connection.isBroken()) {
            ::munmap(memory_, size_);
            connection.throwIfBroken();
            throw X11Error::sharedMemoryRefused(connection.displayName());
        }
    }
    ~Segment() {
        xcb_shm_detach(connection_.xcb(), id_);
        ::munmap(memory_, size_);
    }
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    [[nodiscard]] std::uint32_t id() const { return id_; }
    [[nodiscard]] std::uint8_t* at(std::size_t offset) const { return memory_ + offset; }
    [[nodiscard]] std::size_t size() const { return size_; }

private:
    const X11Connection& connection_;
    std::size_t size_;
    std::uint32_t id_;
    std::uint8_t* memory_ = nullptr;
};

X11FrameGrabber::X11FrameGrabber(const X11Connection& connection, std::int64_t mostPixels,
                                 std::size_t mostAreas)
    : connection_(connection) {
    requireBGRX(connection);
    connection.requireSharedMemory("recording the screen");
    segment_ = std::make_unique<Segment>(connection, bytesOf(mostPixels) + (mostAreas + 1) * alignment);
}

X11FrameGrabber::~X11FrameGrabber() = default;

std::vector<PixelBuffer> X11FrameGrabber::grab(std::uint32_t drawable, const std::vector<X11Rect>& areas) {
    xcb_connection_t* xcb = connection_.xcb();
    std::vector<PixelBuffer> pictures;
    std::vector<xcb_shm_get_image_cookie_t> cookies;
    std::size_t offset = 0;
    for (const X11Rect& area : areas) {
        PixelBuffer::Planes planes;
        planes[0] = {segment_->at(offset), std::ptrdiff_t(area.width) * std::ptrdiff_t(bytesPerPixel),
                     area.width, area.height};
        pictures.push_back(PixelBuffer::wrap(PixelFormat::bgra8, {area.width, area.height}, planes, nullptr));
        cookies.push_back(xcb_shm_get_image(xcb, drawable, std::int16_t(area.x), std::int16_t(area.y),
                                            std::uint16_t(area.width), std::uint16_t(area.height), ~0U,
                                            XCB_IMAGE_FORMAT_Z_PIXMAP, segment_->id(),
                                            std::uint32_t(offset)));
        offset += bytesOf(area.area());
    }
    bool isComplete = true;
    for (const auto cookie : cookies) {
        xcb_generic_error_t* error = nullptr;
        const X11Owned<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(xcb, cookie, &error));
        const X11Owned<xcb_generic_error_t> ownedError(error);
        isComplete = isComplete && reply;
    }
    connection_.throwIfBroken();
    if (!isComplete) {
        pictures.clear();
    }
    return pictures;
}

} // namespace tavrin
