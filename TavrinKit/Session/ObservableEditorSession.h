#pragma once

#include <functional>
#include <memory>
#include <utility>

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

/// An editor session for a user interface: what is done to it goes through `perform`, as one observed change.
///
///     session.perform(&EditorSession::splitVideoClip, clipID, time, fps);
///     const EditsDocument& edits = session->edits();
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

    /// All that can be asked of the session without changing it, saving included.
    [[nodiscard]] const EditorSession* operator->() const { return &session_; }

    /// A copy that goes its own way.
    [[nodiscard]] EditorSession snapshot() const { return session_; }

    /// Carries out an operation of the session, one of its setters, or a function of the caller that gets the
    /// session first and makes several of them one change. The session mustn't be kept beyond that.
    /// @return what the operation returns
    /// @throws what it throws
    template <typename Operation, typename... Arguments>
    auto perform(Operation&& operation, Arguments&&... arguments) {
        const ObservedChange change(*this);
        return std::invoke(std::forward<Operation>(operation), session_,
                           std::forward<Arguments>(arguments)...);
    }

private:
    /// Tells the observers, when it ends, what the session shows otherwise than when it began.
    class ObservedChange {
    public:
        explicit ObservedChange(ObservableEditorSession& observed);
        ~ObservedChange();
        ObservedChange(const ObservedChange&) = delete;
        ObservedChange& operator=(const ObservedChange&) = delete;

    private:
        ObservableEditorSession& observed_;
        std::shared_ptr<const EventTimeline> events_;
        std::shared_ptr<const EditsDocument> edits_;
        InspectorState inspector_;
        PreviewPerformanceProfile previewPerformance_;
        bool canUndo_;
        bool canRedo_;
    };

    EditorSession session_;
    std::shared_ptr<Observers> observers_;
};

} // namespace tavrin
