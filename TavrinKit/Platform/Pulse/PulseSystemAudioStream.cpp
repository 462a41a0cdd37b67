#include "TavrinKit/Platform/Pulse/PulseSystemAudioStream.h"

#include <utility>
#include <vector>

#include "TavrinKit/Platform/Pulse/PulseSoundRecorder.h"
#include "TavrinKit/Support/Detachable.h"
#include "TavrinKit/Support/Turns.h"

namespace tavrin {
namespace {

PulseSoundSettings soundSettings(const std::string& server, const StreamConfiguration& configuration) {
    PulseSoundSettings settings;
    settings.server = server;
    settings.sampleRate = configuration.sampleRate;
    settings.channels = configuration.channelCount;
    settings.exclusion = configuration.audioExclusion;
    // This process plays nothing itself: without another name in the rule the monitor has it all.
    const auto ourselves = CaptureApplicationExclusionRule::currentProcess();
    const bool excludesOthers = settings.exclusion.united(ourselves) != ourselves;
    settings.kind =
        excludesOthers ? PulseSoundSettings::Kind::applications : PulseSoundSettings::Kind::speakers;
    return settings;
}

} // namespace

class PulseSystemAudioStream::Implementation {
public:
    Implementation(const std::string& server, const StreamConfiguration& configuration,
                   std::shared_ptr<ScreenStreamOutput> output)
        : output_(std::move(output)),
          recorder_(
              soundSettings(server, configuration),
              [this](std::vector<float> sound, double time) {
                  output_.call([&](ScreenStreamOutput& to) {
                      to.didOutput(AudioSample{std::move(sound), time});
                  });
              },
              [this](std::string warning) {
                  output_.call([&](ScreenStreamOutput& to) { to.didWarn(std::move(warning)); });
              }) {}

    void start(const std::stop_token& stop) {
        const Turns::Turn turn = turns_.take(stop);
        if (!std::exchange(hasStarted_, true)) {
            recorder_.start(stop);
        }
    }

    void stop(const std::stop_token& stop) {
        const Turns::Turn turn = turns_.take(stop);
        recorder_.stop();
    }

    void removeOutput() { output_.detach(); }

private:
    Detachable<ScreenStreamOutput> output_;
    Turns turns_; ///< for start and stop
    bool hasStarted_ = false;
    PulseSoundRecorder recorder_; ///< goes first: its thread calls
};

PulseSystemAudioStream::PulseSystemAudioStream(const std::string& server,
                                               const StreamConfiguration& configuration,
                                               std::shared_ptr<ScreenStreamOutput> output)
    : implementation_(std::make_unique<Implementation>(server, configuration, std::move(output))) {}

PulseSystemAudioStream::~PulseSystemAudioStream() {
    implementation_->removeOutput();
}

void PulseSystemAudioStream::start(std::stop_token stop) {
    implementation_->start(stop);
}

void PulseSystemAudioStream::stop(std::stop_token stop) {
    implementation_->stop(stop);
}

void PulseSystemAudioStream::removeOutput() {
    implementation_->removeOutput();
}

SystemAudioStreamFactory PulseSystemAudioStream::factory(std::string server) {
    return [server = std::move(server)](const StreamConfiguration& configuration,
                                        std::shared_ptr<ScreenStreamOutput> output) {
        return std::make_unique<PulseSystemAudioStream>(server, configuration, std::move(output));
    };
}

} // namespace tavrin
