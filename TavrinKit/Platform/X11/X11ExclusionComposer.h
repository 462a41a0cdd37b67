#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <xcb/render.h>
#include <xcb/xcb.h>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Platform/X11/X11ExcludedWindows.h"
#include "TavrinKit/Platform/X11/X11FrameGrabber.h"
#include "TavrinKit/Platform/X11/X11RootBackground.h"
#include "TavrinKit/Platform/X11/X11WindowPixmap.h"
#include "TavrinKit/Platform/X11/X11WindowStack.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

class X11Connection;

/// Leaves the windows of excluded applications out of a part of the root window: where they lie, it puts
/// together what would be seen without them.
///
/// As long as none of them lies in the part this costs nothing but the events of windows that come, go and
/// move. When one comes, the other windows' pictures are kept by the server in memory of their own
/// (X11WindowPixmap) and drawn over each other in their order, shaped ones in their shape. Those kept
/// pictures tell nothing of what was covered until then: their owners are given a moment to paint it,
/// `isSettling`.
///
/// The order of events and replies is what makes a picture trustworthy: when the reply with the root window's
/// pixels is there, so is every event about what was on it. A caller reads the pixels, then the events, and
/// reads again if the composer `isOutdated` by then. One thread at a time.
class X11ExclusionComposer {
public:
    /// @param connection  outlives the object
    /// @param entries     by which the owners of windows are known
    /// @throws X11Error
    X11ExclusionComposer(const X11Connection& connection, CaptureApplicationExclusionRule rule,
                         std::shared_ptr<const DesktopEntryIndex> entries);
    ~X11ExclusionComposer();
    X11ExclusionComposer(const X11ExclusionComposer&) = delete;
    X11ExclusionComposer& operator=(const X11ExclusionComposer&) = delete;

    /// Takes in what the server has sent.
    void handle(const xcb_generic_event_t& event);
    /// Whether `update` may have something to tell.
    [[nodiscard]] bool hasNews() const;

    /// Takes stock of all that was handled.
    /// @param part  of the root window, that is recorded
    /// @return what is to be seen anew in it, apart from what the root window's damage tells
    /// @throws X11Error
    [[nodiscard]] std::vector<X11Rect> update(const X11Rect& part);

    // As of the last `update`.
    /// Whether a picture would lack what covered windows are still painting. Ends by itself, soon.
    [[nodiscard]] bool isSettling() const { return settlesUntil_ > 0; }
    /// Whether all of the area lies under excluded windows, so that changes there are none.
    [[nodiscard]] bool hides(const X11Rect& area) const;

    /// Puts together what lies beneath excluded windows in these areas, for `drawOver`.
    /// @throws X11Error
    void compose(const std::vector<X11Rect>& areas);
    /// @param pixels  bgra8, of the size of `area`, which lies in what was composed last
    void drawOver(const PixelBuffer& pixels, const X11Rect& area) const;

    /// Whether the last `update` no longer knows where excluded windows lie.
    [[nodiscard]] bool isOutdated() const { return isOutdated_; }

private:
    struct Kept;

    void note(const X11WindowStack::Change& change);
    void learnOwners();
    void locateExcluded();
    [[nodiscard]] bool sawExcludedGo() const;
    void beginKeeping();
    void keepWindows();
    void keep(const std::vector<X11WindowStack::Window>& windows);
    void letGo();
    void collectDamage(std::vector<X11Rect>& changes);
    void settle();
    [[nodiscard]] std::vector<X11Rect> partsBeneathExcluded(const X11Rect& area) const;
    [[nodiscard]] std::vector<X11Rect> coveredParts(const X11WindowStack::Window& window) const;
    void drawWindows(const X11Rect& area);
    void prepareCanvas();
    void freeCanvas();

    const X11Connection& connection_;
    X11WindowStack stack_;
    X11ExcludedWindows excluded_;
    std::uint32_t managerSelection_ = 0;
    std::uint8_t shapeEvent_ = 0;
    xcb_render_pictformat_t opaqueFormat_ = 0;
    xcb_render_pictformat_t alphaFormat_ = 0;

    X11Rect part_;
    std::vector<X11Rect> excludedAreas_; ///< in the part
    std::vector<X11WindowStack::Change> changes_;
    bool isOutdated_ = true;

    // Only while excluded windows lie in the part, and for a while after that.
    std::map<std::uint32_t, std::unique_ptr<Kept>> kept_; ///< by their numbers
    std::unique_ptr<X11RootBackground> background_;
    bool isManaged_ = false; ///< by a compositing manager
    double neededAt_ = 0;    ///< host clock: when an excluded window lay in the part last
    double settlesUntil_ = 0;
    bool isWaitingOut_ = false; ///< settles by time alone

    std::uint32_t canvas_ = 0; ///< a pixmap of the part's size
    xcb_render_picture_t canvasPicture_ = 0;
    X11Rect canvasPart_;
    std::unique_ptr<X11FrameGrabber> grabber_;
    std::vector<X11Rect> composedAreas_;
    std::vector<PixelBuffer> composed_; ///< one for each of `composedAreas_`
};

} // namespace tavrin
