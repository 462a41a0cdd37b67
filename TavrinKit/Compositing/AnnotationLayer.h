#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "TavrinKit/Compositing/PixelGrid.h"
#include "TavrinKit/Compositing/RecentlyUsed.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Project/AnnotationTrack.h"
#include "TavrinKit/Project/CropRegion.h"
#include "TavrinKit/Project/FramingStyle.h"

namespace tavrin {

/// Draws the boxes with text, images and figures that stand on the recording.
///
/// They are laid out on the cropped picture and stay there when crop and framing change; the zoom doesn't
/// move them. A box is drawn into one bitmap when it first shows and kept while there is room: about 128 MiB.
/// A picture that cannot be read leaves its box empty, with one line in the log. Any thread.
class AnnotationLayer {
public:
    AnnotationLayer(AnnotationTrack track, CropRegion crop, FramingStyle framing,
                    std::optional<std::filesystem::path> packageRoot);

    /// The annotations of a time of the recording, those of higher `zIndex` on top; those that share one in
    /// the order of their ids.
    [[nodiscard]] Image overlayAnnotations(const Image& image, double sourceTime,
                                           const PixelGrid& grid) const;

    /// Where a region's box stands in a frame of this extent; nothing when it has no room.
    [[nodiscard]] std::optional<Rect> box(const AnnotationRegion& region, const Rect& extent) const;

    struct Arrow {
        Vec2 start;
        Vec2 end;
    };
    /// Of a rectangle with y upward.
    [[nodiscard]] static Arrow arrowEndpoints(const Rect& rect, AnnotationArrowDirection direction);

private:
    struct BitmapKey {
        std::size_t region; ///< its index
        Rect box;
        PixelGrid grid;
        friend bool operator==(const BitmapKey&, const BitmapKey&) = default;
    };

    [[nodiscard]] Image bitmap(std::size_t region, const Rect& box, const PixelGrid& grid) const;
    [[nodiscard]] Image annotationImage(const AnnotationRegion& region, const Rect& box,
                                        const PixelGrid& grid) const;

    std::vector<AnnotationRegion> regions_; ///< in the order in which they are drawn
    CropRegion crop_;
    FramingStyle framing_;
    std::optional<std::filesystem::path> packageRoot_;
    mutable RecentlyUsed<BitmapKey, Image> bitmaps_;
};

} // namespace tavrin
