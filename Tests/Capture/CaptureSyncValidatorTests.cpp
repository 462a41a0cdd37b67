#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::test {
namespace {

/// Knows every file by its name; one of no name can't be read.
class FakeProbe : public CaptureMediaProbing {
public:
    explicit FakeProbe(std::map<std::string, CaptureMediaInfo> media) : media_(std::move(media)) {}

    [[nodiscard]] CaptureMediaInfo mediaInfo(const std::filesystem::path& path) override {
        const auto found = media_.find(path.filename().string());
        if (found == media_.end()) {
            throw Error("It is cut off.");
        }
        return found->second;
    }

private:
    const std::map<std::string, CaptureMediaInfo> media_;
};

constexpr const char* screen = "screen.mov";
constexpr const char* microphone = "mic_audio.m4a";
constexpr const char* system = "system_audio.m4a";
constexpr const char* camera = "camera.mov";

/// A take that is as it should be; the cases spoil it.
struct Take {
    AudioCaptureOptions audio;
    std::map<std::string, CaptureMediaInfo> media{{screen, {10, true, false}}};
    ProjectManifest manifest;
    CaptureSyncValidator::Settings settings;
    bool isWhole = true;

    void addMicrophone(double duration) {
        audio.includeMicrophone = true;
        manifest.audioTracks.push_back({AudioTrackDescriptor::Kind::microphone, microphone});
        media[microphone] = {duration, false, true};
    }
    void addCamera(double duration, double drift = 0) {
        manifest.cameraTracks.push_back({camera, 0, drift});
        media[camera] = {duration, true, false};
    }
};

TEST(CaptureSyncValidatorTests, saysOfEveryTakeWhatIsWrongWithIt) {
    constexpr auto no = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        std::function<void(Take&)> change;
        std::string summary;
    };
    const std::vector<Case> table = {
        {[](Take&) {}, "PASS (screenOnly): screen=10.00s. No issues."},
        {[](Take& take) { take.isWhole = false; },
         "FAIL (screenOnly): screen=0.00s. [ERROR] Package integrity validation failed: {integrity}"},
        {[](Take& take) { take.media.clear(); },
         "FAIL (screenOnly): screen=0.00s. [ERROR] Unable to inspect screen media: It is cut off."},
        {[](Take& take) {
             take.media[screen] = {0.05, false, true};
         },
         "FAIL (screenOnly): screen=0.05s. [ERROR] Screen media duration is invalid (0.05s). | [ERROR] "
         "Screen "
         "media has no video track. | [ERROR] Screen media contains audio even though system audio capture "
         "was "
         "disabled."},
        {[](Take& take) { take.media[screen].duration = -1; },
         "FAIL (screenOnly): screen=0.00s. [ERROR] Screen media duration is invalid (-1.00s)."},
        {[](Take& take) { take.audio.includeSystemAudio = true; },
         "FAIL (screenSystemAudio): screen=10.00s. [ERROR] System-audio mode expected an audio track, but "
         "none "
         "was found."},
        {[](Take& take) {
             take.audio.includeSystemAudio = true;
             take.media[screen].hasAudioTrack = true;
         },
         "PASS (screenSystemAudio): screen=10.00s. No issues."},
        {[](Take& take) {
             take.audio.includeSystemAudio = true;
             take.manifest.audioTracks.push_back({AudioTrackDescriptor::Kind::system, system});
         },
         "PASS (screenSystemAudio): screen=10.00s. No issues."},
        {[](Take& take) {
             take.manifest.audioTracks.push_back({AudioTrackDescriptor::Kind::system, system});
         },
         "FAIL (screenOnly): screen=10.00s. [ERROR] System audio track persisted even though system audio "
         "capture was disabled."},
        {[](Take& take) {
             take.audio = {true, true};
         },
         "FAIL (screenSystemAudioMicrophone): screen=10.00s. [ERROR] System-audio mode expected an audio "
         "track, "
         "but none was found. | [ERROR] Microphone mode expected a microphone track in manifest."},
        {[](Take& take) {
             take.addMicrophone(10);
             take.audio.includeMicrophone = false;
         },
         "FAIL (screenOnly): screen=10.00s, mic=10.00s. [ERROR] Microphone track persisted even though "
         "microphone capture was disabled."},
        {[](Take& take) { take.addMicrophone(9.25); },
         "PASS (screenMicrophone): screen=10.00s, mic=9.25s. No issues."},
        {[](Take& take) { take.addMicrophone(9); }, "FAIL (screenMicrophone): screen=10.00s, mic=9.00s. "
                                                    "[ERROR] Microphone/screen duration drift is 1.00s "
                                                    "(limit 0.75s)."},
        {[](Take& take) {
             take.addMicrophone(0);
             take.media[microphone] = {no, true, false};
         },
         "FAIL (screenMicrophone): screen=10.00s, mic=0.00s. [ERROR] Microphone track duration is invalid "
         "(nans). | [ERROR] Microphone media has no audio track."},
        {[](Take& take) {
             take.addMicrophone(10);
             take.media.erase(microphone);
         },
         "FAIL (screenMicrophone): screen=10.00s. [ERROR] Unable to inspect microphone media: It is cut "
         "off."},
        {[](Take& take) { take.addCamera(11, -80.4); },
         "PASS (screenOnly): screen=10.00s, camera=11.00s. [WARNING] Camera/screen duration drift is 1.00s "
         "(limit 0.75s). | [WARNING] Camera drift exceeds target (80 ms/h > 80 ms/h)."},
        {[](Take& take) { take.addCamera(10.75, 80); },
         "PASS (screenOnly): screen=10.00s, camera=10.75s. No issues."},
        {[](Take& take) {
             take.addCamera(10.1 - 1e-6, 2);
             take.settings = {0, 0};
         },
         "PASS (screenOnly): screen=10.00s, camera=10.10s. [WARNING] Camera drift exceeds target (2 ms/h > 1 "
         "ms/h)."},
        {[](Take& take) {
             take.addCamera(10);
             take.media[camera].hasVideoTrack = false;
         },
         "FAIL (screenOnly): screen=10.00s, camera=10.00s. [ERROR] Camera track has no video stream."},
    };
    for (const Case& one : table) {
        const TemporaryFolder folder;
        Take take;
        one.change(take);
        const ProjectPackage package(folder.path(), take.manifest);
        package.saveManifest();
        package.saveEvents({});
        package.saveEdits({});
        for (const char* name : {screen, microphone, system, camera}) {
            std::ofstream(folder / name) << "media";
        }
        std::string integrity;
        if (!take.isWhole) {
            std::filesystem::remove(folder / screen);
            try {
                package.validateIntegrity();
            } catch (const Error& error) {
                integrity = error.what();
            }
        }
        CaptureOptions options;
        options.audio = take.audio;
        const CaptureSyncValidator validator(std::make_shared<FakeProbe>(take.media), take.settings);
        std::string expected = one.summary;
        if (const auto place = expected.find("{integrity}"); place != std::string::npos) {
            expected.replace(place, 11, integrity);
        }
        EXPECT_EQ(validator.validate(package, options).summary(), expected);
    }
}

} // namespace
} // namespace tavrin::test
