#include "TavrinKit/Readiness/DiskCapacityCheck.h"

#include <algorithm>

namespace tavrin {

DiskCapacityCheck DiskCapacityCheck::judge(std::optional<std::int64_t> availableBytes,
                                           std::int64_t warningThresholdBytes,
                                           std::int64_t failureThresholdBytes) {
    DiskCapacityCheck check;
    check.availableBytes = availableBytes;
    check.warningThresholdBytes = std::max<std::int64_t>(warningThresholdBytes, 0);
    check.failureThresholdBytes =
        std::max<std::int64_t>(std::min(check.warningThresholdBytes, failureThresholdBytes), 0);
    if (availableBytes) {
        check.status = *availableBytes < check.failureThresholdBytes   ? DiskCapacityStatus::fail
                       : *availableBytes < check.warningThresholdBytes ? DiskCapacityStatus::warn
                                                                       : DiskCapacityStatus::pass;
    }
    return check;
}

} // namespace tavrin
