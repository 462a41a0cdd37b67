#include "TavrinKit/Project/CursorGlyph.h"

#include <array>
#include <initializer_list>

namespace tavrin::CursorGlyph {
namespace {

class Shape {
public:
    Shape& polygon(std::initializer_list<Vec2> points) {
        path_.polygons.push_back({points});
        return *this;
    }
    Shape& rectangle(double x, double y, double width, double height) {
        path_.addRectangle({x, y, width, height});
        return *this;
    }
    Shape& ellipse(double x, double y, double width, double height) {
        path_.ellipses.push_back({{x, y, width, height}});
        return *this;
    }
    operator VectorPath() const { return path_; }

private:
    VectorPath path_;
};

Shape arrow() {
    return Shape().polygon(
        {{0.5, 0.5}, {0.5, 26}, {6.8, 19}, {10.5, 28.6}, {14.3, 27.1}, {10.9, 17.9}, {19.1, 17.9}});
}

Shape pointingHand() {
    return Shape().polygon({{7.5, 3},
                            {11.5, 3},
                            {11.5, 15},
                            {13, 13.5},
                            {16, 13.5},
                            {18.5, 16},
                            {18.5, 21},
                            {15, 24},
                            {8, 24},
                            {4.5, 20.5},
                            {4.5, 9},
                            {7.5, 9}});
}

Shape crosshair() {
    return Shape()
        .rectangle(8.8, 1, 2.4, 8.5)
        .rectangle(8.8, 16, 2.4, 8.5)
        .rectangle(1, 8.8, 8.5, 2.4)
        .rectangle(16, 8.8, 8.5, 2.4)
        .ellipse(6.5, 6.5, 7, 7);
}

Shape iBeam() {
    return Shape().rectangle(4, 1, 12, 3).rectangle(8.2, 4, 3.6, 18).rectangle(4, 22, 12, 3);
}

Shape openHand() {
    return Shape().polygon({{5, 8},
                            {7, 8},
                            {7, 3},
                            {9, 3},
                            {9, 8},
                            {11, 8},
                            {11, 2},
                            {13, 2},
                            {13, 9},
                            {15, 9},
                            {15, 4},
                            {17, 4},
                            {17, 16},
                            {13.5, 23},
                            {8, 23},
                            {5, 19}});
}

Shape closedHand() {
    return Shape().polygon(
        {{5, 10}, {18, 10}, {20.5, 12.5}, {20.5, 18.5}, {15.5, 23.5}, {8, 23.5}, {4.5, 19.5}, {4.5, 12}});
}

Shape resizeHorizontal() {
    return Shape().polygon({{2, 13},
                            {7.5, 8},
                            {7.5, 11},
                            {17.5, 11},
                            {17.5, 8},
                            {23, 13},
                            {17.5, 18},
                            {17.5, 15},
                            {7.5, 15},
                            {7.5, 18}});
}

Shape resizeVertical() {
    return Shape().polygon({{13, 2},
                            {18, 7.5},
                            {15, 7.5},
                            {15, 17.5},
                            {18, 17.5},
                            {13, 23},
                            {8, 17.5},
                            {11, 17.5},
                            {11, 7.5},
                            {8, 7.5}});
}

Shape contextualMenu() {
    return arrow().ellipse(14, 18.5, 9, 9).rectangle(17.7, 21.9, 1.6, 2.2);
}

Shape alias() {
    return Shape().polygon({{3, 8.5},
                            {10, 8.5},
                            {10, 5.6},
                            {17, 12},
                            {10, 18.4},
                            {10, 15.5},
                            {3, 15.5},
                            {3, 22},
                            {1, 24},
                            {1, 14.8},
                            {8, 14.8},
                            {8, 9.2},
                            {1, 9.2},
                            {1, 0},
                            {3, 2}});
}

Shape copy() {
    return Shape().rectangle(4, 6, 12, 15).rectangle(8, 2, 12, 15);
}

Shape notAllowed() {
    return Shape().ellipse(2, 2, 20, 20).polygon({{6, 18}, {8.2, 20.2}, {20.2, 8.2}, {18, 6}});
}

Shape zoomOut() {
    return Shape()
        .ellipse(2, 8, 13.5, 13.5)
        .rectangle(5, 14, 7.5, 1.5)
        .polygon({{13.2, 7}, {16.5, 3.8}, {22.8, 10.1}, {19.6, 13.3}});
}

Shape zoomIn() {
    return zoomOut().rectangle(8, 11, 1.5, 7.5);
}

Shape resizeDiagonalNWSE() {
    return Shape()
        .polygon({{5, 21}, {8, 24}, {24, 8}, {21, 5}})
        .polygon({{2, 22}, {9, 22}, {2, 15}})
        .polygon({{22, 2}, {22, 9}, {15, 2}});
}

Shape resizeDiagonalNESW() {
    return Shape()
        .polygon({{5, 5}, {8, 2}, {24, 18}, {21, 21}})
        .polygon({{22, 24}, {15, 24}, {22, 17}})
        .polygon({{0, 2}, {7, 2}, {0, 9}});
}

} // namespace

const VectorPath& path(CursorGlyphKind kind) {
    static const std::array<VectorPath, 16> paths{arrow(),
                                                  pointingHand(),
                                                  crosshair(),
                                                  iBeam(),
                                                  openHand(),
                                                  closedHand(),
                                                  resizeHorizontal(),
                                                  resizeVertical(),
                                                  contextualMenu(),
                                                  alias(),
                                                  copy(),
                                                  notAllowed(),
                                                  zoomIn(),
                                                  zoomOut(),
                                                  resizeDiagonalNWSE(),
                                                  resizeDiagonalNESW()};
    return paths.at(std::size_t(kind));
}

bool usesTopLeftTipHotspot(CursorGlyphKind kind) {
    switch (kind) {
    case CursorGlyphKind::arrow:
    case CursorGlyphKind::pointingHand:
    case CursorGlyphKind::contextualMenu:
    case CursorGlyphKind::alias:
        return true;
    default:
        return false;
    }
}

} // namespace tavrin::CursorGlyph
