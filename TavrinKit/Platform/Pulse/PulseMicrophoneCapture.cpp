#include "TavrinKit/Platform/Pulse/PulseMicrophoneCapture.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "TavrinKit/Capture/MicrophoneFileWriter.h"
#include "TavrinKit/Platform/Pulse/PulseError.h"
#include "TavrinKit/Platform/Pulse/PulseSoundRecorder.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Guarded.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

constexpr double startPatience = 1.7; // seconds

PulseSoundSettings soundSettings(const PulseMicrophoneCapture::Settings& settings) {
    PulseSoundSettings sound;
    sound.server = settings.server;
    sound.kind = PulseSoundSettings::Kind::microphone;
    sound.source = settings.source;
    sound.channels = 1;
    sound.warningPrefix = "microphone";
    sound.startPatience = startPatience;
    return sound;
}

void log(const char* context, const std::filesystem::path& outputURL) {
    logRecoverableFailure("TavrinKit.PulseMicrophoneCapture", context, std::current_exception(),
                          {{"outputPath", outputURL.string()}});
}

} // namespace

/// One take: the sound on its way from the server into the file.
class PulseMicrophoneCapture::Recording {
public:
    Recording(const std::filesystem::path& outputURL, const Settings& settings)
        : writer_(outputURL), recorder_(
                                  soundSettings(settings),
                                  [this](std::vector<float> sound, double time) {
                                      if (!writer_.append({std::move(sound), time})) {
                                          warn("microphone_dropped");
                                      }
                                  },
                                  [this](const std::string& warning) { warn(warning); }) {}

    void start(const std::stop_token& stop) { recorder_.start(stop); }

    void setTimeZero(double hostTime) { writer_.setTimeZero(hostTime); }

    void finish(const std::stop_token& stop) {
        {
            const std::lock_guard turn(recorderTurns_);
            recorder_.stop();
        }
        if (const std::exception_ptr failure = writer_.finish(stop)) {
            warn("microphone_stopped:" + sentenceOf(failure));
        }
    }

    void cancel() noexcept {
        {
            const std::lock_guard turn(recorderTurns_);
            recorder_.cancel();
        }
        writer_.cancel();
    }

    [[nodiscard]] std::vector<std::string> warnings() const { return warnings_.copy(); }

private:
    void warn(const std::string& warning) {
        warnings_.with([&](std::vector<std::string>& warnings) {
            if (std::find(warnings.begin(), warnings.end(), warning) == warnings.end()) {
                warnings.push_back(warning);
            }
        });
    }

    Guarded<std::vector<std::string>> warnings_;
    MicrophoneFileWriter writer_;
    std::mutex recorderTurns_;    ///< one of stop and cancel at a time; each is brief
    PulseSoundRecorder recorder_; ///< goes first: its thread calls
};

struct PulseMicrophoneCapture::State {
    struct Fields {
        std::optional<std::stop_source> starting;
        std::shared_ptr<Recording> running;
        std::shared_ptr<Recording> stopping;
        std::vector<std::string> warnings; ///< of the take that was stopped last
    };
    Guarded<Fields> fields;
};

PulseMicrophoneCapture::PulseMicrophoneCapture(std::filesystem::path outputURL, Settings settings)
    : outputURL_(std::move(outputURL)), settings_(std::move(settings)), state_(std::make_unique<State>()) {}

PulseMicrophoneCapture::~PulseMicrophoneCapture() {
    if (state_->fields.with([](State::Fields& fields) { return fields.running || fields.stopping; })) {
        PulseMicrophoneCapture::cancel();
    }
}

void PulseMicrophoneCapture::start(std::stop_token stop) {
    std::stop_source starting;
    state_->fields.with([&](State::Fields& fields) {
        if (fields.starting || fields.running || fields.stopping) {
            throw MicrophoneCaptureError::alreadyStarted();
        }
        fields.starting = starting;
    });
    const std::stop_callback forwarding(stop, [starting]() mutable { starting.request_stop(); });
    std::shared_ptr<Recording> recording;
    try {
        removeFile(outputURL_);
        recording = std::make_shared<Recording>(outputURL_, settings_);
        recording->start(starting.get_token());
        state_->fields.with([&](State::Fields& fields) {
            throwIfCancelled(starting.get_token());
            fields.running = recording;
            fields.starting.reset();
        });
    } catch (...) {
        if (recording) {
            recording->cancel();
        }
        state_->fields.with([](State::Fields& fields) { fields.starting.reset(); });
        try {
            throw;
        } catch (const PulseError&) {
            log("start", outputURL_);
            throw MicrophoneCaptureError::unableToStartRecording();
        }
    }
}

void PulseMicrophoneCapture::setTimeZero(double hostTime) {
    if (const auto recording =
            state_->fields.with([](const State::Fields& fields) { return fields.running; })) {
        recording->setTimeZero(hostTime);
    }
}

std::filesystem::path PulseMicrophoneCapture::stop(std::stop_token stop) {
    const auto recording = state_->fields.with([](State::Fields& fields) {
        if (!fields.running) {
            throw MicrophoneCaptureError::notStarted();
        }
        fields.stopping = std::exchange(fields.running, nullptr);
        return fields.stopping;
    });
    const auto end = [&] {
        state_->fields.with([&](State::Fields& fields) {
            fields.warnings = recording->warnings();
            fields.stopping.reset();
        });
    };
    try {
        recording->finish(stop);
    } catch (...) {
        end();
        throw;
    }
    end();
    if (!std::filesystem::exists(outputURL_)) {
        throw MicrophoneCaptureError::outputMissing();
    }
    return outputURL_;
}

std::vector<std::string> PulseMicrophoneCapture::warnings() const {
    return state_->fields.with([](const State::Fields& fields) {
        const auto& recording = fields.running ? fields.running : fields.stopping;
        return recording ? recording->warnings() : fields.warnings;
    });
}

void PulseMicrophoneCapture::cancel() noexcept {
    const auto recording = state_->fields.with([](State::Fields& fields) {
        if (fields.starting) { // it cleans up by itself
            fields.starting->request_stop();
        }
        auto taken = fields.running ? fields.running : fields.stopping;
        fields.running.reset();
        return taken;
    });
    if (recording) {
        recording->cancel();
    }
    try {
        removeFile(outputURL_);
    } catch (...) {
        log("cancel.removeOutput", outputURL_);
    }
}

MicrophoneCaptureFactory PulseMicrophoneCapture::factory(Settings settings) {
    return [settings = std::move(settings)](const std::filesystem::path& outputURL) {
        return std::make_shared<PulseMicrophoneCapture>(outputURL, settings);
    };
}

} // namespace tavrin
