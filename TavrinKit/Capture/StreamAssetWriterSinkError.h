#pragma once

#include <exception>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class StreamAssetWriterSinkErrorKind {
    videoInputRejected,
    audioInputRejected,
    startFailed,
    finishFailed,
    noVideoSamples,
    fallbackFrameCreationFailed,
};

/// Why a screen movie could not be set up or completed. The user reads it behind the capture's own sentence.
class StreamAssetWriterSinkError : public ErrorFamily<StreamAssetWriterSinkErrorKind> {
public:
    [[nodiscard]] static StreamAssetWriterSinkError videoInputRejected();
    [[nodiscard]] static StreamAssetWriterSinkError audioInputRejected();
    /// @param underlying  what kept the movie from being opened; may be null
    [[nodiscard]] static StreamAssetWriterSinkError startFailed(const std::exception_ptr& underlying);
    [[nodiscard]] static StreamAssetWriterSinkError finishFailed();
    /// @param underlying  what stopped the writer before the first picture; may be null
    [[nodiscard]] static StreamAssetWriterSinkError noVideoSamples(const std::exception_ptr& underlying);
    [[nodiscard]] static StreamAssetWriterSinkError fallbackFrameCreationFailed();

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
