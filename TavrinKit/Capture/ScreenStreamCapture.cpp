#include "TavrinKit/Capture/ScreenStreamCapture.h"

namespace tavrin {

void ScreenStreamCapture::cancelRecording(std::stop_token /*stop*/) {}

} // namespace tavrin
