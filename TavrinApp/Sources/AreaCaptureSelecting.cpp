#include "TavrinApp/Sources/AreaCaptureSelecting.h"

namespace tavrin {

void NoopAreaCaptureSelectionController::attachMainWindow(std::weak_ptr<MainWindow>) {}

void NoopAreaCaptureSelectionController::selectArea(const CaptureSourceOption&, Completion completion) {
    completion(std::nullopt);
}

} // namespace tavrin
