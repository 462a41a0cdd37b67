#include "TavrinKit/Imaging/FrameSequence.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "TavrinKit/Imaging/ImageNode.h"

namespace tavrin {
namespace {

std::uint64_t nextVersion() {
    static std::atomic<std::uint64_t> counter{0};
    return ++counter;
}

/// Compares one block of one plane; `block` is the block's size in this plane.
bool samePlaneBlock(const PixelBuffer& a, const PixelBuffer& b, int plane, int column, int row, int block) {
    const int bytesPerPixel = a.format() == PixelFormat::bgra8 ? 4 : 1;
    const PixelBuffer::Plane& p = a.plane(plane);
    const int x = column * block;
    const int width = std::min(block, p.width - x);
    const int end = std::min((row + 1) * block, p.height);
    for (int y = row * block; y < end; ++y) {
        if (std::memcmp(a.row(plane, y) + x * bytesPerPixel, b.row(plane, y) + x * bytesPerPixel,
                        std::size_t(width) * std::size_t(bytesPerPixel)) != 0) {
            return false;
        }
    }
    return true;
}

bool sameBlock(const PixelBuffer& a, const PixelBuffer& b, int column, int row) {
    constexpr int size = BlockVersions::blockSize;
    if (!samePlaneBlock(a, b, 0, column, row, size)) {
        return false;
    }
    return a.planeCount() == 1 ||
           (samePlaneBlock(a, b, 1, column, row, size / 2) && samePlaneBlock(a, b, 2, column, row, size / 2));
}

} // namespace

Image FrameSequence::image(const PixelBuffer& buffer) {
    constexpr int size = BlockVersions::blockSize;
    if (buffer.identity() != last_.identity()) {
        const bool comparable =
            !last_.isEmpty() && last_.format() == buffer.format() && last_.size() == buffer.size();
        auto versions = std::make_shared<BlockVersions>();
        versions->columns = (buffer.size().width + size - 1) / size;
        versions->rows = (buffer.size().height + size - 1) / size;
        const std::uint64_t fresh = nextVersion();
        for (int row = 0; row < versions->rows; ++row) {
            for (int column = 0; column < versions->columns; ++column) {
                const bool same = comparable && sameBlock(last_, buffer, column, row);
                versions->versions.push_back(same ? lastVersions_->versions[versions->versions.size()]
                                                  : fresh);
            }
        }
        last_ = buffer;
        lastVersions_ = std::move(versions);
    }
    return imaging::pixelsImage(buffer, lastVersions_);
}

} // namespace tavrin
