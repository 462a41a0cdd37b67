#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Capture/MicrophoneCapturing.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/Guarded.h"
#include "TavrinKit/Support/HostClock.h"

namespace tavrin::test {

/// The calls that a fake desktop and its devices have seen, in their order.
class CallLog {
public:
    void add(const std::string& call) {
        calls_.with([&](std::string& calls) { calls += calls.empty() ? call : " " + call; });
    }
    /// One that fails with this error, if it does.
    template <typename Failure>
    void add(const std::string& call, bool fails, const Failure& failure) {
        add(call);
        if (fails) {
            throw failure;
        }
    }
    std::string text() const { return calls_.copy(); }

private:
    Guarded<std::string> calls_;
};

/// A picture of the fake desktop's first display, taken now.
inline VideoSample desktopPicture(int luma) {
    return videoSample(greyPicture({64, 48}, luma), HostClock::now());
}

/// What a fake stream does when it is called; an empty step succeeds at once.
struct FakeStreamScript {
    using Step = std::function<void(ScreenStreamOutput&, const std::stop_token&)>;
    Step onStart = [](ScreenStreamOutput& output, const auto&) {
        output.didOutput(desktopPicture(60));
    };
    Step onStop{};
    std::int64_t droppedFrames = 0;
};

class FakeStream : public ScreenStream {
public:
    /// @param name  before each of its calls in the log
    FakeStream(std::shared_ptr<CallLog> log, FakeStreamScript script,
               std::shared_ptr<ScreenStreamOutput> output, std::string name = "")
        : log_(std::move(log)), script_(std::move(script)), output_(std::move(output)),
          name_(std::move(name)) {}

    void start(std::stop_token stop) override { run("start", script_.onStart, stop); }
    void stop(std::stop_token stop) override { run("stop", script_.onStop, stop); }
    void removeOutput() override {
        log_->add(name_ + "removeOutput");
        output_.with([](auto& output) { output.reset(); });
    }
    std::int64_t droppedFrames() const override { return script_.droppedFrames; }

private:
    void run(const char* call, const FakeStreamScript::Step& step, const std::stop_token& stop) {
        log_->add(name_ + call);
        if (const auto output = output_.copy(); step && output) {
            step(*output, stop);
        }
    }

    const std::shared_ptr<CallLog> log_;
    const FakeStreamScript script_;
    Guarded<std::shared_ptr<ScreenStreamOutput>> output_;
    const std::string name_;
};

/// A desktop of one display whose streams follow a script.
class FakeDesktop : public ScreenCaptureBackend {
public:
    explicit FakeDesktop(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}

    FakeStreamScript script;
    bool canLoadContent = true;
    std::weak_ptr<ScreenStreamOutput> output; ///< of the last stream

    ShareableContent shareableContent(bool, bool) override {
        if (!canLoadContent) {
            throw Error("refused");
        }
        ShareableContent content;
        content.displays = {{41, "A", {0, 0, 64, 48}, {64, 48}, true}};
        return content;
    }
    std::unique_ptr<ScreenStream> makeStream(const ContentFilter&, const StreamConfiguration&,
                                             std::shared_ptr<ScreenStreamOutput> newOutput) override {
        output = newOutput;
        return std::make_unique<FakeStream>(log_, script, std::move(newOutput));
    }

private:
    const std::shared_ptr<CallLog> log_;
};

/// Which of its calls a fake device fails.
enum class Failing { nothing, start, stop };

class FakeMicrophone : public MicrophoneCapturing {
public:
    FakeMicrophone(std::shared_ptr<CallLog> log, Failing failing) : log_(std::move(log)), failing_(failing) {}

    void start(std::stop_token) override {
        log_->add("mic.start", failing_ == Failing::start, MicrophoneCaptureError::unableToStartRecording());
    }
    void setTimeZero(double) override {}
    std::filesystem::path stop(std::stop_token) override {
        log_->add("mic.stop", failing_ == Failing::stop, MicrophoneCaptureError::outputMissing());
        return "mic.m4a";
    }
    void cancel() noexcept override { log_->add("mic.cancel"); }

private:
    const std::shared_ptr<CallLog> log_;
    const Failing failing_;
};

class FakeCamera : public CameraCapturing {
public:
    FakeCamera(std::shared_ptr<CallLog> log, Failing failing) : log_(std::move(log)), failing_(failing) {}

    void start(const CameraCaptureOptions&, std::stop_token) override {
        log_->add("camera.start", failing_ == Failing::start, CameraCaptureError::unableToAddInput());
    }
    CameraCaptureTrackResult stop(std::stop_token) override {
        log_->add("camera.stop", failing_ == Failing::stop, CameraCaptureError::outputMissing());
        return {"camera.mov", 1, 2};
    }
    void cancel() noexcept override { log_->add("camera.cancel"); }

private:
    const std::shared_ptr<CallLog> log_;
    const Failing failing_;
};

} // namespace tavrin::test
