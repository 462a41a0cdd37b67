#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Project/ExportCapability.h"
#include "TavrinKit/Project/ExportPreset.h"

namespace tavrin {

/// What became of a preset on a machine.
struct ExportPresetValidationResult {
    ExportPreset inputPreset;
    ExportPreset resolvedPreset;                ///< what the machine can do; if blocked, as far as it got
    std::vector<std::string> warnings{};        ///< a sentence for each change, in the order of the rules
    std::optional<std::string> blockedReason{}; ///< a sentence: why the export must not run

    [[nodiscard]] bool isAllowed() const { return !blockedReason; }
};

/// Fits a preset to a machine and to what the exporter writes, or says why that can't be. A pure function:
/// any thread, nothing thrown.
class ExportPresetValidator {
public:
    /// Frame rate, 4K, HEVC, profile, container and bit rate are looked at in this order; a preset that may
    /// not fall back where it would have to is blocked there. What no rule touches is as it was.
    [[nodiscard]] ExportPresetValidationResult validate(const ExportPreset& preset,
                                                        const ExportCapabilitySnapshot& capability) const;
};

} // namespace tavrin
