#include "TavrinKit/Readiness/DiagnosticsCenter.h"

#include <algorithm>
#include <utility>

namespace tavrin {

DiagnosticsCenter::DiagnosticsCenter(int maxEntries) : maxEntries_(std::size_t(std::max(maxEntries, 100))) {}

void DiagnosticsCenter::log(DiagnosticLevel level, std::string category, std::string message,
                            Metadata metadata) {
    entries_.with([&](std::deque<DiagnosticEntry>& entries) {
        entries.push_back(
            {currentDate(), level, std::move(category), std::move(message), std::move(metadata)});
        if (entries.size() > maxEntries_) {
            entries.pop_front();
        }
    });
}

void DiagnosticsCenter::log(DiagnosticLevel level, DiagnosticCategory category, std::string message,
                            std::optional<AppErrorCode> errorCode, Metadata metadata) {
    if (errorCode) {
        metadata[DiagnosticsMetadataKey::errorCode] = nameOf(*errorCode);
    }
    log(level, std::string(nameOf(category)), std::move(message), std::move(metadata));
}

void DiagnosticsCenter::clear() {
    entries_.with([](std::deque<DiagnosticEntry>& entries) { entries.clear(); });
}

std::vector<DiagnosticEntry> DiagnosticsCenter::entries() const {
    return entries_.with([](const std::deque<DiagnosticEntry>& entries) {
        return std::vector<DiagnosticEntry>(entries.begin(), entries.end());
    });
}

} // namespace tavrin
