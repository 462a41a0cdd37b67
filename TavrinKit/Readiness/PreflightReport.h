#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Readiness/AppErrorCode.h"
#include "TavrinKit/Readiness/Metadata.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class PreflightCheckStatus { pass, warn, fail };

/// What one check found.
struct PreflightCheckResult {
    std::string id; ///< stable, as in "disk_capacity"
    std::string title;
    PreflightCheckStatus status = PreflightCheckStatus::pass;
    std::string message;
    std::optional<std::string> remediation; ///< what the user should do
    std::optional<std::string> deepLink;    ///< where the settings can be changed
    std::optional<AppErrorCode> errorCode;  ///< of every failure, and of low disk space
    Metadata metadata;

    friend bool operator==(const PreflightCheckResult&, const PreflightCheckResult&) = default;
};

/// What all checks found. A failure blocks the recording, a warning lets it go on.
struct PreflightReport {
    std::vector<PreflightCheckResult> checks; ///< in the order in which they ran

    [[nodiscard]] std::vector<PreflightCheckResult> failures() const;
    [[nodiscard]] std::vector<PreflightCheckResult> warnings() const;
    /// There are no failures.
    [[nodiscard]] bool passed() const;
    /// Absent when there is no failure.
    [[nodiscard]] std::optional<AppErrorCode> firstFailureCode() const;
    /// As in "checks=8 | fail=1 | warn=2 | pass=5".
    [[nodiscard]] std::string summary() const;

    friend bool operator==(const PreflightReport&, const PreflightReport&) = default;
};

template <>
struct EnumNames<PreflightCheckStatus> {
    using enum PreflightCheckStatus;
    static constexpr auto names = namedCases<PreflightCheckStatus>({
        {pass, "pass"},
        {warn, "warn"},
        {fail, "fail"},
    });
};

template <>
struct JsonRecord<PreflightCheckResult> {
    static void fields(auto& keys, auto& value) {
        keys.required("id", value.id);
        keys.required("title", value.title);
        keys.required("status", value.status);
        keys.required("message", value.message);
        keys.tolerated("remediation", value.remediation);
        keys.tolerated("deepLink", value.deepLink);
        keys.tolerated("errorCode", value.errorCode);
        keys.required("metadata", value.metadata);
    }
};

template <>
struct JsonRecord<PreflightReport> {
    static void fields(auto& keys, auto& value) { keys.required("checks", value.checks); }
};

} // namespace tavrin
