#include "FakeDesktop.h"

#include "CaptureFixtures.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin::test {
namespace {

class FakeStream : public ScreenStream {
public:
    FakeStream(std::shared_ptr<CallLog> log, FakeStreamScript script,
               std::shared_ptr<ScreenStreamOutput> output)
        : log_(std::move(log)), script_(std::move(script)), output_(std::move(output)) {}

    void start(std::stop_token stop) override {
        log_->add("start");
        run(script_.onStart, stop);
    }
    void stop(std::stop_token stop) override {
        log_->add("stop");
        run(script_.onStop, stop);
    }
    void removeOutput() override {
        log_->add("removeOutput");
        output_.with([](auto& output) { output.reset(); });
    }
    std::int64_t droppedFrames() const override { return script_.droppedFrames; }

private:
    void run(const std::function<void(ScreenStreamOutput&, const std::stop_token&)>& step,
             const std::stop_token& stop) {
        if (const auto output = output_.copy(); step && output) {
            step(*output, stop);
        }
    }

    const std::shared_ptr<CallLog> log_;
    const FakeStreamScript script_;
    Guarded<std::shared_ptr<ScreenStreamOutput>> output_;
};

} // namespace

FakeDesktop::FakeDesktop(std::shared_ptr<CallLog> log) : log_(std::move(log)) {
    content.displays = {{41, "A", {0, 0, 64, 48}, {64, 48}, false}, {7, "B", {64, 0, 33, 1}, {33, 1}, true}};
    content.applications = {{"org.keep", "keep", 100}, {"org.own", "own", 200}, {"", "third", 300}};
    script.onStart = [](ScreenStreamOutput& to, const auto&) {
        to.didOutput(desktopPicture(60));
    };
}

bool FakeDesktop::requestAccess() {
    log_->add("ask");
    isKnownToGrant = grantsWhenAsked;
    return grantsWhenAsked;
}

ShareableContent FakeDesktop::shareableContent(bool /*excludingDesktopWindows*/,
                                               bool /*onScreenWindowsOnly*/) {
    if (onContent) {
        onContent();
    }
    return content;
}

std::unique_ptr<ScreenStream> FakeDesktop::makeStream(const ContentFilter& newFilter,
                                                      const StreamConfiguration& newConfiguration,
                                                      std::shared_ptr<ScreenStreamOutput> newOutput) {
    filter = newFilter;
    configuration = newConfiguration;
    output = newOutput;
    return std::make_unique<FakeStream>(log_, script, std::move(newOutput));
}

VideoSample desktopPicture(int luma) {
    return videoSample(greyPicture({64, 48}, luma), HostClock::now());
}

void FakeMicrophone::start(std::stop_token) {
    log_->add("mic.start");
    if (failsToStart) {
        throw MicrophoneCaptureError::unableToStartRecording();
    }
}

std::filesystem::path FakeMicrophone::stop(std::stop_token) {
    log_->add("mic.stop");
    if (failsToStop) {
        throw MicrophoneCaptureError::outputMissing();
    }
    return outputURL_;
}

void FakeCamera::start(const CameraCaptureOptions&, std::stop_token) {
    log_->add("camera.start");
    if (failsToStart) {
        throw CameraCaptureError::unableToAddInput();
    }
}

CameraCaptureTrackResult FakeCamera::stop(std::stop_token) {
    log_->add("camera.stop");
    if (failsToStop) {
        throw CameraCaptureError::outputMissing();
    }
    return {outputURL_, 1, 2};
}

} // namespace tavrin::test
