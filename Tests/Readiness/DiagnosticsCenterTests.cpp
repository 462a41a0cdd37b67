#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Readiness/DiagnosticsCenter.h"

namespace tavrin {
namespace {

TEST(DiagnosticsCenterTests, keepsTheNewestUpToItsBound) {
    DiagnosticsCenter center(-1); // counts as 100
    for (int i = 0; i <= 100; ++i) {
        center.log(DiagnosticLevel::info, "free text", std::to_string(i));
    }
    EXPECT_EQ(center.entries().size(), 100U);
    EXPECT_EQ(center.entries().front().message, "1");
    EXPECT_EQ(center.entries().back().message, "100");
}

TEST(DiagnosticsCenterTests, anErrorCodeReplacesTheOneInTheMetadata) {
    DiagnosticsCenter center(100);
    center.log(DiagnosticLevel::error, DiagnosticCategory::exportCancelRequested, "With a code.",
               AppErrorCode::exportWriteFailed, {{"errorCode", "OLD"}, {"output", "a.mp4"}});
    center.log(DiagnosticLevel::warning, DiagnosticCategory::captureStart, "Without one.", std::nullopt,
               {{"errorCode", "OLD"}});
    const auto entries = center.entries();
    EXPECT_EQ(entries[0].category, "export.cancel.requested");
    EXPECT_EQ(entries[0].metadata, (Metadata{{"errorCode", "EXP_WRITE_FAILED"}, {"output", "a.mp4"}}));
    EXPECT_EQ(entries[1].metadata.at("errorCode"), "OLD");
    EXPECT_EQ(decodeDocument<std::vector<DiagnosticEntry>>(encodeDocument(entries)), entries);
}

} // namespace
} // namespace tavrin
