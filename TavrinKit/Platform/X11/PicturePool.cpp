#include "TavrinKit/Platform/X11/PicturePool.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace tavrin {
namespace {

constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t noChroma = 128;

void copyBox(const PixelBuffer& source, const PixelBuffer& target, const X11Rect& box) {
    for (int i = 0; i < source.planeCount(); ++i) {
        const int shift = i == 0 ? 0 : 1;
        const int left = box.x >> shift;
        const int right = (box.x + box.width + shift) >> shift;
        const int top = box.y >> shift;
        const int bottom = (box.y + box.height + shift) >> shift;
        for (int y = top; y < bottom; ++y) {
            std::memcpy(target.row(i, y) + left, source.row(i, y) + left, std::size_t(right - left));
        }
    }
}

} // namespace

struct PicturePool::Slot {
    PixelBuffer memory;
    DamageRegion stale; ///< where it differs from the latest picture
    std::atomic<bool> isOut{false};
};

std::size_t PicturePool::limitFor(int queueDepth) {
    constexpr std::size_t picturesPerQueuedOne = 4;
    return picturesPerQueuedOne * std::size_t(std::max(queueDepth, 1));
}

PicturePool::PicturePool(PixelSize size, std::size_t limit) : size_(size), limit_(limit) {}

PicturePool::~PicturePool() = default;

bool PicturePool::hasRoom() const {
    return slots_.size() < limit_ || unusedSlot() != nullptr;
}

std::shared_ptr<PicturePool::Slot> PicturePool::unusedSlot() const {
    const auto found = std::find_if(slots_.begin(), slots_.end(), [this](const auto& slot) {
        // The latest picture is what the next one is copied from.
        return slot != latest_ && !slot->isOut.load(std::memory_order_acquire);
    });
    return found == slots_.end() ? nullptr : *found;
}

std::shared_ptr<PicturePool::Slot> PicturePool::newSlot() {
    const auto slot = std::make_shared<Slot>();
    slot->memory = PixelBuffer::allocate(PixelFormat::i420, size_);
    slot->stale = DamageRegion({0, 0, size_.width, size_.height});
    slot->stale.addAll();
    slots_.push_back(slot);
    return slot;
}

PixelBuffer PicturePool::next(const DamageRegion& damage) {
    std::shared_ptr<Slot> slot = unusedSlot();
    if (!slot) {
        slot = newSlot();
    }
    if (!latest_) {
        fillBlack(slot->memory);
    } else {
        for (const X11Rect& box : slot->stale.boxes()) {
            if (!damage.covers(box)) {
                copyBox(latest_->memory, slot->memory, box);
            }
        }
    }
    slot->stale.clear();
    for (const auto& other : slots_) {
        if (other != slot) {
            other->stale.add(damage);
        }
    }
    latest_ = slot;
    slot->isOut.store(true, std::memory_order_relaxed);

    PixelBuffer::Planes planes;
    for (int i = 0; i < slot->memory.planeCount(); ++i) {
        planes[std::size_t(i)] = slot->memory.plane(i);
    }
    const std::shared_ptr<const void> owner(
        slot.get(), [slot](const void*) { slot->isOut.store(false, std::memory_order_release); });
    return PixelBuffer::wrap(PixelFormat::i420, size_, planes, owner);
}

void fillBlack(const PixelBuffer& picture) {
    for (int i = 0; i < picture.planeCount(); ++i) {
        const PixelBuffer::Plane& plane = picture.plane(i);
        for (int y = 0; y < plane.height; ++y) {
            std::memset(picture.row(i, y), i == 0 ? blackLuma : noChroma, std::size_t(plane.width));
        }
    }
}

} // namespace tavrin
