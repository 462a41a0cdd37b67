#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "TavrinKit/Capture/CameraCapturing.h"
#include "TavrinKit/Capture/CapturePermissions.h"
#include "TavrinKit/Capture/MicrophoneCapturing.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin::test {

/// The calls that a fake desktop and its devices have seen, in their order.
class CallLog {
public:
    void add(const std::string& call) {
        calls_.with([&](std::string& calls) { calls += calls.empty() ? call : " " + call; });
    }
    std::string text() const { return calls_.copy(); }

private:
    Guarded<std::string> calls_;
};

/// What a fake stream does when it is called; an empty step succeeds at once.
struct FakeStreamScript {
    std::function<void(ScreenStreamOutput&, const std::stop_token&)> onStart;
    std::function<void(ScreenStreamOutput&, const std::stop_token&)> onStop;
    std::int64_t droppedFrames = 0;
};

/// A desktop of two displays whose streams follow a script.
class FakeDesktop : public ScreenCaptureBackend {
public:
    explicit FakeDesktop(std::shared_ptr<CallLog> log);

    ShareableContent content;
    FakeStreamScript script;
    std::function<void()> onContent;
    bool hasSound = false;
    bool grantsWhenAsked = false;
    bool isKnownToGrant = true;

    // Of the last stream.
    ContentFilter filter;
    StreamConfiguration configuration;
    std::weak_ptr<ScreenStreamOutput> output;

    bool preflightAccess() override { return isKnownToGrant; }
    bool requestAccess() override;
    bool capturesSystemAudio() const override { return hasSound; }
    ShareableContent shareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly) override;
    std::unique_ptr<ScreenStream> makeStream(const ContentFilter& newFilter,
                                             const StreamConfiguration& newConfiguration,
                                             std::shared_ptr<ScreenStreamOutput> newOutput) override;

private:
    const std::shared_ptr<CallLog> log_;
};

/// A picture of the fake desktop's first display, taken now.
[[nodiscard]] VideoSample desktopPicture(int luma);

class FakeMicrophone : public MicrophoneCapturing {
public:
    FakeMicrophone(std::shared_ptr<CallLog> log, std::filesystem::path outputURL)
        : log_(std::move(log)), outputURL_(std::move(outputURL)) {}
    bool failsToStart = false;
    bool failsToStop = false;

    void start(std::stop_token stop) override;
    std::filesystem::path stop(std::stop_token stop) override;
    void cancel() noexcept override { log_->add("mic.cancel"); }

private:
    const std::shared_ptr<CallLog> log_;
    const std::filesystem::path outputURL_;
};

class FakeCamera : public CameraCapturing {
public:
    FakeCamera(std::shared_ptr<CallLog> log, std::filesystem::path outputURL)
        : log_(std::move(log)), outputURL_(std::move(outputURL)) {}
    bool failsToStart = false;
    bool failsToStop = false;

    void start(const CameraCaptureOptions& options, std::stop_token stop) override;
    CameraCaptureTrackResult stop(std::stop_token stop) override;
    void cancel() noexcept override { log_->add("camera.cancel"); }

private:
    const std::shared_ptr<CallLog> log_;
    const std::filesystem::path outputURL_;
};

/// Answers every question about permission alike.
class FakePermission : public ScreenCapturePermissionProviding,
                       public MicrophonePermissionProviding,
                       public CameraPermissionProviding {
public:
    explicit FakePermission(bool answer) : answer_(answer) {}
    bool hasAccess(std::stop_token) override { return answer_; }
    bool requestAccessIfNeeded(std::stop_token) override { return answer_; }

private:
    const bool answer_;
};

} // namespace tavrin::test
