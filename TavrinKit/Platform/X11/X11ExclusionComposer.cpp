#include "TavrinKit/Platform/X11/X11ExclusionComposer.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <xcb/shape.h>
#include <xcb/xfixes.h>

#include "TavrinKit/Platform/X11/DamageRegion.h"
#include "TavrinKit/Platform/X11/X11Blackout.h"
#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11ServerGrab.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

constexpr const char* purpose = "leaving windows out of a recording";
/// Seconds that a window's owner is given to paint what nobody saw of it until now.
constexpr double timeToPaint = 0.1;
/// Seconds for which windows are kept after the last excluded one has gone: it often comes back.
constexpr double lingering = 3;
/// Pixels around a window into which a compositing manager may draw the window's shadow.
constexpr int shadowMargin = 64;
/// What a conversion reads to the left of an area.
constexpr int chromaMargin = 2;

X11Rect grown(const X11Rect& area, int by) {
    return {area.x - by, area.y - by, area.width + 2 * by, area.height + 2 * by};
}

/// Takes an area away from a set of areas.
void subtract(std::vector<X11Rect>& areas, const X11Rect& taken) {
    std::vector<X11Rect> rest;
    for (const X11Rect& area : areas) {
        const X11Rect common = area.intersection(taken);
        if (common.isEmpty()) {
            rest.push_back(area);
            continue;
        }
        const int right = common.x + common.width;
        const int bottom = common.y + common.height;
        for (const X11Rect& each : {X11Rect{area.x, area.y, area.width, common.y - area.y},
                                    X11Rect{area.x, bottom, area.width, area.y + area.height - bottom},
                                    X11Rect{area.x, common.y, common.x - area.x, common.height},
                                    X11Rect{right, common.y, area.x + area.width - right, common.height}}) {
            if (!each.isEmpty()) {
                rest.push_back(each);
            }
        }
    }
    areas = std::move(rest);
}

/// The usual format of pictures with 8 bits a channel, with or without alpha.
xcb_render_pictformat_t findFormat(const xcb_render_query_pict_formats_reply_t* formats, int depth,
                                   std::uint16_t alphaMask) {
    if (formats == nullptr) {
        return 0;
    }
    for (auto each = xcb_render_query_pict_formats_formats_iterator(formats); each.rem > 0;
         xcb_render_pictforminfo_next(&each)) {
        const xcb_render_directformat_t& direct = each.data->direct;
        if (each.data->type == XCB_RENDER_PICT_TYPE_DIRECT && each.data->depth == depth &&
            direct.red_shift == 16 && direct.red_mask == 0xff && direct.green_shift == 8 &&
            direct.blue_shift == 0 && direct.alpha_mask == alphaMask) {
            return each.data->id;
        }
    }
    return 0;
}

} // namespace

/// A window whose picture the server keeps for us.
struct X11ExclusionComposer::Kept {
    explicit Kept(const X11Connection& connection, std::uint32_t window) : pixmap(connection, window) {}

    X11WindowPixmap pixmap;
    std::vector<X11Rect> unpainted; ///< of the root window: what its owner has yet to paint
};

X11ExclusionComposer::X11ExclusionComposer(const X11Connection& connection,
                                           CaptureApplicationExclusionRule rule,
                                           std::shared_ptr<const DesktopEntryIndex> entries)
    : connection_(connection), stack_(connection),
      excluded_(connection, std::move(rule), std::move(entries)) {
    xcb_connection_t* xcb = connection.xcb();
    const xcb_query_extension_reply_t* shape = xcb_get_extension_data(xcb, &xcb_shape_id);
    if (shape == nullptr || shape->present == 0) {
        throw X11Error::extensionMissing(connection.displayName(), "SHAPE", purpose);
    }
    shapeEvent_ = shape->first_event;
    xcb_discard_reply(xcb, xcb_shape_query_version(xcb).sequence);
    xcb_discard_reply(xcb, xcb_render_query_version(xcb, 0, 11).sequence);
    const X11Owned<xcb_render_query_pict_formats_reply_t> formats(
        xcb_render_query_pict_formats_reply(xcb, xcb_render_query_pict_formats(xcb), nullptr));
    connection.throwIfBroken();
    opaqueFormat_ = findFormat(formats.get(), connection.rootDepth(), 0);
    alphaFormat_ = findFormat(formats.get(), 32, 0xff);
    if (opaqueFormat_ == 0) {
        throw X11Error::extensionMissing(connection.displayName(), "RENDER", purpose);
    }
    managerSelection_ = connection.atom(fmt::format("_NET_WM_CM_S{}", connection.screenIndex()));
}

X11ExclusionComposer::~X11ExclusionComposer() {
    letGo();
}

void X11ExclusionComposer::handle(const xcb_generic_event_t& event) {
    for (const auto& [window, kept] : kept_) {
        kept->pixmap.handle(event);
    }
    if (const auto change = stack_.handle(event)) {
        note(*change);
    }
    if ((event.response_type & 0x7f) == shapeEvent_) {
        const auto& shaped = reinterpret_cast<const xcb_shape_notify_event_t&>(event);
        const auto& windows = stack_.windows();
        const auto found =
            std::ranges::find(windows, shaped.affected_window, &X11WindowStack::Window::window);
        if (shaped.shape_kind == XCB_SHAPE_SK_BOUNDING && found != windows.end() && found->isMapped) {
            changes_.push_back({found->window, found->area, found->area});
        }
    }
}

void X11ExclusionComposer::note(const X11WindowStack::Change& change) {
    if (background_ && change.window == background_->window()) {
        return;
    }
    if (change.hasNewContents || change.isGone) {
        const bool wasExcluded = excluded_.contains(change.window);
        excluded_.forget(change.window);
        isOutdated_ = isOutdated_ || wasExcluded || change.hasNewContents;
    }
    const bool mayBeExcluded = excluded_.contains(change.window) || !excluded_.isKnown(change.window);
    const bool isSeen = !change.before.isEmpty() || !change.now.isEmpty();
    isOutdated_ = isOutdated_ || (mayBeExcluded && isSeen);
    if (isSeen && (mayBeExcluded || !excludedAreas_.empty())) {
        changes_.push_back(change);
    }
    if (const auto found = kept_.find(change.window); found != kept_.end()) {
        // What the server keeps anew begins with what the screen shows: it is kept as if for the first time.
        if (change.isGone || (change.isResizedOrShown && !isManaged_)) {
            kept_.erase(found);
        }
    }
}

bool X11ExclusionComposer::hasNews() const {
    return isOutdated_ || isSettling() || !changes_.empty() ||
           (!excludedAreas_.empty() &&
            std::ranges::any_of(kept_, [](const auto& entry) { return entry.second->pixmap.isDamaged(); }));
}

std::vector<X11Rect> X11ExclusionComposer::update(const X11Rect& part) {
    const std::vector<X11Rect> areasBefore = excludedAreas_;
    const bool isElsewhere = !(part == part_);
    part_ = part;
    learnOwners();
    locateExcluded();
    isOutdated_ = false;
    if (!excludedAreas_.empty()) {
        neededAt_ = HostClock::now();
        beginKeeping();
    }

    std::vector<X11Rect> changes;
    if (excludedAreas_ != areasBefore || isElsewhere) {
        changes = areasBefore;
        changes.insert(changes.end(), excludedAreas_.begin(), excludedAreas_.end());
    }
    if (sawExcludedGo()) {
        // What it covered may show what was seen of it until the owner has painted.
        settlesUntil_ = HostClock::now() + timeToPaint;
        isWaitingOut_ = true;
    }
    for (const X11WindowStack::Change& change : std::exchange(changes_, {})) {
        for (const X11Rect& area : {change.before, change.now}) {
            const auto parts = partsBeneathExcluded(area);
            changes.insert(changes.end(), parts.begin(), parts.end());
        }
    }
    if (!excludedAreas_.empty()) {
        keepWindows();
        collectDamage(changes);
    } else if (!kept_.empty() && HostClock::now() > neededAt_ + lingering) {
        letGo();
    }
    settle();
    return changes;
}

void X11ExclusionComposer::learnOwners() {
    std::vector<std::uint32_t> shown;
    for (const X11WindowStack::Window& window : stack_.windows()) {
        if (window.isMapped) {
            shown.push_back(window.window);
        }
    }
    excluded_.learn(shown);
}

void X11ExclusionComposer::locateExcluded() {
    excludedAreas_.clear();
    for (const X11WindowStack::Window& window : stack_.windows()) {
        if (window.isMapped && !window.isInputOnly && excluded_.contains(window.window)) {
            const X11Rect inPart = grown(window.area, isManaged_ ? shadowMargin : 0).intersection(part_);
            if (!inPart.isEmpty()) {
                excludedAreas_.push_back(inPart);
            }
        }
    }
}

/// Whether an excluded window, or one whose owner can't be known any more, was seen where no windows are
/// kept.
bool X11ExclusionComposer::sawExcludedGo() const {
    return kept_.empty() && std::ranges::any_of(changes_, [this](const X11WindowStack::Change& change) {
               const bool wasInPart = !change.before.intersection(part_).isEmpty();
               return wasInPart && (excluded_.contains(change.window) || !excluded_.isKnown(change.window));
           });
}

void X11ExclusionComposer::beginKeeping() {
    if (!background_) {
        const X11Owned<xcb_get_selection_owner_reply_t> manager(xcb_get_selection_owner_reply(
            connection_.xcb(), xcb_get_selection_owner(connection_.xcb(), managerSelection_), nullptr));
        isManaged_ = manager && manager->owner != XCB_NONE;
        background_ = std::make_unique<X11RootBackground>(connection_, isManaged_);
        if (background_->window() != 0) {
            excluded_.ignore(background_->window());
        }
        locateExcluded();
    }
}

/// Keeps what is not kept yet of the windows in the part.
void X11ExclusionComposer::keepWindows() {
    std::erase_if(kept_, [this](const auto& entry) {
        const auto& windows = stack_.windows();
        const auto found = std::ranges::find(windows, entry.first, &X11WindowStack::Window::window);
        return found == windows.end() || !found->isMapped;
    });
    std::vector<X11WindowStack::Window> missing;
    for (const X11WindowStack::Window& window : stack_.windows()) {
        const bool isWanted = window.isMapped && !window.isInputOnly && !excluded_.contains(window.window) &&
                              window.window != background_->window() &&
                              !window.area.intersection(part_).isEmpty();
        if (isWanted && !kept_.contains(window.window)) {
            missing.push_back(window);
        }
    }
    if (!missing.empty()) {
        keep(missing);
    }
}

void X11ExclusionComposer::keep(const std::vector<X11WindowStack::Window>& windows) {
    const X11ServerGrab standstill(connection_);
    std::optional<X11Blackout> blackout;
    if (!isManaged_) {
        blackout.emplace(connection_, stack_.windows(), excluded_);
    }
    for (const X11WindowStack::Window& window : windows) {
        auto kept = std::make_unique<Kept>(connection_, window.window);
        if (kept->pixmap.isGone()) {
            continue;
        }
        xcb_shape_select_input(connection_.xcb(), window.window, 1);
        if (!isManaged_) {
            // From now on damage is what its owner paints.
            (void)kept->pixmap.pixmap();
            (void)kept->pixmap.takeDamage();
            kept->unpainted = coveredParts(window);
            if (!kept->unpainted.empty()) {
                settlesUntil_ = HostClock::now() + timeToPaint;
            }
        }
        kept_[window.window] = std::move(kept);
    }
}

void X11ExclusionComposer::letGo() {
    kept_.clear();
    background_.reset();
    freeCanvas();
    grabber_.reset();
    isManaged_ = false;
    settlesUntil_ = 0;
}

void X11ExclusionComposer::collectDamage(std::vector<X11Rect>& changes) {
    for (const auto& [number, kept] : kept_) {
        X11WindowPixmap& pixmap = kept->pixmap;
        const X11Rect area = pixmap.area();
        if (!pixmap.isDamaged() || partsBeneathExcluded(area).empty() || pixmap.pixmap() == 0) {
            continue;
        }
        for (const X11Rect& damaged : pixmap.takeDamage()) {
            const X11Rect onRoot{area.x + damaged.x, area.y + damaged.y, damaged.width, damaged.height};
            subtract(kept->unpainted, onRoot);
            const auto parts = partsBeneathExcluded(onRoot);
            changes.insert(changes.end(), parts.begin(), parts.end());
        }
    }
}

void X11ExclusionComposer::settle() {
    const bool isPainted =
        std::ranges::all_of(kept_, [](const auto& entry) { return entry.second->unpainted.empty(); });
    if (settlesUntil_ > 0 && ((isPainted && !isWaitingOut_) || HostClock::now() >= settlesUntil_)) {
        settlesUntil_ = 0;
        isWaitingOut_ = false;
        for (const auto& [number, kept] : kept_) {
            kept->unpainted.clear();
        }
    }
}

bool X11ExclusionComposer::hides(const X11Rect& area) const {
    return std::ranges::any_of(excludedAreas_,
                               [&](const X11Rect& excluded) { return excluded.contains(area); });
}

std::vector<X11Rect> X11ExclusionComposer::partsBeneathExcluded(const X11Rect& area) const {
    std::vector<X11Rect> parts;
    for (const X11Rect& excluded : excludedAreas_) {
        if (const X11Rect common = excluded.intersection(area); !common.isEmpty()) {
            parts.push_back(common);
        }
    }
    return parts;
}

/// What excluded windows above it hide of it.
std::vector<X11Rect> X11ExclusionComposer::coveredParts(const X11WindowStack::Window& window) const {
    std::vector<X11Rect> parts;
    const auto& windows = stack_.windows();
    auto above = std::ranges::find(windows, window.window, &X11WindowStack::Window::window);
    for (; above != windows.end(); ++above) {
        const X11Rect common = above->area.intersection(window.area).intersection(part_);
        if (above->isMapped && excluded_.contains(above->window) && !common.isEmpty()) {
            parts.push_back(common);
        }
    }
    return parts;
}

void X11ExclusionComposer::compose(const std::vector<X11Rect>& areas) {
    composedAreas_.clear();
    composed_.clear();
    DamageRegion wanted({0, 0, part_.width, part_.height});
    for (const X11Rect& area : areas) {
        const X11Rect read{area.x - chromaMargin, area.y, area.width + chromaMargin, area.height};
        for (const X11Rect& each : partsBeneathExcluded(read)) {
            wanted.add({each.x - part_.x, each.y - part_.y, each.width, each.height});
        }
    }
    if (wanted.isEmpty()) {
        return;
    }
    prepareCanvas();
    for (const X11Rect& box : wanted.boxes()) {
        composedAreas_.push_back({box.x + part_.x, box.y + part_.y, box.width, box.height});
        drawWindows(composedAreas_.back());
    }
    composed_ = grabber_->grab(canvas_, wanted.boxes());
    if (composed_.empty()) {
        throw X11Error::requestFailed("reading what lies beneath other windows", 0);
    }
}

void X11ExclusionComposer::drawWindows(const X11Rect& area) {
    xcb_connection_t* xcb = connection_.xcb();
    xcb_xfixes_set_picture_clip_region(xcb, canvasPicture_, XCB_NONE, 0, 0);
    background_->draw(area, canvasPicture_, part_.x, part_.y, opaqueFormat_);
    for (const X11WindowStack::Window& window : stack_.windows()) {
        const X11Rect common = window.area.intersection(area);
        const auto found = kept_.find(window.window);
        if (!window.isMapped || common.isEmpty() || found == kept_.end() ||
            found->second->pixmap.pixmap() == 0) {
            continue;
        }
        const bool hasAlpha = found->second->pixmap.depth() == 32 && alphaFormat_ != 0;
        const xcb_render_picture_t picture = xcb_generate_id(xcb);
        const xcb_xfixes_region_t shape = xcb_generate_id(xcb);
        xcb_render_create_picture(xcb, picture, found->second->pixmap.pixmap(),
                                  hasAlpha ? alphaFormat_ : opaqueFormat_, 0, nullptr);
        xcb_xfixes_create_region_from_window(xcb, shape, window.window, XCB_SHAPE_SK_BOUNDING);
        xcb_xfixes_set_picture_clip_region(xcb, canvasPicture_, shape,
                                           std::int16_t(window.area.x + window.border - part_.x),
                                           std::int16_t(window.area.y + window.border - part_.y));
        // Without a compositing manager the server shows windows as if they had no alpha.
        xcb_render_composite(xcb, hasAlpha && isManaged_ ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC,
                             picture, XCB_NONE, canvasPicture_, std::int16_t(common.x - window.area.x),
                             std::int16_t(common.y - window.area.y), 0, 0, std::int16_t(common.x - part_.x),
                             std::int16_t(common.y - part_.y), std::uint16_t(common.width),
                             std::uint16_t(common.height));
        xcb_xfixes_destroy_region(xcb, shape);
        xcb_render_free_picture(xcb, picture);
    }
}

void X11ExclusionComposer::prepareCanvas() {
    if (canvas_ != 0 && canvasPart_.width == part_.width && canvasPart_.height == part_.height) {
        return;
    }
    freeCanvas();
    xcb_connection_t* xcb = connection_.xcb();
    canvas_ = xcb_generate_id(xcb);
    canvasPicture_ = xcb_generate_id(xcb);
    canvasPart_ = part_;
    xcb_create_pixmap(xcb, std::uint8_t(connection_.rootDepth()), canvas_, connection_.root(),
                      std::uint16_t(part_.width), std::uint16_t(part_.height));
    xcb_render_create_picture(xcb, canvasPicture_, canvas_, opaqueFormat_, 0, nullptr);
    grabber_ = std::make_unique<X11FrameGrabber>(connection_, part_.area(), DamageRegion::maximumBoxes);
}

void X11ExclusionComposer::freeCanvas() {
    if (canvas_ != 0) {
        xcb_render_free_picture(connection_.xcb(), canvasPicture_);
        xcb_free_pixmap(connection_.xcb(), canvas_);
        canvas_ = 0;
    }
}

void X11ExclusionComposer::drawOver(const PixelBuffer& pixels, const X11Rect& area) const {
    for (const X11Rect& beneath : partsBeneathExcluded(area)) {
        for (std::size_t i = 0; i < composed_.size(); ++i) {
            const X11Rect& source = composedAreas_[i];
            const X11Rect common = beneath.intersection(source);
            for (int y = common.y; y < common.y + common.height; ++y) {
                std::memcpy(pixels.row(0, y - area.y) + std::ptrdiff_t(common.x - area.x) * 4,
                            composed_[i].row(0, y - source.y) + std::ptrdiff_t(common.x - source.x) * 4,
                            std::size_t(common.width) * 4);
            }
        }
    }
}

} // namespace tavrin
