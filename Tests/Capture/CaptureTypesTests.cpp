#include <gtest/gtest.h>

#include "TavrinKit/Capture/CaptureTypes.h"

namespace tavrin {
namespace {

TEST(CaptureOptionsJson, HasTheStoredForm) {
    const Json stored = Json::parse(R"({
        "target": {"area": {"displayID": "69", "rect": [[10.5, -20], [800, 600]]}},
        "excludeCursorFromSource": true,
        "audio": {"includeSystemAudio": true, "includeMicrophone": false},
        "camera": {"includeCamera": true, "preferredDeviceID": "c", "allowFailureFallbackToScreenOnly": false},
        "mappingContext": {"sourceBounds": [[0, -180], [1440, 900]], "mainDisplayHeight": 1080},
        "applicationExclusionRule": {"bundleIdentifiers": ["org.a", "org.b"], "processIdentifiers": [-1, 7]}
    })");
    CaptureOptions options;
    decode(stored, options);
    EXPECT_EQ(options.target, RecordingTarget::area("69", {10.5, -20, 800, 600}));
    EXPECT_EQ(options.mappingContext->sourceBounds, (Rect{0, -180, 1440, 900}));
    Json json;
    encode(json, options);
    EXPECT_EQ(json, stored);
}

} // namespace
} // namespace tavrin
