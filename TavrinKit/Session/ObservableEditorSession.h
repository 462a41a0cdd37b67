#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {

/// What one operation on an observed session has changed.
struct EditorSessionChange {
    bool events = false;
    bool edits = false;
    bool inspector = false;
    bool previewPerformance = false;
    bool history = false; ///< `canUndo` or `canRedo` says something else than before

    [[nodiscard]] bool isEmpty() const { return *this == EditorSessionChange(); }

    friend bool operator==(const EditorSessionChange&, const EditorSessionChange&) = default;
};

/// Wants to know when a session has changed.
class EditorSessionObserver {
public:
    virtual ~EditorSessionObserver() = default;

    /// The session already shows the change, and whatever followed it.
    virtual void editorSessionDidChange(const EditorSessionChange& change) noexcept = 0;
};

/// An editor session for a user interface: every operation is one observed change.
///
/// An operation that changed something calls each observer once, before it returns or throws; one that
/// changed nothing calls nobody. Observers are called on the thread of the operation, in the order in which
/// they came.
///
/// An observer may do anything with the session but destroy it. What it changes takes effect at once and is
/// told to all observers once they have all heard of the change before it. An observer that is taken away
/// meanwhile isn't called any more; one that is added is called from the next telling on.
///
/// To be used from one thread, that of the user interface.
class ObservableEditorSession {
    class Observers;

public:
    /// Observing lasts as long as this. It may outlive the session.
    class Observation {
    public:
        Observation() = default;
        Observation(Observation&& other) noexcept = default;
        Observation& operator=(Observation&& other) noexcept;
        ~Observation() { end(); }

        void end();

    private:
        friend class ObservableEditorSession;

        std::weak_ptr<Observers> observers_;
        EditorSessionObserver* observer_ = nullptr;
    };

    explicit ObservableEditorSession(EditorSession session);
    ~ObservableEditorSession();
    ObservableEditorSession(const ObservableEditorSession&) = delete;
    ObservableEditorSession& operator=(const ObservableEditorSession&) = delete;

    /// @throws what EditorSession::open throws
    [[nodiscard]] static std::unique_ptr<ObservableEditorSession> open(ProjectPackage package);

    /// @param observer  outlives the observation, and isn't observing yet
    [[nodiscard]] Observation observe(EditorSessionObserver& observer);

    /// A copy that goes its own way.
    [[nodiscard]] EditorSession snapshot() const { return session_; }

    [[nodiscard]] const ProjectPackage& package() const { return session_.package(); }
    [[nodiscard]] const EventTimeline& events() const { return session_.events(); }
    /// Valid until the edits change.
    [[nodiscard]] const EditsDocument& edits() const { return session_.edits(); }
    [[nodiscard]] const InspectorState& inspector() const { return session_.inspector(); }
    [[nodiscard]] const PreviewPerformanceProfile& previewPerformance() const {
        return session_.previewPerformance();
    }
    [[nodiscard]] bool canUndo() const { return session_.canUndo(); }
    [[nodiscard]] bool canRedo() const { return session_.canRedo(); }

    // These make no undo step.
    void setEvents(std::shared_ptr<const EventTimeline> events);
    void setEdits(EditsDocument edits);
    void setInspector(InspectorState inspector);
    void setPreviewPerformance(PreviewPerformanceProfile profile);

    // As the operations of the session, and with their errors.
    void applyAutoZoom(const AutoZoomGenerator& generator, const AutoZoomConfig& config,
                       AutoZoomApplyStrategy strategy);
    void setZoomMode(const UUID& segmentID, ZoomMode mode);
    void deleteZoomSegment(const UUID& segmentID);
    void disableZoomSegment(const UUID& segmentID);
    void mutateTimeline(const std::function<void(TimelineModel&)>& change);
    void splitVideoClip(const UUID& clipID, double time, double fps);
    void trimVideoClipIn(const UUID& clipID, double time, double fps);
    void trimVideoClipOut(const UUID& clipID, double time, double fps);
    void rippleDeleteVideoClip(const UUID& clipID, double fps);
    void previewTake(const UUID& groupID, const UUID& takeID);
    void revertPreviewTake(const UUID& groupID);
    void commitPreviewTake(const UUID& groupID);
    void setAudioStyle(const AudioTrackStyle& style, AudioTrackRole role);
    void setSelectedExportAspect(std::optional<ExportAspectPreset> aspect);
    bool undo();
    bool redo();
    void save() const;
    [[nodiscard]] TimelineModel prepareReframedTimeline(Size2D sourceSize, AspectPreset aspectPreset) const;

private:
    void observed(const std::function<void(EditorSession&)>& operation);

    EditorSession session_;
    std::shared_ptr<Observers> observers_;
};

} // namespace tavrin
