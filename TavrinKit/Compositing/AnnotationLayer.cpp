#include "TavrinKit/Compositing/AnnotationLayer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <numbers>
#include <utility>

#include "TavrinKit/Compositing/FrameOperations.h"
#include "TavrinKit/Compositing/HexColor.h"
#include "TavrinKit/Compositing/OverlayMapping.h"
#include "TavrinKit/Compositing/OverlayPicture.h"
#include "TavrinKit/Imaging/Text.h"
#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr const char* service = "TavrinKit.AnnotationLayer";
constexpr std::size_t keptBytes = std::size_t(128) << 20;
constexpr double leastCropSide = 0.05;
constexpr double leastBoxSide = 18;
constexpr double thickestStroke = 1024; ///< pixels; a box full of nothing else
constexpr double shadowStrength = 0.55;
constexpr double shadowRise = 3;
constexpr double shadowDeviation = 5; ///< what looks like a blur of 10
constexpr double textPanelOpacity = 0.92;
constexpr double picturePanelOpacity = 0.16;
constexpr double figurePanelOpacity = 0.14;
constexpr double figureFillOpacity = 0.18;

std::vector<AnnotationRegion> inDrawingOrder(std::vector<AnnotationRegion> regions) {
    std::ranges::stable_sort(regions, [](const AnnotationRegion& a, const AnnotationRegion& b) {
        return a.zIndex != b.zIndex ? a.zIndex < b.zIndex : a.id < b.id;
    });
    return regions;
}

Color strokeColor(const AnnotationStyle& style) {
    return parseHexColor(style.strokeColorHex).value_or(Color{1, 1, 1, 1});
}

Color fillColor(const AnnotationStyle& style, double opacity) {
    const Color color = parseHexColor(style.fillColorHex).value_or(Color{0.15, 0.39, 0.92, 1});
    return {color.r, color.g, color.b, opacity};
}

double strokeWidth(const AnnotationStyle& style) {
    return clampedTo(style.strokeWidth, 0, thickestStroke);
}

double borderRadius(const AnnotationStyle& style) {
    return atLeast(style.borderRadius, 0);
}

/// The tinted box on which all kinds stand.
Image annotationPanelImage(const Rect& box, const AnnotationStyle& style, double fillOpacity,
                           const PixelGrid& grid) {
    const Rect rect = box.inset(1, 1);
    const double radius = std::min(std::min(rect.width, rect.height) / 2, borderRadius(style));
    Raster raster = grid.raster(rect.inset(-strokeWidth(style), -strokeWidth(style)).intersection(box));
    raster.fillRoundedRectangle(rect, radius, fillColor(style, fillOpacity));
    raster.strokeRoundedRectangle(rect, radius, strokeWidth(style), strokeColor(style));
    const Image panel = raster.image();
    const Image shadow =
        panel.colorMatrix(ColorMatrix::shadow(clampedTo(style.shadowOpacity, 0, 1) * shadowStrength))
            .translated(0, shadowRise)
            .blurred(shadowDeviation);
    return panel.over(shadow);
}

TextFont font(const AnnotationStyle& style) {
    switch (style.fontWeight) {
    case AnnotationFontWeight::regular:
        return {style.fontSize, FontWeight::regular};
    case AnnotationFontWeight::semibold:
        return {style.fontSize, FontWeight::medium};
    case AnnotationFontWeight::bold:
        return {style.fontSize, FontWeight::bold};
    }
    return {style.fontSize};
}

TextAlignment alignment(const AnnotationStyle& style) {
    switch (style.textAlignment) {
    case AnnotationTextAlignment::leading:
        return TextAlignment::left;
    case AnnotationTextAlignment::center:
        return TextAlignment::center;
    case AnnotationTextAlignment::trailing:
        return TextAlignment::right;
    }
    return TextAlignment::left;
}

Image annotationTextImage(const AnnotationRegion& region, const Rect& box, const PixelGrid& grid) {
    const std::string text = trimmed(region.content);
    if (text.empty()) {
        return {};
    }
    const Image panel = annotationPanelImage(box, region.style, textPanelOpacity, grid);
    const Rect column = box.inset(std::max(box.width * 0.08, 12.0), std::max(box.height * 0.12, 8.0));
    if (column.isEmpty()) {
        return panel;
    }
    Raster raster = grid.raster(column);
    TextBlock(text, font(region.style), column.width, alignment(region.style))
        .draw(raster, column, parseHexColor(region.style.textColorHex).value_or(Color{1, 1, 1, 1}));
    return raster.image().over(panel);
}

void drawArrow(Raster& raster, const AnnotationLayer::Arrow& arrow, const Rect& inner,
               const AnnotationStyle& style) {
    constexpr double halfOpening = std::numbers::pi / 6;
    const double angle = std::atan2(arrow.end.y - arrow.start.y, arrow.end.x - arrow.start.x);
    const double length = std::max(std::min(inner.width, inner.height) * 0.18, 14.0);
    const auto back = [&](double direction) {
        return arrow.end - Vec2{std::cos(direction), std::sin(direction)} * length;
    };
    const VectorPath head{{{{arrow.end, back(angle - halfOpening), back(angle + halfOpening)}}}, {}};
    raster.strokeLine(arrow.start, arrow.end, strokeWidth(style), strokeColor(style));
    raster.fill(head, fillColor(style, figureFillOpacity));
    raster.stroke(head, strokeWidth(style), strokeColor(style));
}

void drawFigure(Raster& raster, const AnnotationFigureData& figure, const Rect& inner,
                const AnnotationStyle& style) {
    const Color fill = fillColor(style, figureFillOpacity);
    const Color stroke = strokeColor(style);
    switch (figure.shape) {
    case AnnotationFigureShape::rectangle: {
        const Size2D radii{borderRadius(style), borderRadius(style)};
        raster.fillRoundedRectangle(inner, radii, fill);
        raster.strokeRoundedRectangle(inner, radii, strokeWidth(style), stroke);
        return;
    }
    case AnnotationFigureShape::circle: {
        const VectorPath ellipse{{}, {{inner}}};
        raster.fill(ellipse, fill);
        raster.stroke(ellipse, strokeWidth(style), stroke);
        return;
    }
    case AnnotationFigureShape::arrow:
        drawArrow(raster, AnnotationLayer::arrowEndpoints(inner, figure.direction), inner, style);
        return;
    }
}

Image annotationFigureImage(const AnnotationRegion& region, const Rect& box, const PixelGrid& grid) {
    const AnnotationStyle& style = region.style;
    const Image panel = annotationPanelImage(box, style, figurePanelOpacity, grid);
    const double margin = std::max(strokeWidth(style) + 6, 10.0);
    const Rect inner = box.inset(margin, margin);
    if (inner.isEmpty()) {
        return panel;
    }
    Raster raster = grid.raster(box);
    drawFigure(raster, region.figure.value_or(AnnotationFigureData{}), inner, style);
    return raster.image().over(panel);
}

Image annotationPictureImage(const AnnotationRegion& region, const Rect& box, const PixelGrid& grid,
                             const std::optional<std::filesystem::path>& packageRoot) {
    const AnnotationStyle& style = region.style;
    const Image panel = annotationPanelImage(box, style, picturePanelOpacity, grid);
    const double margin = std::max(strokeWidth(style) + 2, 6.0);
    const Rect inner = box.inset(margin, margin);
    if (inner.isEmpty()) {
        return panel;
    }
    const double longerSide = std::max(inner.width * grid.scale.x, inner.height * grid.scale.y);
    const auto picture = watermarkImage(region.imagePath, packageRoot, longerSide, service);
    if (!picture) {
        return panel;
    }
    const double radius = std::max(borderRadius(style) * 0.8, 6.0);
    return applyCornerRadius(fit(*picture, inner), radius, inner).over(panel);
}

std::size_t bytes(const Image& bitmap, const PixelGrid& grid) {
    const Rect& extent = bitmap.extent();
    const double pixels = bitmap.isEmpty() ? 0 : extent.width * grid.scale.x * extent.height * grid.scale.y;
    return 256 + std::size_t(pixels) * 4;
}

} // namespace

AnnotationLayer::AnnotationLayer(AnnotationTrack track, CropRegion crop, FramingStyle framing,
                                 std::optional<std::filesystem::path> packageRoot)
    : regions_(inDrawingOrder(std::move(track.regions))), crop_(crop), framing_(std::move(framing)),
      packageRoot_(std::move(packageRoot)), bitmaps_(keptBytes) {}

Image AnnotationLayer::overlayAnnotations(const Image& image, double sourceTime,
                                          const PixelGrid& grid) const {
    Image result = image;
    for (std::size_t i = 0; i < regions_.size(); ++i) {
        if (!regions_[i].isVisible(sourceTime)) {
            continue;
        }
        if (const auto place = box(regions_[i], image.extent())) {
            result = bitmap(i, *place, grid).cropped(image.extent()).over(result);
        }
    }
    return result;
}

std::optional<Rect> AnnotationLayer::box(const AnnotationRegion& region, const Rect& extent) const {
    if (extent.isEmpty()) {
        return {};
    }
    const Rect content = visibleContentRect(extent, framing_);
    const double cropWidth = atLeast(crop_.width, leastCropSide);
    const double cropHeight = atLeast(crop_.height, leastCropSide);
    const double nx = clampedTo((region.position.x - crop_.x) / cropWidth, 0, 1);
    const double ny = clampedTo((region.position.y - crop_.y) / cropHeight, 0, 1);
    const double w =
        std::min(atLeast(content.width * (region.size.width / cropWidth), leastBoxSide), content.width);
    const double h =
        std::min(atLeast(content.height * (region.size.height / cropHeight), leastBoxSide), content.height);
    if (!(w > 1) || !(h > 1)) {
        return {};
    }
    return Rect{std::max(std::min(content.minX() + nx * content.width, content.maxX() - w), content.minX()),
                std::max(std::min(content.minY() + ny * content.height, content.maxY() - h), content.minY()),
                w, h};
}

AnnotationLayer::Arrow AnnotationLayer::arrowEndpoints(const Rect& rect, AnnotationArrowDirection direction) {
    const double dx = rect.width * 0.18;
    const double dy = rect.height * 0.18;
    const double left = rect.minX() + dx;
    const double right = rect.maxX() - dx;
    const double low = rect.minY() + dy;
    const double high = rect.maxY() - dy;
    const Vec2 mid = rect.mid();
    switch (direction) {
    case AnnotationArrowDirection::up:
        return {{mid.x, low}, {mid.x, high}};
    case AnnotationArrowDirection::down:
        return {{mid.x, high}, {mid.x, low}};
    case AnnotationArrowDirection::left:
        return {{right, mid.y}, {left, mid.y}};
    case AnnotationArrowDirection::right:
        return {{left, mid.y}, {right, mid.y}};
    case AnnotationArrowDirection::upLeft:
        return {{right, low}, {left, high}};
    case AnnotationArrowDirection::upRight:
        return {{left, low}, {right, high}};
    case AnnotationArrowDirection::downLeft:
        return {{right, high}, {left, low}};
    case AnnotationArrowDirection::downRight:
        return {{left, high}, {right, low}};
    }
    return {{left, mid.y}, {right, mid.y}};
}

Image AnnotationLayer::bitmap(std::size_t region, const Rect& box, const PixelGrid& grid) const {
    return bitmaps_.value(
        {region, box, grid}, [&] { return annotationImage(regions_[region], box, grid); },
        [&](const Image& made) { return bytes(made, grid); });
}

Image AnnotationLayer::annotationImage(const AnnotationRegion& region, const Rect& place,
                                       const PixelGrid& grid) const {
    const Rect box{place.minX(), place.minY(), std::ceil(place.width), std::ceil(place.height)};
    try {
        switch (region.type) {
        case AnnotationType::text:
            return grid.drawn(annotationTextImage(region, box, grid));
        case AnnotationType::image:
            return grid.drawn(annotationPictureImage(region, box, grid, packageRoot_));
        case AnnotationType::figure:
            return grid.drawn(annotationFigureImage(region, box, grid));
        }
    } catch (const std::exception&) {
        logRecoverableFailure(service, "annotationImage", std::current_exception(),
                              {{"id", region.id.string()}});
    }
    return {};
}

} // namespace tavrin
