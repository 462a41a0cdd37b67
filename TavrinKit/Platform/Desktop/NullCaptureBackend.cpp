#include "TavrinKit/Platform/Desktop/NullCaptureBackend.h"

#include <utility>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

NullCaptureBackend::NullCaptureBackend(std::string reason) : reason_(std::move(reason)) {}

ShareableContent NullCaptureBackend::shareableContent(bool, bool) {
    throw Error(reason_);
}

std::unique_ptr<ScreenStream> NullCaptureBackend::makeStream(const ContentFilter&, const StreamConfiguration&,
                                                             std::shared_ptr<ScreenStreamOutput>) {
    throw Error(reason_);
}

NullLiveInputEventMonitor::NullLiveInputEventMonitor(std::string reason) : reason_(std::move(reason)) {}

void NullLiveInputEventMonitor::start(Handler) {
    throw Error(reason_);
}

NullLiveCursorStateMonitor::NullLiveCursorStateMonitor(std::string reason) : reason_(std::move(reason)) {}

void NullLiveCursorStateMonitor::start(Handler) {
    throw Error(reason_);
}

} // namespace tavrin
