#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Readiness/AppErrorCode.h"
#include "TavrinKit/Readiness/DiagnosticEntry.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// A log in memory of what the recorder did: the newest entries up to a bound, so that it stays as small over
/// a long run. It touches no file and prints nothing. Any thread; no call waits for more than another one's
/// few stores.
class DiagnosticsCenter {
public:
    /// @param maxEntries  at least 100; less counts as 100
    explicit DiagnosticsCenter(int maxEntries);

    /// @param category  free text
    void log(DiagnosticLevel level, std::string category, std::string message, Metadata metadata = {});

    /// @param errorCode  stands in the metadata under "errorCode", in place of what may be there
    void log(DiagnosticLevel level, DiagnosticCategory category, std::string message,
             std::optional<AppErrorCode> errorCode = std::nullopt, Metadata metadata = {});

    /// Removes all entries.
    void clear();

    /// A copy, oldest first.
    [[nodiscard]] std::vector<DiagnosticEntry> entries() const;
    [[nodiscard]] std::size_t maxEntries() const { return maxEntries_; }

private:
    const std::size_t maxEntries_;
    Guarded<std::deque<DiagnosticEntry>> entries_;
};

} // namespace tavrin
