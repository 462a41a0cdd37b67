#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "TavrinKit/Capture/FirstScreenSampleSignal.h"
#include "TavrinKit/Capture/GeometryTimelineRecorder.h"
#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Capture/StreamAssetWriterSink.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Takes what a stream delivers and hands it on: the news that the stream is alive, the place of a moving
/// source, pictures and sound for the movie. Any thread.
class StreamOutputBridge : public ScreenStreamOutput {
public:
    /// @param geometryRecorder  null for a source that doesn't move
    StreamOutputBridge(std::shared_ptr<StreamAssetWriterSink> writer,
                       std::shared_ptr<GeometryTimelineRecorder> geometryRecorder);

    /// Ignores a sample without a time.
    void didOutput(VideoSample sample) override;
    void didOutput(AudioSample sample) override;
    void didWarn(std::string warning) override;
    void didStop(std::exception_ptr error) override;

    [[nodiscard]] FirstScreenSampleSignal& firstScreenSampleSignal() { return firstScreenSampleSignal_; }

    /// Why the stream ended by itself; null while it didn't.
    [[nodiscard]] std::exception_ptr stopError() const { return stopError_.copy(); }

    /// In their order, each once.
    [[nodiscard]] std::vector<std::string> warnings() const { return warnings_.copy(); }

private:
    const std::shared_ptr<StreamAssetWriterSink> writer_;
    const std::shared_ptr<GeometryTimelineRecorder> geometryRecorder_;
    FirstScreenSampleSignal firstScreenSampleSignal_;
    Guarded<std::exception_ptr> stopError_;
    Guarded<std::vector<std::string>> warnings_;
};

} // namespace tavrin
