#include "TavrinKit/Readiness/PreflightReport.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

namespace tavrin {
namespace {

std::vector<PreflightCheckResult> withStatus(const std::vector<PreflightCheckResult>& checks,
                                             PreflightCheckStatus status) {
    std::vector<PreflightCheckResult> found;
    std::copy_if(checks.begin(), checks.end(), std::back_inserter(found),
                 [status](const PreflightCheckResult& check) { return check.status == status; });
    return found;
}

} // namespace

std::vector<PreflightCheckResult> PreflightReport::failures() const {
    return withStatus(checks, PreflightCheckStatus::fail);
}

std::vector<PreflightCheckResult> PreflightReport::warnings() const {
    return withStatus(checks, PreflightCheckStatus::warn);
}

bool PreflightReport::passed() const {
    return failures().empty();
}

std::optional<AppErrorCode> PreflightReport::firstFailureCode() const {
    const auto failed = failures();
    return failed.empty() ? std::nullopt : failed.front().errorCode;
}

std::string PreflightReport::summary() const {
    const auto count = [this](PreflightCheckStatus status) {
        return withStatus(checks, status).size();
    };
    return fmt::format("checks={} | fail={} | warn={} | pass={}", checks.size(),
                       count(PreflightCheckStatus::fail), count(PreflightCheckStatus::warn),
                       count(PreflightCheckStatus::pass));
}

} // namespace tavrin
