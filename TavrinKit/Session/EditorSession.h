#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "TavrinKit/Effects/AutoZoomGenerator.h"
#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/ExportAspectPreset.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Session/EditsSnapshot.h"
#include "TavrinKit/Support/Json.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// Which track the inspector shows.
struct InspectorState {
    std::string selectedTrack = "Zoom";

    friend bool operator==(const InspectorState&, const InspectorState&) = default;
};

/// What a preview gives up in order to stay fluent.
struct PreviewPerformanceProfile {
    bool halfResolution = true;
    bool reduceBlurSamplesWhileScrubbing = true;

    friend bool operator==(const PreviewPerformanceProfile&, const PreviewPerformanceProfile&) = default;
};

enum class AutoZoomApplyStrategy {
    mergeNonDestructive, ///< adds what the track doesn't have yet
    replaceTrack,
};

/// One open project: its package, its events, the working edits and their history.
///
/// Every change of the edits goes through an operation of the session, and one operation that changed
/// something is one undo step; one that changed nothing leaves both histories as they were. An operation
/// that throws makes no step and changes nothing, with one exception: an edit of clips after which clips
/// overlap has been made when `VideoTrackEditError::overlapDetected` says so, and can't be undone. Unsaved
/// edits are lost with the session; saving is the caller's decision.
///
/// A value: a copy is a session of its own, and cheap, because copies share the events and the contents of
/// the history. Not to be changed from two threads at once.
class EditorSession {
public:
    /// The most undo steps that are kept; beyond it the oldest goes.
    static constexpr std::size_t undoLimit = 100;

    EditorSession(ProjectPackage package, std::shared_ptr<const EventTimeline> events, EditsDocument edits,
                  InspectorState inspector = {}, PreviewPerformanceProfile previewPerformance = {});

    /// Checks the package's files and reads its events and edits.
    /// @throws ProjectPackageValidationError, FileError, JsonError
    [[nodiscard]] static EditorSession open(ProjectPackage package);

    [[nodiscard]] const ProjectPackage& package() const { return package_; }
    [[nodiscard]] const EventTimeline& events() const { return *events_; }
    /// The same events, for whoever outlives the session.
    [[nodiscard]] const std::shared_ptr<const EventTimeline>& sharedEvents() const { return events_; }
    /// Valid until the edits change.
    [[nodiscard]] const EditsDocument& edits() const { return *edits_; }
    [[nodiscard]] const InspectorState& inspector() const { return inspector_; }
    [[nodiscard]] const PreviewPerformanceProfile& previewPerformance() const { return previewPerformance_; }

    /// The same edits, for whoever outlives the session; another document once they change.
    [[nodiscard]] const std::shared_ptr<const EditsDocument>& sharedEdits() const { return edits_; }

    // None of these is an undo step; the history stays.
    /// @param events  not null
    void setEvents(std::shared_ptr<const EventTimeline> events) { events_ = std::move(events); }
    void setEdits(EditsDocument edits);
    void setInspector(InspectorState inspector) { inspector_ = std::move(inspector); }
    void setPreviewPerformance(PreviewPerformanceProfile profile) { previewPerformance_ = profile; }

    /// Proposes zooms from the clicks and brings them into the zoom track. Merging leaves out what is near a
    /// segment of the track in time and place, and leaves the segments that are there as they are; when it
    /// adds nothing, the track stays as it was, its order included.
    void applyAutoZoom(const AutoZoomGenerator& generator, const AutoZoomConfig& config,
                       AutoZoomApplyStrategy strategy);

    // An id that the track doesn't have changes nothing.
    void setZoomMode(const UUID& segmentID, ZoomMode mode);
    void deleteZoomSegment(const UUID& segmentID);
    void disableZoomSegment(const UUID& segmentID);

    /// @param change  changes the timeline in place; when it throws, nothing has changed
    void mutateTimeline(const std::function<void(TimelineModel&)>& change);

    // As the operations of VideoTrack, and with their errors.
    void splitVideoClip(const UUID& clipID, double time, double fps);
    void trimVideoClipIn(const UUID& clipID, double time, double fps);
    void trimVideoClipOut(const UUID& clipID, double time, double fps);
    void rippleDeleteVideoClip(const UUID& clipID, double fps);
    void previewTake(const UUID& groupID, const UUID& takeID);
    void revertPreviewTake(const UUID& groupID);
    void commitPreviewTake(const UUID& groupID);

    void setAudioStyle(const AudioTrackStyle& style, AudioTrackRole role);
    void setSelectedExportAspect(std::optional<ExportAspectPreset> aspect);

    [[nodiscard]] bool canUndo() const { return !undoStack_.empty(); }
    [[nodiscard]] bool canRedo() const { return !redoStack_.empty(); }
    /// @return false when there is nothing to undo
    bool undo();
    /// @return false when there is nothing to redo
    bool redo();

    /// Writes the edits into the package. The history stays.
    /// @throws FileError, JsonError
    void save() const;

    /// The timeline with its zooms adapted to an export of another aspect; the session stays as it is.
    [[nodiscard]] TimelineModel prepareReframedTimeline(Size2D sourceSize, AspectPreset aspectPreset) const;

private:
    void mutate(const std::function<void(EditsDocument&)>& change);
    void editVideoTrack(const std::function<void(VideoTrack&)>& edit);
    void recordMutation(const EditsDocument& previous);
    bool step(std::vector<EditsSnapshot>& from, std::vector<EditsSnapshot>& to);

    ProjectPackage package_;
    std::shared_ptr<const EventTimeline> events_;
    std::shared_ptr<const EditsDocument> edits_;
    InspectorState inspector_;
    PreviewPerformanceProfile previewPerformance_;
    std::vector<EditsSnapshot> undoStack_; ///< the most recent last
    std::vector<EditsSnapshot> redoStack_; ///< the most recent last
};

template <>
struct EnumNames<AutoZoomApplyStrategy> {
    using enum AutoZoomApplyStrategy;
    static constexpr auto names = namedCases<AutoZoomApplyStrategy>({
        {mergeNonDestructive, "mergeNonDestructive"},
        {replaceTrack, "replaceTrack"},
    });
};

template <>
struct JsonRecord<InspectorState> {
    static void fields(auto& keys, auto& value) { keys.required("selectedTrack", value.selectedTrack); }
};

template <>
struct JsonRecord<PreviewPerformanceProfile> {
    static void fields(auto& keys, auto& value) {
        keys.required("halfResolution", value.halfResolution);
        keys.required("reduceBlurSamplesWhileScrubbing", value.reduceBlurSamplesWhileScrubbing);
    }
};

} // namespace tavrin
