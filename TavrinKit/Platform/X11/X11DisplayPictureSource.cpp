#include "TavrinKit/Platform/X11/X11DisplayPictureSource.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11Event.h"
#include "TavrinKit/Platform/X11/X11ServerGrab.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

constexpr const char* purpose = "recording the screen";

/// One every 20 ms: displays that are arranged anew are often taken away first.
constexpr int looksForAMissingDisplay = 20;
constexpr int attemptsWhileOthersRun = 2;
constexpr int mostAttempts = 6;

CaptureApplicationExclusionRule exclusionRuleOf(const ContentFilter::Display& filter) {
    CaptureApplicationExclusionRule rule = filter.exclusionRule;
    for (const ShareableApplication& application : filter.excludedApplications) {
        if (!application.bundleIdentifier.empty()) {
            rule.bundleIdentifiers.insert(application.bundleIdentifier);
        }
        if (application.processID != 0) {
            rule.processIdentifiers.insert(application.processID);
        }
    }
    return rule;
}

} // namespace

X11DisplayPictureSource::X11DisplayPictureSource(const X11Connection& connection,
                                                 const ContentFilter::Display& filter,
                                                 const StreamConfiguration& configuration,
                                                 std::shared_ptr<const DesktopEntryIndex> entries)
    : connection_(connection), configuration_(configuration), displayID_(filter.displayID),
      layoutEvents_(connection, purpose), painter_(connection, {configuration.width, configuration.height}),
      pool_({configuration.width, configuration.height}, PicturePool::limitFor(configuration.queueDepth)) {
    damageEvent_ = connection.requireDamage(purpose);
    connection.requireFixes(purpose);
    if (configuration_.showsCursor) {
        pointer_.emplace(connection);
    }
    selectEvents();
    if (const auto rule = exclusionRuleOf(filter); rule != CaptureApplicationExclusionRule{}) {
        exclusion_ = std::make_unique<X11ExclusionComposer>(connection, rule, std::move(entries));
    }

    layout_ = X11DisplayLayout::of(connection);
    const X11DisplayLayout::Monitor* monitor = layout_.monitor(displayID_);
    if (monitor == nullptr || sourceAreaOn(*monitor).isEmpty()) {
        throw X11Error::displayNotFound(displayID_);
    }
    monitor_ = *monitor;
    painter_.show(sourceAreaOn(monitor_));
}

X11DisplayPictureSource::~X11DisplayPictureSource() = default;

void X11DisplayPictureSource::selectEvents() {
    xcb_connection_t* xcb = connection_.xcb();
    damageID_ = xcb_generate_id(xcb);
    damagedParts_ = xcb_generate_id(xcb);
    xcb_xfixes_create_region(xcb, damagedParts_, 0, nullptr);
    // One event when the first change comes; which parts it was is asked for when a picture is taken.
    xcb_damage_create(xcb, damageID_, connection_.root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    connection_.flush();
}

/// On the root window; as large as a picture at most.
X11Rect X11DisplayPictureSource::sourceAreaOn(const X11DisplayLayout::Monitor& monitor) const {
    X11Rect area = monitor.area;
    if (configuration_.sourceRect) {
        const Rect wanted = configuration_.sourceRect->standardized();
        const int left = int(std::lround(wanted.minX()));
        const int top = int(std::lround(wanted.minY()));
        area = X11Rect{monitor.area.x + left, monitor.area.y + top, int(std::lround(wanted.maxX())) - left,
                       int(std::lround(wanted.maxY())) - top}
                   .intersection(monitor.area);
    }
    area.width = std::min(area.width, configuration_.width);
    area.height = std::min(area.height, configuration_.height);
    return area;
}

void X11DisplayPictureSource::followLayout() {
    hasLayoutChanged_ = false;
    const X11DisplayLayout::Monitor* monitor = nullptr;
    for (int look = 0; monitor == nullptr; ++look) {
        if (look == looksForAMissingDisplay) {
            throw X11Error::displayVanished(monitor_.name);
        }
        if (look > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        layout_ = X11DisplayLayout::of(connection_);
        monitor = layout_.monitor(displayID_);
    }
    if (monitor->area == monitor_.area) {
        return;
    }
    const X11Rect before = painter_.part();
    const X11Rect now = sourceAreaOn(*monitor);
    if (now.width < before.width || now.height < before.height) {
        throw X11Error::displayVanished(monitor_.name);
    }
    monitor_ = *monitor;
    // The picture keeps its size, so nothing more than before is read of a display that has grown.
    painter_.show({now.x, now.y, before.width, before.height});
}

void X11DisplayPictureSource::readEvents() {
    while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.xcb())}) {
        if (exclusion_) {
            exclusion_->handle(*event);
        }
        if (typeOf(*event) == damageEvent_ + XCB_DAMAGE_NOTIFY) {
            isDamaged_ = isDamaged_ || eventAs<xcb_damage_notify_event_t>(*event).damage == damageID_;
        } else if (layoutEvents_.include(*event)) {
            hasLayoutChanged_ = true;
        } else if (pointer_) {
            pointer_->handle(*event);
        }
    }
    connection_.throwIfBroken();
}

bool X11DisplayPictureSource::hasNews() const {
    return isDamaged_ || hasLayoutChanged_ || !painter_.damage().isEmpty() ||
           (pointer_ && pointer_->hasNews()) || (exclusion_ && exclusion_->hasNews());
}

/// Asks for all that has changed in one go, and adds it to what is to be read.
void X11DisplayPictureSource::collectChanges() {
    xcb_connection_t* xcb = connection_.xcb();
    xcb_xfixes_fetch_region_cookie_t region{};
    const bool asksForDamage = isDamaged_;
    if (asksForDamage) {
        xcb_damage_subtract(xcb, damageID_, XCB_NONE, damagedParts_);
        region = xcb_xfixes_fetch_region(xcb, damagedParts_);
        isDamaged_ = false;
    }
    if (pointer_) {
        pointer_->ask();
    }

    if (asksForDamage) {
        const X11Owned<xcb_xfixes_fetch_region_reply_t> reply(
            xcb_xfixes_fetch_region_reply(xcb, region, nullptr));
        if (reply) {
            const xcb_rectangle_t* parts = xcb_xfixes_fetch_region_rectangles(reply.get());
            const int count = xcb_xfixes_fetch_region_rectangles_length(reply.get());
            std::for_each(parts, parts + count, [this](const xcb_rectangle_t& part) {
                const X11Rect area{part.x, part.y, part.width, part.height};
                if (!exclusion_ || !exclusion_->hides(area)) {
                    painter_.addDamage(area);
                }
            });
        }
    }
    if (pointer_) {
        for (const X11Rect& area : pointer_->update()) {
            painter_.addDamage(area);
        }
    }
    collectExclusion();
    connection_.throwIfBroken();
}

void X11DisplayPictureSource::collectExclusion() {
    if (exclusion_) {
        for (const X11Rect& area : exclusion_->update(painter_.part())) {
            painter_.addDamage(area);
        }
    }
}

X11DisplayPictureSource::Taken X11DisplayPictureSource::take(VideoSample& sample) {
    if (hasLayoutChanged_) {
        followLayout();
    }
    collectChanges();
    if (painter_.damage().isEmpty() || (exclusion_ && exclusion_->isSettling())) {
        return Taken::nothing;
    }
    if (!pool_.hasRoom()) {
        return Taken::dropped;
    }
    sample = VideoSample{};
    sample.presentationTime = HostClock::now();
    if (!read()) {
        return Taken::nothing;
    }
    sample.pixels = pool_.next(painter_.damage());
    painter_.paint(sample.pixels, [this](const PixelBuffer& pixels, const X11Rect& area) {
        if (exclusion_) {
            exclusion_->drawOver(pixels, area);
        }
        if (pointer_) {
            pointer_->drawOver(pixels, area);
        }
    });

    const X11Rect& captured = painter_.part();
    sample.screenRect = layout_.globalRect(captured);
    sample.contentRect = Rect{0, 0, double(captured.width), double(captured.height)};
    sample.scaleFactor = 1;
    return Taken::picture;
}

std::vector<X11Rect> X11DisplayPictureSource::damagedAreas() const {
    std::vector<X11Rect> areas;
    for (const X11Rect& box : painter_.damage().boxes()) {
        areas.push_back({box.x + painter_.part().x, box.y + painter_.part().y, box.width, box.height});
    }
    return areas;
}

/// @return whether there is a picture that may be shown
bool X11DisplayPictureSource::read() {
    if (!exclusion_) {
        readAnyway();
        return true;
    }
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        // Windows that never stand still are made to.
        std::optional<X11ServerGrab> standstill;
        if (attempt >= attemptsWhileOthersRun) {
            standstill.emplace(connection_);
            readEvents();
        }
        collectExclusion();
        if (exclusion_->isSettling()) {
            return false;
        }
        exclusion_->compose(damagedAreas());
        if (!painter_.read(connection_.root())) {
            followLayout();
            continue;
        }
        readEvents(); // with the pixels has come whatever happened before they were read
        if (!exclusion_->isOutdated()) {
            return true;
        }
    }
    return false;
}

void X11DisplayPictureSource::readAnyway() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (painter_.read(connection_.root())) {
            return;
        }
        // Perhaps the screen has just become smaller and the event is still under way.
        followLayout();
    }
    throw X11Error::requestFailed("reading the screen", 0);
}

} // namespace tavrin
