#include "TavrinKit/Support/PixelBuffer.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace tavrin {
namespace {

constexpr std::size_t alignment = 64;

std::uint64_t nextIdentity() {
    static std::atomic<std::uint64_t> counter{0};
    return ++counter;
}

std::size_t roundUp(std::size_t value) {
    return (value + alignment - 1) / alignment * alignment;
}

int bytesPerPixel(PixelFormat format) {
    return format == PixelFormat::bgra8 ? 4 : 1;
}

} // namespace

PixelBuffer PixelBuffer::allocate(PixelFormat format, PixelSize size) {
    Planes planes{};
    const int count = format == PixelFormat::bgra8 ? 1 : 3;
    std::size_t total = 0;
    std::array<std::size_t, 3> offsets{};
    for (int i = 0; i < count; ++i) {
        Plane& plane = planes[std::size_t(i)];
        plane.width = i == 0 ? size.width : (size.width + 1) / 2;
        plane.height = i == 0 ? size.height : (size.height + 1) / 2;
        plane.stride = std::ptrdiff_t(roundUp(std::size_t(plane.width) * std::size_t(bytesPerPixel(format))));
        offsets[std::size_t(i)] = total;
        total += roundUp(std::size_t(plane.stride) * std::size_t(plane.height));
    }
    // One line more than needed, so that a vector load at the end of the last row stays inside.
    auto* memory = static_cast<std::uint8_t*>(std::aligned_alloc(alignment, total + alignment));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    const std::shared_ptr<const void> owner(memory, [](const void* p) { std::free(const_cast<void*>(p)); });
    for (int i = 0; i < count; ++i) {
        planes[std::size_t(i)].data = memory + offsets[std::size_t(i)];
    }
    return wrap(format, size, planes, owner);
}

PixelBuffer PixelBuffer::wrap(PixelFormat format, PixelSize size, const Planes& planes,
                              std::shared_ptr<const void> owner) {
    PixelBuffer buffer;
    buffer.format_ = format;
    buffer.size_ = size;
    buffer.planes_ = planes;
    buffer.planeCount_ = format == PixelFormat::bgra8 ? 1 : 3;
    buffer.identity_ = nextIdentity();
    buffer.owner_ = std::move(owner);
    return buffer;
}

void PixelBuffer::copyFrom(const PixelBuffer& other) const {
    for (int i = 0; i < planeCount_; ++i) {
        const auto bytes = std::size_t(plane(i).width) * std::size_t(bytesPerPixel(format_));
        for (int y = 0; y < plane(i).height; ++y) {
            std::memcpy(row(i, y), other.row(i, y), bytes);
        }
    }
}

} // namespace tavrin
