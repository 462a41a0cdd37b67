#include "TavrinKit/Export/MockMP4Exporter.h"

#include "TavrinKit/Support/Files.h"

namespace tavrin {

ExportResult MockMP4Exporter::exportMovie(const ExportRequest& request,
                                          const ExportProgressHandler& onProgress, std::stop_token stop) {
    const auto report = [&](double fraction) {
        if (onProgress) {
            onProgress(fraction);
        }
    };
    const int attempt = attemptCounter_.with([](int& counter) { return ++counter; });
    report(0.15);
    if (stop.stop_requested()) {
        throw ExportError::cancelled();
    }
    if (attempt <= failUntilAttempt_) {
        throw ExportError::exportFailed();
    }
    writeFileAtomically(request.destinationURL, "mock-mp4");
    report(1);
    ExportResult result;
    result.outputURL = request.destinationURL;
    result.durationSeconds = 1;
    return result;
}

} // namespace tavrin
