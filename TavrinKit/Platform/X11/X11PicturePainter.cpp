#include "TavrinKit/Platform/X11/X11PicturePainter.h"

#include <algorithm>

#include "TavrinKit/Media/PixelConversion.h"

namespace tavrin {
namespace {

/// The chroma of a column pair looks one column to the left; two keep the pairs together.
constexpr int chromaMargin = 2;

int evenUp(int value) {
    return (value + 1) & ~1;
}

} // namespace

X11PicturePainter::X11PicturePainter(const X11Connection& connection, PixelSize pictureSize)
    : connection_(connection), pictureSize_(pictureSize) {}

X11PicturePainter::~X11PicturePainter() = default;

void X11PicturePainter::show(const X11Rect& part, PixelSize pictureSize) {
    pictureSize_ = pictureSize;
    part_ = {part.x, part.y, std::min(part.width, pictureSize_.width),
             std::min(part.height, pictureSize_.height)};
    damage_ = DamageRegion({0, 0, std::min(evenUp(part_.width), pictureSize_.width),
                            std::min(evenUp(part_.height), pictureSize_.height)});
    damage_.addAll();
    read_.clear();

    const std::int64_t margins =
        std::int64_t(chromaMargin) * part_.height * std::int64_t(DamageRegion::maximumBoxes + 1);
    const std::int64_t needed = part_.area() + margins;
    if (needed > mostPixels_) {
        const std::int64_t reserve = grabber_ ? needed / 2 : 0; // what grows once may grow on
        grabber_.reset();
        grabber_ =
            std::make_unique<X11FrameGrabber>(connection_, needed + reserve, DamageRegion::maximumBoxes);
        mostPixels_ = needed + reserve;
    }
}

void X11PicturePainter::addDamage(const X11Rect& area) {
    X11Rect inside = area.intersection(part_);
    if (inside.isEmpty()) {
        return;
    }
    inside.x -= part_.x;
    inside.y -= part_.y;
    damage_.add(chromaAligned(inside, damage_.bounds()));
}

/// What must be read of the drawable to convert a box of the picture.
X11Rect X11PicturePainter::areaToRead(const X11Rect& box) const {
    const int margin = std::min(chromaMargin, box.x);
    const X11Rect wanted{part_.x + box.x - margin, part_.y + box.y, box.width + margin, box.height};
    return wanted.intersection(part_);
}

bool X11PicturePainter::read(std::uint32_t drawable) {
    std::vector<X11Rect> areas;
    for (const X11Rect& box : damage_.boxes()) {
        areas.push_back(areaToRead(box));
    }
    read_ = grabber_->grab(drawable, areas);
    return read_.size() == areas.size();
}

void X11PicturePainter::paint(const PixelBuffer& target, const DrawOver& drawOver) {
    for (std::size_t i = 0; i < read_.size(); ++i) {
        const X11Rect& box = damage_.boxes()[i];
        if (drawOver) {
            drawOver(read_[i], areaToRead(box));
        }
        convert(read_[i], box, target);
    }
    read_.clear();
    damage_.clear();
}

void X11PicturePainter::convert(const PixelBuffer& source, const X11Rect& box,
                                const PixelBuffer& target) const {
    const X11Rect area = areaToRead(box);
    const X11Rect inPicture{area.x - part_.x, area.y - part_.y, area.width, area.height};
    const int margin = box.x - inPicture.x;
    convertBGRXToI420(source, partOf(target, inPicture), {margin, 0, area.width - margin, area.height});
    repeatEdges(box, target);
}

/// Fills the second half of a pair of columns or rows of which the part has only the first.
void X11PicturePainter::repeatEdges(const X11Rect& box, const PixelBuffer& target) const {
    if (box.x + box.width > part_.width) {
        for (int y = box.y; y < std::min(box.y + box.height, part_.height); ++y) {
            target.row(0, y)[part_.width] = target.row(0, y)[part_.width - 1];
        }
    }
    if (box.y + box.height > part_.height) {
        const std::uint8_t* last = target.row(0, part_.height - 1) + box.x;
        std::copy_n(last, box.width, target.row(0, part_.height) + box.x);
    }
}

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

} // namespace tavrin
