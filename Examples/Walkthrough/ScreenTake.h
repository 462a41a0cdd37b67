#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "Examples/Walkthrough/SourceChoice.h"
#include "TavrinKit/Export/MP4Exporting.h"
#include "TavrinKit/Platform/Desktop/DesktopPlatform.h"
#include "TavrinKit/Project/ExportPreset.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin::demo {

/// What a finished recording consists of.
struct TakeFacts {
    double durationSeconds = 0;
    std::int64_t framesTaken = 0;
    std::int64_t framesDropped = 0;
    std::size_t moves = 0;
    std::size_t clicks = 0;
    std::size_t drags = 0;
    std::size_t keys = 0;
    std::size_t cursorStates = 0;
    std::size_t zoomSegments = 0;
    std::string validation; ///< what the check of the tracks says, in a line
    bool passesValidation = false;
    std::vector<std::string> warnings; ///< what went wrong without ending the take
};

/// One take of a desktop, from the first picture to the exported movie: the whole road through the
/// library.
///
///     ScreenTake take({.display = ":0", .outputDirectory = folder});
///     take.start(stop);
///     …
///     take.finish(stop);
///     take.exportMovie(ExportPreset::required1080p(…), {}, stop);
///
/// One thread at a time. A take that is destroyed while it records leaves nothing running.
class ScreenTake {
public:
    struct Settings {
        std::string display;                   ///< of X, as in ":0"; empty: that of this session
        std::filesystem::path outputDirectory; ///< gets the package's folder and the movie; made when missing
        bool excludeCursor = true;             ///< the cursor is drawn in the export, from the events
        SourceChoice source{};                 ///< what to record of the display
        AudioCaptureOptions audio{};
        CameraCaptureOptions camera{};
        std::string syntheticCameraID{}; ///< as of `DesktopPlatformSettings`
    };

    /// Finds out whether there is something to record.
    /// @throws Error of the platform
    explicit ScreenTake(Settings settings);
    ~ScreenTake();
    ScreenTake(const ScreenTake&) = delete;
    ScreenTake& operator=(const ScreenTake&) = delete;

    /// Records the source, the input and the cursor from now on.
    /// @throws Error, also when there is no such source, CancellationError; then nothing is left running
    void start(const std::stop_token& stop = {});

    /// Ends the recording, writes the package and opens it, with zooms generated from the clicks.
    /// @throws Error, CancellationError
    void finish(const std::stop_token& stop = {});

    /// Present after `finish`.
    [[nodiscard]] const EditorSession& session() const { return *session_; }
    [[nodiscard]] TakeFacts facts() const;
    /// The project folder.
    [[nodiscard]] const std::filesystem::path& packagePath() const { return packagePath_; }
    /// Where `exportMovie` puts the movie: beside the package, under its name.
    [[nodiscard]] std::filesystem::path moviePath() const;

    /// @throws as `exportSession`; then there is no movie
    ExportResult exportMovie(const ExportPreset& preset, const ExportProgressHandler& onProgress,
                             const std::stop_token& stop = {}) const;

private:
    class Recorder;

    const Settings settings_;
    std::filesystem::path packagePath_;
    std::unique_ptr<Recorder> recorder_;
    std::optional<EditorSession> session_;
    CaptureOptions options_; ///< what was recorded
    std::int64_t framesDropped_ = 0;
    std::vector<std::string> warnings_;
};

/// Exports an open session with one call, three attempts at the most on each road. What the machine isn't
/// strong enough for is given up where the preset allows it.
/// @param onProgress  may be empty
/// @throws as OneClickExporter; then whatever lay at the destination is still there
ExportResult exportSession(const EditorSession& session, const ExportPreset& preset,
                           const std::filesystem::path& destination, const ExportProgressHandler& onProgress,
                           const std::stop_token& stop = {});

} // namespace tavrin::demo
