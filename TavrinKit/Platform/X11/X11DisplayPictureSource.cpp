#include "TavrinKit/Platform/X11/X11DisplayPictureSource.h"

#include <algorithm>
#include <cmath>

#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include "TavrinKit/Media/PixelConversion.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

constexpr const char* purpose = "recording the screen";
/// The chroma of a column pair looks one column to the left; two keep the pairs together.
constexpr int chromaMargin = 2;
/// A guard against a consumer that never lets go; what it holds in reason its own queue decides.
constexpr std::size_t picturesPerQueuedOne = 4;

int evenUp(int value) {
    return (value + 1) & ~1;
}

X11Rect sourceAreaOf(const StreamConfiguration& configuration, const X11Rect& monitor) {
    if (!configuration.sourceRect) {
        return monitor;
    }
    const Rect wanted = configuration.sourceRect->standardized();
    const int left = int(std::lround(wanted.minX()));
    const int top = int(std::lround(wanted.minY()));
    const X11Rect area{monitor.x + left, monitor.y + top, int(std::lround(wanted.maxX())) - left,
                       int(std::lround(wanted.maxY())) - top};
    return area.intersection(monitor);
}

/// The part of a picture, as a picture of its own. @param area  with even left and top
PixelBuffer partOf(const PixelBuffer& picture, const X11Rect& area) {
    PixelBuffer::Planes planes;
    for (int i = 0; i < picture.planeCount(); ++i) {
        const int shift = i == 0 ? 0 : 1;
        PixelBuffer::Plane& plane = planes[std::size_t(i)];
        plane.data = picture.row(i, area.y >> shift) + (area.x >> shift);
        plane.stride = picture.plane(i).stride;
        plane.width = (area.width + shift) >> shift;
        plane.height = (area.height + shift) >> shift;
    }
    return PixelBuffer::wrap(picture.format(), {area.width, area.height}, planes, nullptr);
}

} // namespace

X11DisplayPictureSource::X11DisplayPictureSource(const X11Connection& connection,
                                                 const ContentFilter::Display& filter,
                                                 const StreamConfiguration& configuration)
    : connection_(connection), configuration_(configuration), displayID_(filter.displayID) {
    damageEvent_ = connection.requireDamage(purpose);
    fixesEvent_ = connection.requireFixes(purpose);
    randrEvent_ = connection.requireRandR(purpose);
    if (configuration_.showsCursor) {
        inputOpcode_ = connection.requireInput2("recording the pointer");
    }
    selectEvents();

    layout_ = X11DisplayLayout::of(connection);
    const X11DisplayLayout::Monitor* monitor = layout_.monitor(displayID_);
    if (monitor == nullptr) {
        throw X11Error::displayNotFound(displayID_);
    }
    place(*monitor);
    if (captured_.isEmpty()) {
        throw X11Error::displayNotFound(displayID_);
    }

    const PixelSize size{configuration_.width, configuration_.height};
    const std::int64_t margins =
        std::int64_t(chromaMargin) * captured_.height * std::int64_t(DamageRegion::maximumBoxes + 1);
    grabber_ =
        std::make_unique<X11FrameGrabber>(connection, captured_.area() + margins, DamageRegion::maximumBoxes);
    pool_ = std::make_unique<PicturePool>(size, picturesPerQueuedOne *
                                                    std::size_t(std::max(configuration_.queueDepth, 1)));
}

X11DisplayPictureSource::~X11DisplayPictureSource() = default;

void X11DisplayPictureSource::selectEvents() {
    xcb_connection_t* xcb = connection_.xcb();
    const xcb_window_t root = connection_.root();
    damageID_ = xcb_generate_id(xcb);
    damagedParts_ = xcb_generate_id(xcb);
    xcb_xfixes_create_region(xcb, damagedParts_, 0, nullptr);
    // One event when the first change comes; which parts it was is asked for when a picture is taken.
    xcb_damage_create(xcb, damageID_, root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);

    xcb_randr_select_input(xcb, root,
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    // Monitors that are set without their outputs changing are told as a change of the root window.
    const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(xcb, root, XCB_CW_EVENT_MASK, &structure);

    if (configuration_.showsCursor) {
        xcb_xfixes_select_cursor_input(xcb, root, XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
        struct {
            xcb_input_event_mask_t head;
            std::uint32_t events;
        } const mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
        xcb_input_xi_select_events(xcb, root, 1, &mask.head);
        hasPointerMoved_ = true;
        hasCursorChanged_ = true;
    }
    connection_.flush();
}

void X11DisplayPictureSource::place(const X11DisplayLayout::Monitor& monitor) {
    monitor_ = monitor;
    const X11Rect source = sourceAreaOf(configuration_, monitor.area);
    captured_ = {source.x, source.y, std::min(source.width, configuration_.width),
                 std::min(source.height, configuration_.height)};
    startAfresh();
}

void X11DisplayPictureSource::startAfresh() {
    damage_ = DamageRegion({0, 0, std::min(evenUp(captured_.width), configuration_.width),
                            std::min(evenUp(captured_.height), configuration_.height)});
    damage_.addAll();
}

void X11DisplayPictureSource::followLayout() {
    hasLayoutChanged_ = false;
    layout_ = X11DisplayLayout::of(connection_);
    const X11DisplayLayout::Monitor* monitor = layout_.monitor(displayID_);
    if (monitor == nullptr) {
        throw X11Error::displayVanished(monitor_.name);
    }
    if (monitor->area == monitor_.area) {
        return;
    }
    const X11Rect before = captured_;
    place(*monitor);
    if (captured_.width < before.width || captured_.height < before.height) {
        throw X11Error::displayVanished(monitor_.name);
    }
    // The picture keeps its size, so nothing more than before is read of a display that has grown.
    captured_.width = before.width;
    captured_.height = before.height;
    startAfresh();
}

void X11DisplayPictureSource::readEvents() {
    while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.xcb())}) {
        const int type = event->response_type & 0x7f;
        if (type == damageEvent_ + XCB_DAMAGE_NOTIFY) {
            isDamaged_ = true;
        } else if (type == XCB_GE_GENERIC) {
            hasPointerMoved_ = true;
        } else if (type == fixesEvent_ + XCB_XFIXES_CURSOR_NOTIFY) {
            hasCursorChanged_ = true;
        } else if (type == XCB_CONFIGURE_NOTIFY || type == randrEvent_ + XCB_RANDR_NOTIFY ||
                   type == randrEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY) {
            hasLayoutChanged_ = true;
        }
    }
    connection_.throwIfBroken();
}

bool X11DisplayPictureSource::hasNews() const {
    return isDamaged_ || hasPointerMoved_ || hasCursorChanged_ || hasLayoutChanged_ || !damage_.isEmpty();
}

/// Asks for all that has changed in one go, and adds it to what is to be read.
void X11DisplayPictureSource::collectChanges() {
    xcb_connection_t* xcb = connection_.xcb();
    xcb_xfixes_fetch_region_cookie_t region{};
    xcb_query_pointer_cookie_t pointer{};
    const bool asksForDamage = isDamaged_;
    if (asksForDamage) {
        xcb_damage_subtract(xcb, damageID_, XCB_NONE, damagedParts_);
        region = xcb_xfixes_fetch_region(xcb, damagedParts_);
        isDamaged_ = false;
    }
    if (configuration_.showsCursor) {
        pointer = xcb_query_pointer(xcb, connection_.root());
        hasPointerMoved_ = false;
    }

    if (asksForDamage) {
        const X11Owned<xcb_xfixes_fetch_region_reply_t> reply(
            xcb_xfixes_fetch_region_reply(xcb, region, nullptr));
        if (reply) {
            const xcb_rectangle_t* parts = xcb_xfixes_fetch_region_rectangles(reply.get());
            const int count = xcb_xfixes_fetch_region_rectangles_length(reply.get());
            std::for_each(parts, parts + count, [this](const xcb_rectangle_t& part) {
                addRootDamage({part.x, part.y, part.width, part.height});
            });
        }
    }
    if (configuration_.showsCursor) {
        const X11Owned<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(xcb, pointer, nullptr));
        if (reply) {
            updatePointer(reply->root_x, reply->root_y, reply->same_screen != 0);
        }
    }
    connection_.throwIfBroken();
}

void X11DisplayPictureSource::addRootDamage(const X11Rect& area) {
    X11Rect inside = area.intersection(captured_);
    if (inside.isEmpty()) {
        return;
    }
    inside.x -= captured_.x;
    inside.y -= captured_.y;
    damage_.add(chromaAligned(inside, damage_.bounds()));
}

void X11DisplayPictureSource::updatePointer(int x, int y, bool isOnScreen) {
    if (hasCursorChanged_) {
        cursor_ = X11CursorImage::current(connection_);
        hasCursorChanged_ = false;
    }
    PointerState now;
    if (cursor_ && isOnScreen) {
        now = {cursor_->areaAt(x, y), x, y, cursor_->serial};
    }
    if (now != pointer_) {
        addRootDamage(pointer_.area);
        addRootDamage(now.area);
        pointer_ = now;
    }
}

X11DisplayPictureSource::Taken X11DisplayPictureSource::take(VideoSample& sample) {
    if (hasLayoutChanged_) {
        followLayout();
    }
    collectChanges();
    if (damage_.isEmpty()) {
        return Taken::nothing;
    }
    if (!pool_->hasRoom()) {
        return Taken::dropped;
    }
    sample = VideoSample{};
    sample.presentationTime = HostClock::now();
    const std::vector<PixelBuffer> sources = grabBoxes();
    sample.pixels = pool_->next(damage_);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        write(sources[i], damage_.boxes()[i], sample.pixels);
    }
    damage_.clear();

    sample.screenRect = layout_.displayFrame(captured_);
    sample.contentRect = Rect{0, 0, double(captured_.width), double(captured_.height)};
    sample.scaleFactor = 1;
    return Taken::picture;
}

/// What must be read of the root window to convert a box of the picture.
X11Rect X11DisplayPictureSource::grabArea(const X11Rect& box) const {
    const int margin = std::min(chromaMargin, box.x);
    const X11Rect wanted{captured_.x + box.x - margin, captured_.y + box.y, box.width + margin, box.height};
    return wanted.intersection(captured_);
}

std::vector<PixelBuffer> X11DisplayPictureSource::grabBoxes() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::vector<X11Rect> areas;
        for (const X11Rect& box : damage_.boxes()) {
            areas.push_back(grabArea(box));
        }
        std::vector<PixelBuffer> sources = grabber_->grab(connection_.root(), areas);
        if (!sources.empty()) {
            return sources;
        }
        // Perhaps the screen has just become smaller and the event is still under way.
        followLayout();
    }
    throw X11Error::requestFailed("reading the screen", 0);
}

void X11DisplayPictureSource::write(const PixelBuffer& source, const X11Rect& box,
                                    const PixelBuffer& target) const {
    const X11Rect area = grabArea(box);
    if (cursor_ && !pointer_.area.isEmpty()) {
        cursor_->drawAt(pointer_.x, pointer_.y, source, area);
    }
    const X11Rect inPicture{area.x - captured_.x, area.y - captured_.y, area.width, area.height};
    const int margin = box.x - inPicture.x;
    convertBGRXToI420(source, partOf(target, inPicture), {margin, 0, area.width - margin, area.height});
    repeatEdges(box, target);
}

/// Fills the second half of a pair of columns or rows of which the display has only the first.
void X11DisplayPictureSource::repeatEdges(const X11Rect& box, const PixelBuffer& target) const {
    if (box.x + box.width > captured_.width) {
        for (int y = box.y; y < std::min(box.y + box.height, captured_.height); ++y) {
            target.row(0, y)[captured_.width] = target.row(0, y)[captured_.width - 1];
        }
    }
    if (box.y + box.height > captured_.height) {
        const std::uint8_t* last = target.row(0, captured_.height - 1) + box.x;
        std::copy_n(last, box.width, target.row(0, captured_.height) + box.x);
    }
}

} // namespace tavrin
