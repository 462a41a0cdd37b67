#include "TavrinKit/Effects/CameraPiPLayoutResolver.h"

#include <algorithm>
#include <cmath>

#include "TavrinKit/Project/CameraPiPStyle.h"
#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

/// From this reaction on the picture moves at all.
constexpr double leastReaction = 0.001;

struct Placement {
    CameraPiPAnchor anchor;
    double widthFraction;
    double marginFraction;
};

Rect place(const Rect& bounds, CameraPiPShape shape, const Placement& placement) {
    const Rect r = bounds.standardized();
    const double width = atLeast(placement.widthFraction, 0) * r.width;
    const double height = shape == CameraPiPShape::circle ? width : width * 9 / 16;
    const double margin = atLeast(placement.marginFraction, 0) * std::min(r.width, r.height);
    const bool left =
        placement.anchor == CameraPiPAnchor::topLeft || placement.anchor == CameraPiPAnchor::bottomLeft;
    const bool top =
        placement.anchor == CameraPiPAnchor::topLeft || placement.anchor == CameraPiPAnchor::topRight;
    return {left ? r.minX() + margin : r.maxX() - margin - width,
            top ? r.maxY() - margin - height : r.minY() + margin, width, height};
}

/// 0 at scale 1, rising smoothly to 1 at scale 2.2 and full strength.
double focusReaction(double scale, double strength) {
    const double s = clampedTo(strength, 0, 1) * clampedTo((scale - 1) / 1.2, 0, 1);
    return s * s * (3 - 2 * s);
}

double normalizedCoordinate(double value, double start, double extent) {
    const double offset = value - start;
    return clampedTo(extent > 1 ? offset / extent : offset, 0, 1);
}

Vec2 normalizedFocus(Vec2 center, const Rect& bounds) {
    if (center.isNormalized()) {
        return center;
    }
    const Rect r = bounds.standardized();
    return {normalizedCoordinate(center.x, r.x, r.width), normalizedCoordinate(center.y, r.y, r.height)};
}

CameraPiPAnchor anchorOpposing(Vec2 focus) {
    if (focus.x <= 0.5) {
        return focus.y <= 0.5 ? CameraPiPAnchor::topRight : CameraPiPAnchor::bottomRight;
    }
    return focus.y <= 0.5 ? CameraPiPAnchor::topLeft : CameraPiPAnchor::bottomLeft;
}

double blend(double a, double b, double amount) {
    return a + amount * (b - a);
}

Rect blend(const Rect& a, const Rect& b, double amount) {
    return {blend(a.x, b.x, amount), blend(a.y, b.y, amount), blend(a.width, b.width, amount),
            blend(a.height, b.height, amount)};
}

} // namespace

Rect CameraPiPLayoutResolver::rect(const Rect& bounds, const CameraPiPStyle& style,
                                   const CameraTransform& camera) {
    const Rect base = place(bounds, style.shape, {style.anchor, style.widthFraction, style.marginFraction});
    if (style.layoutMode == CameraPiPLayoutMode::fixed) {
        return base;
    }
    const double reaction = focusReaction(camera.scale, style.focusReactionStrength);
    if (reaction <= leastReaction) {
        return base;
    }
    const Rect target = place(bounds, style.shape,
                              {.anchor = anchorOpposing(normalizedFocus(camera.center, bounds)),
                               .widthFraction = std::max(style.widthFraction * (1 - reaction * 0.12), 0.1),
                               .marginFraction = std::min(style.marginFraction + reaction * 0.015, 0.2)});
    return blend(base, target, reaction);
}

double CameraPiPLayoutResolver::cornerRadius(const Rect& rect, const CameraPiPStyle& style) {
    const double shorter = std::min(std::abs(rect.width), std::abs(rect.height));
    return shorter * (style.shape == CameraPiPShape::circle ? 0.5 : atLeast(style.cornerRadiusFraction, 0));
}

} // namespace tavrin
