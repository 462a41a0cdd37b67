#pragma once

#include <memory>
#include <optional>

#include "TavrinKit/Capture/CaptureMediaProbing.h"
#include "TavrinKit/Capture/CaptureSyncReport.h"
#include "TavrinKit/Project/ProjectPackage.h"

namespace tavrin {

/// Checks after a recording that the package holds what was asked for: the right tracks, of lengths that make
/// sense, and side tracks that don't drift from the screen. It reports and changes nothing. Any thread.
class CaptureSyncValidator {
public:
    struct Settings {
        double maxTrackDriftSeconds = 0.75;              ///< at least 0.1
        double maxCameraDriftMillisecondsPerHour = 80.0; ///< at least 1
    };

    /// @param probe  null: the files are asked
    explicit CaptureSyncValidator(std::shared_ptr<CaptureMediaProbing> probe, Settings settings);
    explicit CaptureSyncValidator(std::shared_ptr<CaptureMediaProbing> probe = nullptr);

    /// Throws nothing: whatever goes wrong is an issue. Reads the heads of the package's files.
    [[nodiscard]] CaptureSyncValidationReport validate(const ProjectPackage& package,
                                                       const CaptureOptions& options) const;

private:
    class Examination;

    const std::shared_ptr<CaptureMediaProbing> probe_;
    const Settings settings_;
};

} // namespace tavrin
