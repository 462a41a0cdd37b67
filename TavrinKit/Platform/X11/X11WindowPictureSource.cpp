#include "TavrinKit/Platform/X11/X11WindowPictureSource.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <poll.h>
#include <xcb/xcb.h>

#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11Event.h"
#include "TavrinKit/Platform/X11/X11Properties.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

/// A window that changes while it is read is read again so often; then a mixed picture is better than none.
constexpr int mostAttempts = 3;

std::string titleOf(const X11Connection& connection, std::uint32_t window) {
    const auto atoms = atomsNamed(connection, {"_NET_WM_NAME", "UTF8_STRING"});
    const auto newer = askProperty(connection, window, atoms[0], atoms[1]);
    const auto older = askProperty(connection, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY);
    const std::string title = propertyText(connection, newer);
    const std::string fallback = propertyText(connection, older);
    return !title.empty() ? title : !fallback.empty() ? fallback : fmt::format("Window {}", window);
}

X11Rect moved(const X11Rect& rect, int x, int y) {
    return {rect.x + x, rect.y + y, rect.width, rect.height};
}

PixelSize sizeOf(const X11Rect& rect) {
    return {rect.width, rect.height};
}

/// Scaled evenly and centred, on whole pairs of columns and rows.
X11Rect fitted(PixelSize source, PixelSize into) {
    const double scale = std::min(double(into.width) / source.width, double(into.height) / source.height);
    const auto length = [scale](int wanted, int most) {
        return std::clamp(2 * int(std::lround(wanted * scale / 2)), 2, most);
    };
    const int width = length(source.width, into.width);
    const int height = length(source.height, into.height);
    return {(into.width - width) / 4 * 2, (into.height - height) / 4 * 2, width, height};
}

bool isSame(const PixelBuffer& a, const PixelBuffer& b) {
    if (a.isEmpty()) {
        return false;
    }
    for (int i = 0; i < a.planeCount(); ++i) {
        const PixelBuffer::Plane& plane = a.plane(i);
        for (int y = 0; y < plane.height; ++y) {
            if (std::memcmp(a.row(i, y), b.row(i, y), std::size_t(plane.width)) != 0) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

X11WindowPictureSource::X11WindowPictureSource(const X11Connection& connection,
                                               const ContentFilter::Window& filter,
                                               const StreamConfiguration& configuration)
    : connection_(connection), pictureSize_{configuration.width, configuration.height},
      window_(filter.windowID), title_(titleOf(connection, filter.windowID)),
      layoutEvents_(connection, "recording a window"), painter_(connection, pictureSize_),
      pool_(pictureSize_, PicturePool::limitFor(configuration.queueDepth)) {
    extents_ = atomsNamed(connection, {"_NET_FRAME_EXTENTS", "_GTK_FRAME_EXTENTS"});
    if (configuration.showsCursor) {
        pointer_.emplace(connection);
    }
    selectEvents();
    layout_ = X11DisplayLayout::of(connection);

    const auto geometry = X11WindowGeometry::of(connection, window_);
    if (!geometry || geometry->isInputOnly) {
        throw X11Error::windowNotFound(window_);
    }
    if (!geometry->isViewable) {
        throw X11Error::windowHidden(title_);
    }
    geometry_ = *geometry;
    const bool mustBePainted = isPartlyHidden();
    pixmap_ = std::make_unique<X11WindowPixmap>(connection, geometry_.topLevel);
    if (mustBePainted) {
        awaitRepainting();
    }
    isStale_ = true;
}

X11WindowPictureSource::~X11WindowPictureSource() = default;

void X11WindowPictureSource::selectEvents() {
    xcb_connection_t* xcb = connection_.xcb();
    const std::uint32_t ofWindow = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb, window_, XCB_CW_EVENT_MASK, &ofWindow);
}

/// Whether anything lies over the window, or a part of it off the screen.
bool X11WindowPictureSource::isPartlyHidden() const {
    std::vector<std::uint32_t> above = topLevelWindows(connection_);
    above.erase(above.begin(), std::find(above.begin(), above.end(), geometry_.topLevel));
    above.push_back(connection_.root());
    const auto places = X11WindowGeometry::of(connection_, above);
    const X11Rect screen = places.back() ? places.back()->client : X11Rect{};
    return !screen.contains(geometry_.topLevelArea) ||
           std::any_of(places.begin(), places.end() - 1, [&](const auto& place) {
               return place && place->window != geometry_.topLevel && place->isViewable &&
                      !place->isInputOnly &&
                      !place->topLevelArea.intersection(geometry_.topLevelArea).isEmpty();
           });
}

/// Until its owner has painted what was hidden: told by damage that comes and then ceases.
void X11WindowPictureSource::awaitRepainting() {
    using namespace std::chrono_literals;
    using Clock = std::chrono::steady_clock;
    constexpr auto patience = 300ms;
    constexpr auto patienceForFirst = 100ms;
    constexpr auto silence = 50ms;

    const auto start = Clock::now();
    auto end = start + patienceForFirst;
    while (Clock::now() < end) {
        connection_.flush();
        pollfd waiting{connection_.fileDescriptor(), POLLIN, 0};
        ::poll(&waiting, 1, int(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count()));
        readEvents();
        if (isGone_) {
            return;
        }
        if (pixmap_->pixmap() != 0 && pixmap_->isDamaged() && !pixmap_->takeDamage().empty()) {
            end = std::min(Clock::now() + silence, start + patience);
        }
    }
}

void X11WindowPictureSource::readEvents() {
    while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.xcb())}) {
        handle(*event);
    }
    followMove();
    connection_.throwIfBroken();
}

void X11WindowPictureSource::handle(const xcb_generic_event_t& event) {
    if (pointer_ && pointer_->handle(event)) {
        return;
    }
    if (pixmap_) {
        pixmap_->handle(event);
    }
    hasLayoutChanged_ = hasLayoutChanged_ || layoutEvents_.include(event);
    const int type = typeOf(event);
    const bool isSent = type != event.response_type; // by a program, not by the server
    switch (type) {
    case XCB_DESTROY_NOTIFY:
        isGone_ = isGone_ || eventAs<xcb_destroy_notify_event_t>(event).window == window_;
        isStale_ = true;
        break;
    case XCB_UNMAP_NOTIFY:
        wasHidden_ = wasHidden_ || !isSent;
        isStale_ = true;
        break;
    case XCB_MAP_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        isStale_ = true;
        break;
    case XCB_CONFIGURE_NOTIFY: {
        // When the frame is only moved, it is known where the window has gone along with it.
        const std::uint32_t configured = eventAs<xcb_configure_notify_event_t>(event).window;
        isStale_ = isStale_ || (!isSent && configured == window_ && geometry_.topLevel != window_);
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const std::uint32_t property = eventAs<xcb_property_notify_event_t>(event).atom;
        isStale_ = isStale_ || std::find(extents_.begin(), extents_.end(), property) != extents_.end();
        break;
    }
    default:
        break;
    }
}

void X11WindowPictureSource::followMove() {
    if (!pixmap_ || pixmap_->area() == geometry_.topLevelArea) {
        return;
    }
    const X11Rect& now = pixmap_->area();
    const int x = now.x - geometry_.topLevelArea.x;
    const int y = now.y - geometry_.topLevelArea.y;
    if (sizeOf(now) != sizeOf(geometry_.topLevelArea)) {
        isStale_ = true;
        return;
    }
    geometry_.topLevelArea = now;
    geometry_.client = moved(geometry_.client, x, y);
    geometry_.frame = moved(geometry_.frame, x, y);
    hasMoved_ = true;
    hasPointerShifted_ = true;
    mayBeSame_ = true; // To the server a move damages all of the window.
}

void X11WindowPictureSource::followWindow() {
    isStale_ = false;
    wasHidden_ = false;
    const auto now = X11WindowGeometry::of(connection_, window_);
    if (!now || isGone_) {
        throw X11Error::windowClosed(title_);
    }
    if (now->topLevel != pixmap_->window()) {
        pixmap_ = std::make_unique<X11WindowPixmap>(connection_, now->topLevel);
    }
    hasMoved_ = hasMoved_ || now->frame != geometry_.frame;
    geometry_ = *now;
    readEvents(); // those that lie before the answer in the queue
}

bool X11WindowPictureSource::hasNews() const {
    const bool hasPointerNews = pointer_ && (pointer_->hasNews() || hasPointerShifted_);
    return isGone_ || isStale_ || hasLayoutChanged_ ||
           (geometry_.isViewable && (pixmap_->isDamaged() || !painter_.damage().isEmpty() || hasPointerNews));
}

X11WindowPictureSource::Taken X11WindowPictureSource::take(VideoSample& sample) {
    if (std::exchange(hasLayoutChanged_, false)) {
        layout_ = X11DisplayLayout::of(connection_);
        hasMoved_ = true;
    }
    for (int attempt = 1; attempt <= mostAttempts; ++attempt) {
        if (isStale_ || isGone_) {
            followWindow();
        }
        tellWhenHidden();
        if (!geometry_.isViewable) {
            return Taken::nothing;
        }
        if (!prepare()) {
            isStale_ = true;
            continue;
        }
        collectChanges();
        if (painter_.damage().isEmpty()) {
            return Taken::nothing;
        }
        if (!pool_.hasRoom()) {
            return Taken::dropped;
        }
        const double time = HostClock::now();
        const bool isRead = painter_.read(pixmap_->pixmap());
        readEvents(); // What has happened before it was read is known now.
        const bool isLastAttempt = attempt == mostAttempts;
        if (isRead && !wasHidden_ && !isGone_ && (!isStale_ || isLastAttempt)) {
            const bool mayBeSame = std::exchange(mayBeSame_, false);
            const PixelBuffer before = std::exchange(latest_, makePicture());
            if (mayBeSame && isSame(before, latest_)) {
                return Taken::same;
            }
            sample = VideoSample{};
            sample.presentationTime = time;
            sample.pixels = latest_;
            describePlace(sample);
            hasMoved_ = false;
            return Taken::picture;
        }
        isStale_ = true;
    }
    return Taken::nothing;
}

void X11WindowPictureSource::tellWhenHidden() {
    if (geometry_.isViewable) {
        hasToldHidden_ = false;
    } else if (!std::exchange(hasToldHidden_, true)) {
        warnings_.emplace_back("window_minimized");
    }
}

/// @return whether the pixmap is the one of the window as it is known
bool X11WindowPictureSource::prepare() {
    const X11Rect& whole = geometry_.topLevelArea;
    if (pixmap_->pixmap() == 0 || pixmap_->pixmapSize() != sizeOf(whole)) {
        return false;
    }
    const X11Rect part = moved(geometry_.frame, -whole.x, -whole.y);
    if (part != part_) {
        show(part);
    }
    return true;
}

void X11WindowPictureSource::show(const X11Rect& part) {
    part_ = part;
    isContentNew_ = true;
    const PixelSize even = recordableSize(sizeOf(part));
    painter_.show(part, even);
    if (even == pictureSize_) {
        unscaled_ = PixelBuffer();
        content_ = {0, 0, painter_.part().width, painter_.part().height};
    } else {
        unscaled_ = PixelBuffer::allocate(PixelFormat::i420, even);
        content_ = fitted(even, pictureSize_);
    }
}

void X11WindowPictureSource::collectChanges() {
    for (const X11Rect& area : pixmap_->takeDamage()) {
        painter_.addDamage(area);
    }
    if (!pointer_) {
        return;
    }
    pointer_->ask();
    const auto changed = pointer_->update();
    const X11Rect& place = pointer_->area();
    const X11Rect now =
        place.isEmpty() ? X11Rect{} : moved(place, -geometry_.topLevelArea.x, -geometry_.topLevelArea.y);
    if (now != drawnPointer_ || !changed[0].isEmpty() || !changed[1].isEmpty()) {
        painter_.addDamage(std::exchange(drawnPointer_, now));
        painter_.addDamage(now);
    }
    hasPointerShifted_ = false;
}

PixelBuffer X11WindowPictureSource::makePicture() {
    PixelBuffer picture;
    if (unscaled_.isEmpty()) {
        picture = pool_.next(painter_.damage());
        paint(picture);
    } else {
        paint(unscaled_);
        DamageRegion rewritten({0, 0, pictureSize_.width, pictureSize_.height});
        rewritten.add(isContentNew_ ? rewritten.bounds() : content_);
        picture = pool_.next(rewritten);
        if (isContentNew_) {
            fillBlack(picture);
        }
        scaler_.scale(unscaled_, partOf(picture, content_));
    }
    isContentNew_ = false;
    return picture;
}

void X11WindowPictureSource::paint(const PixelBuffer& target) {
    painter_.paint(target, [this](const PixelBuffer& pixels, const X11Rect& area) {
        if (pointer_ && !drawnPointer_.isEmpty()) {
            const X11Rect& place = pointer_->area();
            pointer_->drawOver(pixels, moved(area, place.x - drawnPointer_.x, place.y - drawnPointer_.y));
        }
    });
}

void X11WindowPictureSource::describePlace(VideoSample& sample) const {
    const X11Rect& whole = geometry_.topLevelArea;
    sample.screenRect = layout_.globalRect(moved(painter_.part(), whole.x, whole.y));
    sample.contentRect =
        Rect{double(content_.x), double(content_.y), double(content_.width), double(content_.height)};
    sample.scaleFactor = 1;
}

std::optional<VideoSample> X11WindowPictureSource::takeMove() {
    const bool isKnown = !isStale_ && !isContentNew_ && geometry_.isViewable;
    if (!isKnown || !std::exchange(hasMoved_, false)) {
        return std::nullopt;
    }
    VideoSample sample;
    sample.presentationTime = HostClock::now();
    describePlace(sample);
    return sample;
}

std::vector<std::string> X11WindowPictureSource::takeWarnings() {
    return std::exchange(warnings_, {});
}

} // namespace tavrin
