#pragma once

#include <functional>
#include <memory>

#include "TavrinKit/Capture/ScreenStream.h"

namespace tavrin {

/// Makes a stream of what the machine plays.
///
/// What it delivers is without gaps from the first sample to its stop: a run of sound begins where the one
/// before it ended, to the frame, on the host clock. Where nothing plays, or the server doesn't answer, there
/// is silence. A start fails when there is no sound server; what happens to it later is only a warning.
///
/// @param configuration  sample rate, channels and exclusion count
/// @param output         kept until `removeOutput`
using SystemAudioStreamFactory = std::function<std::unique_ptr<CaptureStream>(
    const StreamConfiguration& configuration, std::shared_ptr<ScreenStreamOutput> output)>;

/// A display server's pictures together with a sound server's sound, as one backend.
///
/// The streams that it makes start the pictures first and the sound once the pictures run, so that a movie
/// doesn't begin with sound alone; they stop both. Any thread.
class SoundedCaptureBackend : public ScreenCaptureBackend {
public:
    SoundedCaptureBackend(std::shared_ptr<ScreenCaptureBackend> pictures, SystemAudioStreamFactory sound);

    [[nodiscard]] bool preflightAccess() override;
    [[nodiscard]] bool requestAccess() override;
    [[nodiscard]] bool capturesSystemAudio() const override { return true; }
    [[nodiscard]] ShareableContent shareableContent(bool excludingDesktopWindows,
                                                    bool onScreenWindowsOnly) override;
    [[nodiscard]] std::unique_ptr<ScreenStream>
    makeStream(const ContentFilter& filter, const StreamConfiguration& configuration,
               std::shared_ptr<ScreenStreamOutput> output) override;

private:
    const std::shared_ptr<ScreenCaptureBackend> pictures_;
    const SystemAudioStreamFactory sound_;
};

} // namespace tavrin
