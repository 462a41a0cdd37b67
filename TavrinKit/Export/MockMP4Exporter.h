#pragma once

#include "TavrinKit/Export/MP4Exporting.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Stands in for a real exporter without any media: fails as often as told, then writes a few bytes.
class MockMP4Exporter : public MP4Exporting {
public:
    /// @param failUntilAttempt  the number of attempts that fail before one succeeds
    explicit MockMP4Exporter(int failUntilAttempt = 0) : failUntilAttempt_(failUntilAttempt) {}

    using MP4Exporting::exportMovie;
    ExportResult exportMovie(const ExportRequest& request, const ExportProgressHandler& onProgress,
                             std::stop_token stop) override;

    [[nodiscard]] int attemptCounter() const { return attemptCounter_.copy(); }

private:
    const int failUntilAttempt_;
    Guarded<int> attemptCounter_;
};

} // namespace tavrin
