#include "TavrinKit/Capture/StreamAssetWriterSinkError.h"

#include <string>

namespace tavrin {
namespace {

std::string withCause(const std::string& sentence, const std::exception_ptr& underlying) {
    return underlying ? sentence + " " + sentenceOf(underlying) : sentence;
}

} // namespace

StreamAssetWriterSinkError StreamAssetWriterSinkError::videoInputRejected() {
    return {StreamAssetWriterSinkErrorKind::videoInputRejected,
            "The screen movie can't hold pictures of this size."};
}

StreamAssetWriterSinkError StreamAssetWriterSinkError::audioInputRejected() {
    return {StreamAssetWriterSinkErrorKind::audioInputRejected, "The screen movie can't hold this sound."};
}

StreamAssetWriterSinkError StreamAssetWriterSinkError::startFailed(const std::exception_ptr& underlying) {
    return {StreamAssetWriterSinkErrorKind::startFailed,
            withCause("The screen movie could not be started.", underlying), underlying};
}

StreamAssetWriterSinkError StreamAssetWriterSinkError::finishFailed() {
    return {StreamAssetWriterSinkErrorKind::finishFailed, "The screen movie could not be completed."};
}

StreamAssetWriterSinkError StreamAssetWriterSinkError::noVideoSamples(const std::exception_ptr& underlying) {
    return {StreamAssetWriterSinkErrorKind::noVideoSamples,
            withCause("The screen movie holds no picture.", underlying), underlying};
}

StreamAssetWriterSinkError StreamAssetWriterSinkError::fallbackFrameCreationFailed() {
    return {StreamAssetWriterSinkErrorKind::fallbackFrameCreationFailed,
            "There is no memory for a blank picture."};
}

} // namespace tavrin
