#include "TavrinKit/Platform/Pulse/PulseSoundSession.h"

#include <algorithm>
#include <utility>

#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin {
namespace {

using Kind = PulseSoundSettings::Kind;

/// Seconds between two looks at the server's devices at least.
constexpr double followInterval = 0.05;
/// Seconds for which the old device is still recorded when the new one has no sound yet.
constexpr double retirement = 1;

} // namespace

PulseSoundSession::PulseSoundSession(const PulseSoundSettings& settings, SteadySoundMixer& mixer, Heard heard,
                                     const std::stop_token& stop, PulseConnection::Patience patience)
    : settings_(settings), mixer_(mixer), heard_(std::move(heard)),
      connection_(settings.server, stop, patience) {
    subscribe(patience);
    follow();
    if (settings_.kind == Kind::microphone && lanes_.empty()) {
        throw PulseError::requestFailed("looking for a microphone", "there is none");
    }
    awaitStreams(patience);
}

PulseSoundSession::~PulseSoundSession() {
    for (const Lane& lane : lanes_) {
        mixer_.closeLane(lane.number);
    }
}

void PulseSoundSession::subscribe(PulseConnection::Patience patience) {
    pa_context_set_subscribe_callback(
        connection_.context(),
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) {
            static_cast<PulseSoundSession*>(self)->mayHaveChanged_ = true;
        },
        this);
    const auto device =
        settings_.kind == Kind::microphone ? PA_SUBSCRIPTION_MASK_SOURCE : PA_SUBSCRIPTION_MASK_SINK;
    const auto mask =
        pa_subscription_mask_t(settings_.kind == Kind::applications ? PA_SUBSCRIPTION_MASK_SINK_INPUT
                                                                    : PA_SUBSCRIPTION_MASK_SERVER | device);
    connection_.finish(pa_context_subscribe(connection_.context(), mask, nullptr, nullptr), "asking for news",
                       patience);
}

void PulseSoundSession::awaitStreams(PulseConnection::Patience patience) {
    const auto isEverySettled = [this] {
        return std::all_of(lanes_.begin(), lanes_.end(), [](const Lane& lane) {
            return lane.stream->isReady() || lane.stream->hasEnded();
        });
    };
    if (!connection_.runUntil(isEverySettled, patience)) {
        throw PulseError::requestFailed("opening a recording", "it does not answer");
    }
    const bool hasFailed =
        std::any_of(lanes_.begin(), lanes_.end(), [](const Lane& lane) { return lane.stream->hasEnded(); });
    if (hasFailed && settings_.kind != Kind::applications) {
        throw PulseError::requestFailed("opening a recording", connection_.lastReason());
    }
}

void PulseSoundSession::runFor(std::chrono::milliseconds duration) {
    connection_.runFor(duration);
    moveSound();
}

void PulseSoundSession::follow() {
    const double now = HostClock::now();
    if (!mayHaveChanged_ || now < earliestFollow_) {
        return;
    }
    earliestFollow_ = now + followInterval;
    mayHaveChanged_ = false;
    if (settings_.kind == Kind::applications) {
        followApplications();
    } else {
        followDevice();
    }
}

void PulseSoundSession::followDevice() {
    const std::optional<PulseDevice> device = settings_.kind == Kind::microphone
                                                  ? PulseDevices::microphone(connection_, settings_.source)
                                                  : PulseDevices::speakers(connection_);
    const std::string wanted = device ? device->source : std::string();
    const bool isOpen = std::any_of(lanes_.begin(), lanes_.end(), [&](const Lane& lane) {
        return !lane.retiresAt && lane.stream->origin().source == wanted;
    });
    if (isOpen) {
        return;
    }
    for (Lane& lane : lanes_) {
        lane.retiresAt = lane.retiresAt.value_or(HostClock::now() + retirement);
    }
    device_ = device.value_or(PulseDevice{});
    if (device) {
        open({device->source});
    }
}

void PulseSoundSession::followApplications() {
    const std::vector<std::uint32_t> wanted = PulseDevices::applications(connection_, settings_.exclusion);
    const auto isWanted = [&](const Lane& lane) {
        return std::find(wanted.begin(), wanted.end(), lane.stream->origin().sinkInput) != wanted.end();
    };
    for (std::size_t index = lanes_.size(); index-- > 0;) {
        if (!isWanted(lanes_[index])) {
            close(index);
        }
    }
    for (const std::uint32_t input : wanted) {
        const bool isOpen = std::any_of(lanes_.begin(), lanes_.end(), [&](const Lane& lane) {
            return lane.stream->origin().sinkInput == input;
        });
        if (!isOpen) {
            open({{}, input});
        }
    }
}

void PulseSoundSession::open(PulseRecordStream::Origin origin) {
    auto stream = std::make_unique<PulseRecordStream>(connection_, std::move(origin), settings_.sampleRate,
                                                      settings_.channels);
    lanes_.push_back({std::move(stream), mixer_.addLane(), false, std::nullopt});
}

void PulseSoundSession::moveSound() {
    for (Lane& lane : lanes_) {
        lane.stream->keepTime();
        while (const auto block = lane.stream->next()) {
            lane.hasSound = true;
            mixer_.append(lane.number, block->interleaved, block->time);
            const double frames = double(block->interleaved.size()) / settings_.channels;
            heard_(block->time, block->time + frames / settings_.sampleRate);
        }
    }
    const double now = HostClock::now();
    if (settings_.kind == Kind::applications) {
        heard_(now, now); // silence is as good
    }
    const bool hasSuccessor = std::any_of(lanes_.begin(), lanes_.end(),
                                          [](const Lane& lane) { return !lane.retiresAt && lane.hasSound; });
    for (std::size_t index = lanes_.size(); index-- > 0;) {
        const Lane& lane = lanes_[index];
        const bool isRetired = lane.retiresAt && (hasSuccessor || now >= *lane.retiresAt);
        if (lane.stream->hasEnded()) {
            mayHaveChanged_ = true;
            // One that never ran would fail again at once.
            earliestFollow_ = now + (lane.hasSound ? followInterval : 5 * followInterval);
        }
        if (isRetired || lane.stream->hasEnded()) {
            close(index);
        }
    }
}

void PulseSoundSession::close(std::size_t index) {
    mixer_.closeLane(lanes_[index].number);
    lanes_.erase(lanes_.begin() + std::ptrdiff_t(index));
}

bool PulseSoundSession::hasSource() const {
    return settings_.kind == Kind::applications || !lanes_.empty();
}

} // namespace tavrin
