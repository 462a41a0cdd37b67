#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "../Project/WildEdits.h"
#include "TavrinKit/Project/VideoTrackEditError.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {
namespace {

/// A session, and beside it what its histories should hold, as the bytes of whole documents.
class TracedSession {
public:
    explicit TracedSession(unsigned seed)
        : random_(seed), session_(ProjectPackage("/nowhere", ProjectManifest{}),
                                  std::make_shared<const EventTimeline>(), test::wildEdits(random_, 9)) {}

    void doSomething() {
        switch (below(4)) {
        case 0:
            step(&EditorSession::undo, undo_, redo_);
            break;
        case 1:
            step(&EditorSession::redo, redo_, undo_);
            break;
        default:
            change();
        }
        ASSERT_EQ(session_.canUndo(), !undo_.empty());
        ASSERT_EQ(session_.canRedo(), !redo_.empty());
    }

private:
    int below(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
    [[nodiscard]] std::string bytes() const { return encodeDocument(session_.edits()); }

    void step(bool (EditorSession::*move)(), std::vector<std::string>& from, std::vector<std::string>& to) {
        const std::string before = bytes();
        const bool isPossible = !from.empty();
        ASSERT_EQ((session_.*move)(), isPossible);
        ASSERT_EQ(bytes(), isPossible ? from.back() : before);
        if (isPossible) {
            from.pop_back();
            to.push_back(before);
        }
    }

    void change() {
        const EditsDocument before = session_.edits();
        try {
            applyAnything();
        } catch (const VideoTrackEditError& error) {
            if (error.kind() == VideoTrackEditErrorKind::overlapDetected) {
                return; // made, but no step
            }
        }
        if (session_.edits() == before) {
            ASSERT_EQ(bytes(), encodeDocument(before));
        } else {
            undo_.push_back(encodeDocument(before));
            redo_.clear();
        }
    }

    void applyAnything() {
        const TimelineModel& timeline = session_.edits().timeline;
        const UUID clip = timeline.videoTrack.clips.empty() ? UUID() : timeline.videoTrack.clips.back().id;
        switch (below(8)) {
        case 0:
            return session_.setSelectedExportAspect(ExportAspectPreset(below(5)));
        case 1:
            return session_.setAudioStyle({.gainDB = double(below(3))}, AudioTrackRole(below(3)));
        case 2:
            return session_.splitVideoClip(clip, below(60) / 10.0, 30);
        case 3:
            return session_.rippleDeleteVideoClip(clip, 30);
        case 4:
            return session_.mutateTimeline(
                [&](TimelineModel& model) { model = test::wildEdits(random_, 9).timeline; });
        default:
            return session_.mutateTimeline([&](TimelineModel& model) { editAnnotations(model); });
        }
    }

    void editAnnotations(TimelineModel& model) {
        auto& regions = model.annotationTrack.regions;
        const auto place = regions.begin() + below(int(regions.size()) + 1);
        if (place == regions.end() || below(3) == 0) {
            regions.insert(place, AnnotationRegion{.content = std::string(std::size_t(below(40)), 'x')});
        } else if (below(3) == 0) {
            std::rotate(regions.begin(), place, regions.end());
        } else if (below(3) == 0) {
            regions.erase(place);
        } else {
            for (AnnotationRegion& region : regions) {
                region.position.x = below(2) == 0 ? -0.0 : 0.0; // equal, but not written alike
            }
            place->zIndex = below(3);
        }
    }

    std::mt19937 random_;
    EditorSession session_;
    std::vector<std::string> undo_; ///< the most recent last
    std::vector<std::string> redo_;
};

TEST(UndoHistory, EveryStepBringsBackItsDocumentToTheByte) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        TracedSession session(seed);
        for (int i = 0; i < 90 && !testing::Test::HasFatalFailure(); ++i) {
            session.doSomething();
        }
        ASSERT_FALSE(HasFatalFailure());
    }
}

} // namespace
} // namespace tavrin
