#include "TavrinKit/Media/SteadySoundMixer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tavrin {

SteadySoundMixer::SteadySoundMixer(const SteadySound::Settings& settings, double startTime, Deliver deliver)
    : settings_(settings), startTime_(startTime), deliver_(std::move(deliver)) {}

SteadySoundMixer::Lane SteadySoundMixer::addLane() {
    inputs_.emplace(nextLane_, Input{SteadySound(settings_, startTime_, position_)});
    return nextLane_++;
}

void SteadySoundMixer::closeLane(Lane lane) {
    if (const auto input = inputs_.find(lane); input != inputs_.end()) {
        input->second.isClosed = true;
    }
}

void SteadySoundMixer::append(Lane lane, std::span<const float> interleaved, double time) {
    const auto input = inputs_.find(lane);
    if (input != inputs_.end() && !input->second.isClosed) {
        input->second.sound.append(interleaved, time);
    }
}

bool SteadySoundMixer::isAvailable(double time) const {
    return available() >= frameAt(time);
}

void SteadySoundMixer::deliver(double now, double patience) {
    const std::int64_t piece = settings_.sampleRate / 10;
    const std::int64_t overdue = frameAt(now - patience);
    // Sound may be known before it is heard.
    const std::int64_t until = std::max(overdue, std::min(available(), frameAt(now)));
    while (position_ + piece <= until) {
        deliverPiece(piece);
    }
}

void SteadySoundMixer::deliverAll(double until) {
    const std::int64_t end = frameAt(until);
    while (position_ < end) {
        deliverPiece(std::min<std::int64_t>(end - position_, settings_.sampleRate / 10));
    }
}

std::int64_t SteadySoundMixer::frameAt(double time) const {
    return std::int64_t(std::floor((time - startTime_) * settings_.sampleRate));
}

/// Without an open lane nothing can be waited for.
std::int64_t SteadySoundMixer::available() const {
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    bool isAnyOpen = false;
    for (const auto& [lane, input] : inputs_) {
        if (!input.isClosed) {
            isAnyOpen = true;
            least = std::min(least, input.sound.available());
        }
    }
    return isAnyOpen ? least : position_;
}

void SteadySoundMixer::deliverPiece(std::int64_t frames) {
    std::vector<float> piece(std::size_t(frames) * std::size_t(settings_.channels));
    for (auto& [lane, input] : inputs_) {
        input.sound.addTo(piece);
    }
    const double time = startTime_ + double(position_) / settings_.sampleRate;
    position_ += frames;
    std::erase_if(inputs_, [this](const auto& entry) {
        return entry.second.isClosed && entry.second.sound.available() <= position_;
    });
    deliver_(std::move(piece), time);
}

} // namespace tavrin
