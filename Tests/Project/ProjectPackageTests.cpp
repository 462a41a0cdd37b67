#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

class ProjectPackageTests : public testing::Test {
protected:
    /// A sound package with a microphone track and a camera track.
    ProjectPackage makePackage() {
        ProjectManifest manifest;
        manifest.createdAt = *parseISO8601("2026-01-15T10:15:30Z");
        manifest.cursorExcluded = false;
        ProjectPackage package(root_, manifest);
        package.setAudioTracks({{AudioTrackDescriptor::Kind::microphone, "mic_audio.m4a"}});
        package.setCameraTracks({{"camera.mov", 0.25, -3}});
        package.createDirectoriesIfNeeded();
        package.createDirectoriesIfNeeded();
        for (const char* name : {"screen.mov", "mic_audio.m4a", "camera.mov"}) {
            write(name, std::string("contents of ") + name);
        }
        package.saveManifest();
        package.saveEvents(events_);
        package.saveEdits(edits_);
        return package;
    }

    void write(const std::string& name, std::string_view text) { writeFileAtomically(root_ / name, text); }
    [[nodiscard]] std::string contents(const fs::path& name) const { return readFile(root_ / name); }

    /// Changes one value of the manifest on disk; a null removes the key.
    void change(const std::string& key, const Json& value) {
        Json json = parseJson(contents("manifest.json"));
        if (value.is_null()) {
            json.erase(key);
        } else {
            json[key] = value;
        }
        write("manifest.json", encodeJson(json));
    }

    [[nodiscard]] std::string loadFailure() const {
        try {
            static_cast<void>(ProjectPackage::load(root_));
            return "none";
        } catch (const Error& error) {
            return error.what();
        }
    }

    [[nodiscard]] std::vector<fs::path> backups() const {
        const fs::path folder = root_ / ".migration-backups";
        return fs::exists(folder) ? std::vector<fs::path>(fs::directory_iterator(folder), {})
                                  : std::vector<fs::path>();
    }

    const test::TemporaryFolder folder_;
    const fs::path root_ = folder_ / "session";
    EventTimeline events_{{{1.5, {0.25, 0.75}, MouseEventKind::clicked, 0}}};
    EditsDocument edits_{PremiumDefaults::timelineModel(), {}, {}};
};

TEST_F(ProjectPackageTests, comesBackAsItWasSaved) {
    const ProjectPackage saved = makePackage();
    const ProjectPackage loaded = ProjectPackage::load(root_);
    EXPECT_EQ(loaded.manifest(), saved.manifest());
    EXPECT_EQ(loaded.loadEvents(), events_);
    EXPECT_EQ(loaded.loadEdits(), edits_);
    EXPECT_TRUE(backups().empty());
    EXPECT_EQ(parseJson(contents("manifest.json")), parseJson(R"({
        "schemaVersion": 2, "createdAt": "2026-01-15T10:15:30Z", "screenFileName": "screen.mov",
        "cursorExcluded": false, "eventsFileName": "events.json", "editsFileName": "edits.json",
        "audioTracks": [{"kind": "microphone", "fileName": "mic_audio.m4a"}],
        "cameraTracks": [{"fileName": "camera.mov", "timebaseOffsetSeconds": 0.25,
                          "driftMillisecondsPerHour": -3.0}]})"));
}

TEST_F(ProjectPackageTests, whatIsMissingInAManifestHasItsFallback) {
    ProjectManifest expected;
    const auto manifest = decodeDocument<ProjectManifest>("{}");
    EXPECT_GE(manifest.createdAt, expected.createdAt);
    expected.schemaVersion = 1;
    expected.createdAt = manifest.createdAt;
    EXPECT_EQ(manifest, expected);
}

TEST_F(ProjectPackageTests, readsTheSchemaVersionByItself) {
    const auto outcome = [](const std::string& value) -> std::string {
        try {
            return std::to_string(
                ProjectPackage::schemaVersionInManifestData("{\"schemaVersion\":" + value + "}"));
        } catch (const ProjectPackageValidationError& error) {
            return error.what();
        }
    };
    for (const char* bad : {"\"\"", "\" 2\"", "\"2.0\"", "\"99999999999999999999\"", "2.5", "true", "null"}) {
        EXPECT_EQ(outcome(bad), "Project manifest is invalid: schemaVersion must be an integer.") << bad;
    }
    EXPECT_EQ(outcome("\"+17\""), "17");
    EXPECT_EQ(outcome("-3"), "-3");
}

TEST_F(ProjectPackageTests, refusesAManifestThatIsNotSound) {
    const auto audio = [](const char* kind, const char* name) {
        return Json{{"kind", kind}, {"fileName", name}};
    };
    const auto camera = [](const char* name) {
        return Json{{"fileName", name}, {"timebaseOffsetSeconds", 0}, {"driftMillisecondsPerHour", 0}};
    };
    const struct {
        const char* key;
        Json value;
        std::string sentence;
    } cases[] = {
        {"schemaVersion", 3, "Unsupported project schema version 3. Expected 2."},
        {"schemaVersion", "2", "The data couldn't be read at \"schemaVersion\": Expected an integer."},
        {"schemaVersion", {}, "Project manifest is invalid: Missing schemaVersion field."},
        {"screenFileName", "a..b.mov", "Invalid screen file name: a..b.mov"},
        {"eventsFileName", "../events.json", "Invalid events file name: ../events.json"},
        {"editsFileName", " \n ", "Invalid edits file name:  \n "},
        {"audioTracks",
         {audio("system", "a"), audio("system", "/")},
         "Duplicate audio track kind found in manifest: system"},
        {"audioTracks",
         {audio("system", "a"), audio("microphone", "a")},
         "Duplicate audio track file name found in manifest: a"},
        {"cameraTracks", Json::array({camera("../a")}), "Invalid camera file name: ../a"},
        {"cameraTracks", {camera("a"), camera("a")}, "Duplicate camera track file name found in manifest: a"},
        {"cameraTracks", {camera("mic_audio.m4a"), camera("screen.mov")}, "none"},
    };
    for (const auto& [key, value, sentence] : cases) {
        fs::remove_all(root_);
        makePackage();
        change(key, value);
        const std::string manifest = contents("manifest.json");
        EXPECT_EQ(loadFailure(), sentence);
        EXPECT_EQ(contents("manifest.json"), manifest); // left as it was found
        EXPECT_TRUE(backups().empty());
    }
}

TEST_F(ProjectPackageTests, namesTheFileThatIsMissingEmptyOrNoFile) {
    makePackage();
    for (const std::string name :
         {"screen.mov", "events.json", "edits.json", "mic_audio.m4a", "camera.mov"}) {
        const std::string kept = contents(name);
        write(name, "");
        EXPECT_EQ(loadFailure(), "Project file is empty: " + name);
        fs::remove(root_ / name);
        EXPECT_EQ(loadFailure(), "Required project file is missing: " + name);
        ASSERT_EQ(mkfifo((root_ / name).c_str(), 0600), 0);
        EXPECT_EQ(loadFailure(), "Project path is not a regular file: " + name);
        fs::remove(root_ / name);
        write(name, kept);
    }
    EXPECT_EQ(loadFailure(), "none");
    fs::remove(root_ / "manifest.json");
    ASSERT_EQ(mkfifo((root_ / "manifest.json").c_str(), 0600), 0);
    EXPECT_THROW(static_cast<void>(ProjectPackage::load(root_)), FileError); // and doesn't wait for a writer
}

TEST_F(ProjectPackageTests, savingRefusesBeforeItWrites) {
    ProjectPackage package = makePackage();
    const std::string manifest = contents("manifest.json");
    package.manifest().schemaVersion = 3;
    EXPECT_THROW(package.saveManifest(), ProjectPackageValidationError);
    EXPECT_EQ(contents("manifest.json"), manifest);

    package.manifest().schemaVersion = 2;
    const std::string events = contents("events.json");
    EditsDocument notEncodable;
    notEncodable.timeline.trimRange = ClipTimeRange{0, std::numeric_limits<double>::infinity()};
    EXPECT_THROW(package.saveEdits(notEncodable), JsonError);
    EXPECT_THROW(package.saveEvents(EventTimeline({}, {{.displayText = "\xff"}})), JsonError);
    EXPECT_EQ(contents("events.json"), events);
    EXPECT_EQ(package.loadEdits(), edits_);
}

TEST_F(ProjectPackageTests, migratesTheOldSchemaAndKeepsABackup) {
    makePackage();
    change("schemaVersion", 1);
    const std::string oldManifest = contents("manifest.json") + "\n \n"; // kept to the byte
    write("manifest.json", oldManifest);
    const std::string oldEvents = R"({"mouseEvents":[{"timestamp":2,"location":{"x":0,"y":0},"kind":"moved"},
                                      {"timestamp":1,"location":{"x":0,"y":0},"kind":"moved"}]})";
    write("events.json", oldEvents);
    write("edits.json", "{}");
    const auto result = ProjectPackage::migrateIfNeeded(root_);
    EXPECT_EQ(result, (ProjectPackageMigrationResult{true, 1, 2, backups().at(0)}));
    EXPECT_THAT(result.backupURL->filename().string(), testing::MatchesRegex("v1-[0-9]{8}-[0-9]{6}"));
    EXPECT_EQ(readFile(*result.backupURL / "manifest.json"), oldManifest);
    EXPECT_EQ(readFile(*result.backupURL / "events.json"), oldEvents);
    EXPECT_TRUE(fs::equivalent(*result.backupURL / "screen.mov", root_ / "screen.mov"));
    EXPECT_EQ(std::distance(fs::directory_iterator(*result.backupURL), fs::directory_iterator()), 6);

    const ProjectPackage package = ProjectPackage::load(root_);
    EXPECT_EQ(package.loadEdits(), EditsDocument());
    EXPECT_LT(contents("events.json").find("\"timestamp\": 1.0"),
              contents("events.json").find("\"timestamp\": 2.0"));
    EXPECT_EQ(ProjectPackage::migrateIfNeeded(root_), ProjectPackageMigrationResult());
}

TEST_F(ProjectPackageTests, aMigrationThatFailsKeepsWhatItHasDone) {
    makePackage();
    change("schemaVersion", "1");
    EXPECT_THAT(loadFailure(), testing::HasSubstr("schemaVersion")); // no number, so nothing is touched
    EXPECT_TRUE(backups().empty());

    change("schemaVersion", 1);
    fs::remove(root_ / "events.json");
    EXPECT_EQ(loadFailure(), "Required project file is missing: events.json");
    EXPECT_EQ(ProjectPackage::schemaVersionInManifestData(contents("manifest.json")), 2);
    ASSERT_EQ(backups().size(), 1U);
}

} // namespace
} // namespace tavrin
