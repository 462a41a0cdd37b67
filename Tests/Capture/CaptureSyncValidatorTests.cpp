#include <fstream>
#include <limits>
#include <map>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::test {
namespace {

using Media = std::map<std::string, CaptureMediaInfo>;

/// Knows every file by its name; one of no name can't be read.
class FakeProbe : public CaptureMediaProbing {
public:
    explicit FakeProbe(Media media) : media_(std::move(media)) {}

    [[nodiscard]] CaptureMediaInfo mediaInfo(const std::filesystem::path& path) override {
        const auto found = media_.find(path.filename().string());
        if (found == media_.end()) {
            throw Error("It is cut off.");
        }
        return found->second;
    }

private:
    const Media media_;
};

/// A take of ten seconds, which asked for some sound and got some tracks beside the picture.
struct Take {
    AudioCaptureOptions audio; ///< the machine's, the microphone's
    Media media{};
    double cameraDrift = 0;
    CaptureSyncValidator::Settings settings{};

    [[nodiscard]] std::string summary() const {
        const TemporaryFolder folder;
        ProjectManifest manifest;
        for (const auto& [name, info] : media) {
            if (name == "camera.mov") {
                manifest.cameraTracks.push_back({name, 0, cameraDrift});
            } else if (name != "screen.mov") {
                manifest.audioTracks.push_back({name == "mic" ? AudioTrackDescriptor::Kind::microphone
                                                              : AudioTrackDescriptor::Kind::system,
                                                name});
            }
            std::ofstream(folder / name) << "media";
        }
        const ProjectPackage package(folder.path(), manifest);
        package.saveManifest();
        package.saveEvents({});
        package.saveEdits({});
        Media readable = media;
        std::erase_if(readable, [](const auto& file) { return file.second == CaptureMediaInfo{}; });
        CaptureOptions options;
        options.audio = audio;
        return CaptureSyncValidator(std::make_shared<FakeProbe>(readable), settings)
            .validate(package, options)
            .summary();
    }
};

TEST(CaptureSyncValidatorTests, saysOfEveryTakeWhatIsWrongWithIt) {
    const CaptureMediaInfo picture{10, true, false};
    const CaptureMediaInfo both{10, true, true};
    const CaptureMediaInfo sound{10, false, true};
    const CaptureMediaInfo unreadable{};
    const auto with = [&](const std::string& name, CaptureMediaInfo info) {
        return Media{{"screen.mov", picture}, {name, info}};
    };
    const auto camera = [&](CaptureMediaInfo info, double drift,
                            CaptureSyncValidator::Settings settings = {}) {
        return Take{{}, with("camera.mov", info), drift, settings};
    };
    constexpr auto noNumber = std::numeric_limits<double>::quiet_NaN();
    const std::pair<Take, std::string> table[] = {
        {{{}, {{"screen.mov", picture}}}, "PASS (screenOnly): screen=10.00s. No issues."},
        {{{}, {{"screen.mov", unreadable}}},
         "FAIL (screenOnly): screen=0.00s. [ERROR] Unable to inspect screen media: It is cut off."},
        {{{}, {{"screen.mov", {0.05, false, true}}}},
         "FAIL (screenOnly): screen=0.05s. [ERROR] Screen media duration is invalid (0.05s). | [ERROR] "
         "Screen "
         "media has no video track. | [ERROR] Screen media contains audio even though system audio capture "
         "was disabled."},
        {{{true, false}, {{"screen.mov", both}}}, "No issues."},
        {{{true, false}, with("system", sound)}, "No issues."},
        {{{}, with("system", sound)},
         "[ERROR] System audio track persisted even though system audio capture was disabled."},
        {{{true, true}, {{"screen.mov", picture}}},
         "[ERROR] System-audio mode expected an audio track, but none was found. | [ERROR] Microphone mode "
         "expected a microphone track in manifest."},
        {{{}, with("mic", sound)},
         "[ERROR] Microphone track persisted even though microphone capture was disabled."},
        {{{false, true}, with("mic", {9.25, false, true})}, "mic=9.25s. No issues."},
        {{{false, true}, with("mic", {9, false, true})},
         "FAIL (screenMicrophone): screen=10.00s, mic=9.00s. [ERROR] Microphone/screen duration drift is "
         "1.00s "
         "(limit 0.75s)."},
        {{{false, true}, with("mic", {noNumber, true, false})},
         "mic=0.00s. [ERROR] Microphone track duration is invalid (nans). | [ERROR] Microphone media has no "
         "audio track."},
        {{{false, true}, with("mic", unreadable)},
         "screen=10.00s. [ERROR] Unable to inspect microphone media: It is cut off."},
        {camera({11, true, false}, -80.4),
         "PASS (screenOnly): screen=10.00s, camera=11.00s. [WARNING] Camera/screen duration drift is 1.00s "
         "(limit 0.75s). | [WARNING] Camera drift exceeds target (80 ms/h > 80 ms/h)."},
        {camera({10.75, true, false}, 80), "camera=10.75s. No issues."},
        {camera({10.1 - 1e-6, true, false}, 2, {0, 0}), // limits have a least value
         "[WARNING] Camera drift exceeds target (2 ms/h > 1 ms/h)."},
        {camera(sound, 0),
         "FAIL (screenOnly): screen=10.00s, camera=10.00s. [ERROR] Camera track has no video "
         "stream."},
    };
    for (const auto& [take, expected] : table) {
        EXPECT_THAT(take.summary(), testing::EndsWith(expected));
    }
    EXPECT_THAT(Take{}.summary(), testing::StartsWith("FAIL (screenOnly): screen=0.00s. [ERROR] Package "
                                                      "integrity validation failed: "));
}

} // namespace
} // namespace tavrin::test
