#include "TavrinKit/Session/ObservableEditorSession.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <utility>
#include <vector>

namespace tavrin {

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

ObservableEditorSession::ObservedChange::ObservedChange(ObservableEditorSession& observed)
    : observed_(observed), events_(observed->sharedEvents()), edits_(observed->sharedEdits()),
      inspector_(observed->inspector()), previewPerformance_(observed->previewPerformance()),
      canUndo_(observed->canUndo()), canRedo_(observed->canRedo()) {}

ObservableEditorSession::ObservedChange::~ObservedChange() {
    const EditorSession& now = observed_.session_;
    observed_.observers_->tell({.events = events_ != now.sharedEvents(),
                                .edits = edits_ != now.sharedEdits(),
                                .inspector = inspector_ != now.inspector(),
                                .previewPerformance = previewPerformance_ != now.previewPerformance(),
                                .history = canUndo_ != now.canUndo() || canRedo_ != now.canRedo()});
}

} // namespace tavrin
