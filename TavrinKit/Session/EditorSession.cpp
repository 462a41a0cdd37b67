#include "TavrinKit/Session/EditorSession.h"

#include <utility>

#include "TavrinKit/Effects/AutoZoomMerge.h"
#include "TavrinKit/Effects/ReframingEngine.h"
#include "TavrinKit/Project/VideoTrackEditError.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

EditorSession::EditorSession(ProjectPackage package, std::shared_ptr<const EventTimeline> events,
                             EditsDocument edits, InspectorState inspector,
                             PreviewPerformanceProfile previewPerformance)
    : package_(std::move(package)), events_(std::move(events)),
      edits_(std::make_shared<const EditsDocument>(std::move(edits))), inspector_(std::move(inspector)),
      previewPerformance_(previewPerformance) {}

EditorSession EditorSession::open(ProjectPackage package) {
    package.validateIntegrity();
    auto events = std::make_shared<const EventTimeline>(package.loadEvents());
    EditsDocument edits = package.loadEdits();
    return EditorSession(std::move(package), std::move(events), std::move(edits));
}

void EditorSession::setEdits(EditsDocument edits) {
    edits_ = std::make_shared<const EditsDocument>(std::move(edits));
}

void EditorSession::applyAutoZoom(const AutoZoomGenerator& generator, const AutoZoomConfig& config,
                                  AutoZoomApplyStrategy strategy) {
    std::vector<ZoomSegment> proposals = generator.generate(events(), config);
    mutateTimeline([&](TimelineModel& timeline) {
        switch (strategy) {
        case AutoZoomApplyStrategy::mergeNonDestructive:
            AutoZoomMerge::merge(timeline.zoomTrack, proposals);
            break;
        case AutoZoomApplyStrategy::replaceTrack:
            timeline.zoomTrack = ZoomTrack{std::move(proposals)}.normalized();
            break;
        }
    });
}

void EditorSession::setZoomMode(const UUID& segmentID, ZoomMode mode) {
    mutateTimeline([&](TimelineModel& timeline) { timeline.zoomTrack.setMode(segmentID, mode); });
}

void EditorSession::deleteZoomSegment(const UUID& segmentID) {
    mutateTimeline([&](TimelineModel& timeline) { timeline.zoomTrack.remove(segmentID); });
}

void EditorSession::disableZoomSegment(const UUID& segmentID) {
    mutateTimeline([&](TimelineModel& timeline) { timeline.zoomTrack.setEnabled(segmentID, false); });
}

void EditorSession::mutateTimeline(const std::function<void(TimelineModel&)>& change) {
    mutate([&](EditsDocument& document) { change(document.timeline); });
}

void EditorSession::splitVideoClip(const UUID& clipID, double time, double fps) {
    editVideoTrack([&](VideoTrack& track) { track.splitClip(clipID, time, fps); });
}

void EditorSession::trimVideoClipIn(const UUID& clipID, double time, double fps) {
    editVideoTrack([&](VideoTrack& track) { track.trimClipIn(clipID, time, fps); });
}

void EditorSession::trimVideoClipOut(const UUID& clipID, double time, double fps) {
    editVideoTrack([&](VideoTrack& track) { track.trimClipOut(clipID, time, fps); });
}

void EditorSession::rippleDeleteVideoClip(const UUID& clipID, double fps) {
    editVideoTrack([&](VideoTrack& track) { track.rippleDelete(clipID, fps); });
}

void EditorSession::previewTake(const UUID& groupID, const UUID& takeID) {
    editVideoTrack([&](VideoTrack& track) { track.previewTake(groupID, takeID); });
}

void EditorSession::revertPreviewTake(const UUID& groupID) {
    editVideoTrack([&](VideoTrack& track) { track.revertPreviewTake(groupID); });
}

void EditorSession::commitPreviewTake(const UUID& groupID) {
    editVideoTrack([&](VideoTrack& track) { track.commitPreviewTake(groupID); });
}

void EditorSession::setAudioStyle(const AudioTrackStyle& style, AudioTrackRole role) {
    mutateTimeline([&](TimelineModel& timeline) { timeline.audioMix.setStyle(style, role); });
}

void EditorSession::setSelectedExportAspect(std::optional<ExportAspectPreset> aspect) {
    mutate([&](EditsDocument& document) { document.exportSettings.selectedAspect = aspect; });
}

bool EditorSession::undo() {
    return step(undoStack_, redoStack_);
}

bool EditorSession::redo() {
    return step(redoStack_, undoStack_);
}

void EditorSession::save() const {
    package_.saveEdits(edits());
}

TimelineModel EditorSession::prepareReframedTimeline(Size2D sourceSize, AspectPreset aspectPreset) const {
    TimelineModel timeline = edits().timeline;
    timeline.zoomTrack = ReframingEngine::reframedTrack(timeline.zoomTrack, sourceSize, aspectPreset);
    return timeline;
}

void EditorSession::mutate(const std::function<void(EditsDocument&)>& change) {
    EditsDocument changed = edits();
    change(changed);
    if (!(changed == edits())) {
        recordMutation(edits());
        setEdits(std::move(changed));
    }
}

void EditorSession::editVideoTrack(const std::function<void(VideoTrack&)>& edit) {
    VideoTrack track = edits().timeline.videoTrack;
    try {
        edit(track);
    } catch (const VideoTrackEditError& error) {
        if (error.kind() == VideoTrackEditErrorKind::overlapDetected) {
            EditsDocument changed = edits();
            changed.timeline.videoTrack = std::move(track);
            setEdits(std::move(changed));
        }
        throw;
    }
    mutateTimeline([&](TimelineModel& timeline) { timeline.videoTrack = std::move(track); });
}

void EditorSession::recordMutation(const EditsDocument& previous) {
    const EditsSnapshot* neighbour = !undoStack_.empty()   ? &undoStack_.back()
                                     : !redoStack_.empty() ? &redoStack_.back()
                                                           : nullptr;
    EditsSnapshot snapshot(previous, neighbour);
    undoStack_.push_back(std::move(snapshot));
    if (undoStack_.size() > undoLimit) {
        undoStack_.erase(undoStack_.begin(), undoStack_.end() - std::ptrdiff_t(undoLimit));
    }
    redoStack_.clear();
}

bool EditorSession::step(std::vector<EditsSnapshot>& from, std::vector<EditsSnapshot>& to) {
    if (from.empty()) {
        return false;
    }
    to.emplace_back(edits(), &from.back());
    setEdits(from.back().document());
    from.pop_back();
    return true;
}

} // namespace tavrin
