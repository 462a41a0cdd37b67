#include "TavrinKit/Capture/StreamOutputBridge.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavrin {

StreamOutputBridge::StreamOutputBridge(std::shared_ptr<StreamAssetWriterSink> writer,
                                       std::shared_ptr<GeometryTimelineRecorder> geometryRecorder)
    : writer_(std::move(writer)), geometryRecorder_(std::move(geometryRecorder)) {}

void StreamOutputBridge::didOutput(VideoSample sample) {
    if (!std::isfinite(sample.presentationTime)) {
        return;
    }
    if (geometryRecorder_) {
        geometryRecorder_->append(sample);
    }
    writer_->appendVideo(std::move(sample));
    firstScreenSampleSignal_.resolve(); // now that the writer knows the time of the first one
}

void StreamOutputBridge::didOutput(AudioSample sample) {
    if (std::isfinite(sample.presentationTime) && !writer_->append(std::move(sample))) {
        didWarn("system_audio_dropped");
    }
}

void StreamOutputBridge::didWarn(std::string warning) {
    warnings_.with([&](std::vector<std::string>& warnings) {
        if (std::find(warnings.begin(), warnings.end(), warning) == warnings.end()) {
            warnings.push_back(std::move(warning));
        }
    });
}

void StreamOutputBridge::didStop(std::exception_ptr error) {
    if (!error) {
        error = std::make_exception_ptr(Error("The screen stream ended."));
    }
    stopError_.with([&](std::exception_ptr& stopError) { stopError = error; });
    firstScreenSampleSignal_.resolve(error);
}

} // namespace tavrin
