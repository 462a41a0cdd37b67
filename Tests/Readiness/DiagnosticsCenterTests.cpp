#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Readiness/DiagnosticsCenter.h"

namespace tavrin {
namespace {

TEST(DiagnosticsCenterTests, keepsTheNewestUpToItsBound) {
    for (const auto& [asked, kept] : {std::pair{10, 100}, std::pair{-1, 100}, std::pair{4000, 4000}}) {
        DiagnosticsCenter center(asked);
        for (int i = 0; i <= kept; ++i) {
            center.log(DiagnosticLevel::info, "free text", std::to_string(i));
        }
        const auto entries = center.entries();
        ASSERT_EQ(int(entries.size()), kept);
        EXPECT_EQ(entries.front().message, "1");
        EXPECT_EQ(entries.back().message, std::to_string(kept));
        center.clear();
        EXPECT_TRUE(center.entries().empty());
    }
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
