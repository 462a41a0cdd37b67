#include "TavrinKit/Session/ObservableEditorSession.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <utility>
#include <vector>

namespace tavrin {
namespace {

/// What of a session can be told apart afterwards, cheaply.
class Before {
public:
    explicit Before(const EditorSession& session)
        : events_(session.sharedEvents()), edits_(session.sharedEdits()), inspector_(session.inspector()),
          previewPerformance_(session.previewPerformance()), canUndo_(session.canUndo()),
          canRedo_(session.canRedo()) {}

    [[nodiscard]] EditorSessionChange changeTo(const EditorSession& session) const {
        return {.events = events_ != session.sharedEvents(),
                .edits = edits_ != session.sharedEdits(),
                .inspector = inspector_ != session.inspector(),
                .previewPerformance = previewPerformance_ != session.previewPerformance(),
                .history = canUndo_ != session.canUndo() || canRedo_ != session.canRedo()};
    }

private:
    std::shared_ptr<const EventTimeline> events_;
    std::shared_ptr<const EditsDocument> edits_;
    InspectorState inspector_;
    PreviewPerformanceProfile previewPerformance_;
    bool canUndo_;
    bool canRedo_;
};

} // namespace

/// Who observes, and what they are still to be told.
class ObservableEditorSession::Observers {
public:
    void add(EditorSessionObserver& observer) { observers_.push_back(&observer); }

    /// While a change is being told its place stays, so that the others keep theirs.
    void remove(const EditorSessionObserver* observer) {
        std::ranges::replace(observers_, observer, nullptr);
        if (!isTelling_) {
            std::erase(observers_, nullptr);
        }
    }

    void tell(const EditorSessionChange& change) {
        if (change.isEmpty()) {
            return;
        }
        pending_.push_back(change);
        if (std::exchange(isTelling_, true)) {
            return;
        }
        while (!pending_.empty()) {
            tellAll(std::exchange(pending_.front(), {}));
            pending_.pop_front();
        }
        isTelling_ = false;
        std::erase(observers_, nullptr);
    }

private:
    void tellAll(const EditorSessionChange& change) {
        const std::size_t count = observers_.size();
        for (std::size_t i = 0; i < count; ++i) {
            if (EditorSessionObserver* observer = observers_[i]) {
                observer->editorSessionDidChange(change);
            }
        }
    }

    std::vector<EditorSessionObserver*> observers_; ///< null for one that left while a change is being told
    std::deque<EditorSessionChange> pending_;
    bool isTelling_ = false;
};

ObservableEditorSession::Observation&
ObservableEditorSession::Observation::operator=(Observation&& other) noexcept {
    if (this != &other) {
        end();
        observers_ = std::move(other.observers_);
        observer_ = other.observer_;
    }
    return *this;
}

void ObservableEditorSession::Observation::end() {
    if (const auto observers = std::exchange(observers_, {}).lock()) {
        observers->remove(observer_);
    }
}

ObservableEditorSession::ObservableEditorSession(EditorSession session)
    : session_(std::move(session)), observers_(std::make_shared<Observers>()) {}

ObservableEditorSession::~ObservableEditorSession() = default;

std::unique_ptr<ObservableEditorSession> ObservableEditorSession::open(ProjectPackage package) {
    return std::make_unique<ObservableEditorSession>(EditorSession::open(std::move(package)));
}

ObservableEditorSession::Observation ObservableEditorSession::observe(EditorSessionObserver& observer) {
    observers_->add(observer);
    Observation observation;
    observation.observers_ = observers_;
    observation.observer_ = &observer;
    return observation;
}

void ObservableEditorSession::observed(const std::function<void(EditorSession&)>& operation) {
    const Before before(session_);
    try {
        operation(session_);
    } catch (...) {
        observers_->tell(before.changeTo(session_));
        throw;
    }
    observers_->tell(before.changeTo(session_));
}

void ObservableEditorSession::setEvents(std::shared_ptr<const EventTimeline> events) {
    observed([&](EditorSession& session) { session.setEvents(std::move(events)); });
}

void ObservableEditorSession::setEdits(EditsDocument edits) {
    observed([&](EditorSession& session) { session.setEdits(std::move(edits)); });
}

void ObservableEditorSession::setInspector(InspectorState inspector) {
    observed([&](EditorSession& session) { session.setInspector(std::move(inspector)); });
}

void ObservableEditorSession::setPreviewPerformance(PreviewPerformanceProfile profile) {
    observed([&](EditorSession& session) { session.setPreviewPerformance(profile); });
}

void ObservableEditorSession::applyAutoZoom(const AutoZoomGenerator& generator, const AutoZoomConfig& config,
                                            AutoZoomApplyStrategy strategy) {
    observed([&](EditorSession& session) { session.applyAutoZoom(generator, config, strategy); });
}

void ObservableEditorSession::setZoomMode(const UUID& segmentID, ZoomMode mode) {
    observed([&](EditorSession& session) { session.setZoomMode(segmentID, mode); });
}

void ObservableEditorSession::deleteZoomSegment(const UUID& segmentID) {
    observed([&](EditorSession& session) { session.deleteZoomSegment(segmentID); });
}

void ObservableEditorSession::disableZoomSegment(const UUID& segmentID) {
    observed([&](EditorSession& session) { session.disableZoomSegment(segmentID); });
}

void ObservableEditorSession::mutateTimeline(const std::function<void(TimelineModel&)>& change) {
    observed([&](EditorSession& session) { session.mutateTimeline(change); });
}

void ObservableEditorSession::splitVideoClip(const UUID& clipID, double time, double fps) {
    observed([&](EditorSession& session) { session.splitVideoClip(clipID, time, fps); });
}

void ObservableEditorSession::trimVideoClipIn(const UUID& clipID, double time, double fps) {
    observed([&](EditorSession& session) { session.trimVideoClipIn(clipID, time, fps); });
}

void ObservableEditorSession::trimVideoClipOut(const UUID& clipID, double time, double fps) {
    observed([&](EditorSession& session) { session.trimVideoClipOut(clipID, time, fps); });
}

void ObservableEditorSession::rippleDeleteVideoClip(const UUID& clipID, double fps) {
    observed([&](EditorSession& session) { session.rippleDeleteVideoClip(clipID, fps); });
}

void ObservableEditorSession::previewTake(const UUID& groupID, const UUID& takeID) {
    observed([&](EditorSession& session) { session.previewTake(groupID, takeID); });
}

void ObservableEditorSession::revertPreviewTake(const UUID& groupID) {
    observed([&](EditorSession& session) { session.revertPreviewTake(groupID); });
}

void ObservableEditorSession::commitPreviewTake(const UUID& groupID) {
    observed([&](EditorSession& session) { session.commitPreviewTake(groupID); });
}

void ObservableEditorSession::setAudioStyle(const AudioTrackStyle& style, AudioTrackRole role) {
    observed([&](EditorSession& session) { session.setAudioStyle(style, role); });
}

void ObservableEditorSession::setSelectedExportAspect(std::optional<ExportAspectPreset> aspect) {
    observed([&](EditorSession& session) { session.setSelectedExportAspect(aspect); });
}

bool ObservableEditorSession::undo() {
    bool undone = false;
    observed([&](EditorSession& session) { undone = session.undo(); });
    return undone;
}

bool ObservableEditorSession::redo() {
    bool redone = false;
    observed([&](EditorSession& session) { redone = session.redo(); });
    return redone;
}

void ObservableEditorSession::save() const {
    session_.save();
}

TimelineModel ObservableEditorSession::prepareReframedTimeline(Size2D sourceSize,
                                                               AspectPreset aspectPreset) const {
    return session_.prepareReframedTimeline(sourceSize, aspectPreset);
}

} // namespace tavrin
