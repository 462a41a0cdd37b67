#pragma once

#include <vector>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// A shape made of closed outlines. Which way y grows is up to who draws it.
struct VectorPath {
    struct Polygon {
        std::vector<Vec2> points;
    };
    struct Ellipse {
        Rect bounds;
    };

    std::vector<Polygon> polygons;
    std::vector<Ellipse> ellipses;

    void addRectangle(const Rect& r) {
        polygons.push_back(
            {{{r.minX(), r.minY()}, {r.maxX(), r.minY()}, {r.maxX(), r.maxY()}, {r.minX(), r.maxY()}}});
    }

    /// Null for an empty path.
    [[nodiscard]] Rect boundingBox() const {
        Rect box = Rect::null();
        for (const Polygon& polygon : polygons) {
            for (const Vec2& p : polygon.points) {
                box = box.united({p.x, p.y, 0, 0});
            }
        }
        for (const Ellipse& ellipse : ellipses) {
            box = box.united(ellipse.bounds);
        }
        return box;
    }
};

} // namespace tavrin
