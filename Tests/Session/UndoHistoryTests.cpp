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
            return step(&EditorSession::undo, undo_, redo_);
        case 1:
            return step(&EditorSession::redo, redo_, undo_);
        default:
            return change();
        }
    }

    void expectAgreement() const {
        ASSERT_EQ(session_.canUndo(), !undo_.empty());
        ASSERT_EQ(session_.canRedo(), !redo_.empty());
    }

private:
    int below(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
    double anyTime() { return std::uniform_real_distribution(0.0, 6.0)(random_); }
    [[nodiscard]] std::string bytes() const { return encodeDocument(session_.edits()); }

    void step(bool (EditorSession::*move)(), std::vector<std::string>& from, std::vector<std::string>& to) {
        const std::string before = bytes();
        ASSERT_EQ((session_.*move)(), !from.empty());
        if (from.empty()) {
            ASSERT_EQ(bytes(), before);
            return;
        }
        ASSERT_EQ(bytes(), from.back());
        from.pop_back();
        to.push_back(before);
    }

    void change() {
        const EditsDocument before = session_.edits();
        bool overlapped = false;
        try {
            applyAnything();
        } catch (const VideoTrackEditError& error) {
            overlapped = error.kind() == VideoTrackEditErrorKind::overlapDetected;
            ASSERT_TRUE(overlapped || session_.edits() == before);
        }
        if (session_.edits() == before) {
            ASSERT_EQ(bytes(), encodeDocument(before));
        } else if (!overlapped) {
            undo_.push_back(encodeDocument(before));
            redo_.clear();
        }
    }

    void applyAnything() {
        const TimelineModel& timeline = session_.edits().timeline;
        const UUID zoom = timeline.zoomTrack.segments.empty() ? UUID() : timeline.zoomTrack.segments[0].id;
        const UUID clip = timeline.videoTrack.clips.empty() ? UUID() : timeline.videoTrack.clips.back().id;
        switch (below(11)) {
        case 0:
            return session_.setZoomMode(zoom, ZoomMode(below(2)));
        case 1:
            return session_.disableZoomSegment(zoom);
        case 2:
            return session_.deleteZoomSegment(zoom);
        case 3:
            return session_.setSelectedExportAspect(ExportAspectPreset(below(5)));
        case 4:
            return session_.setAudioStyle({.gainDB = double(below(3))}, AudioTrackRole(below(3)));
        case 5:
            return session_.splitVideoClip(clip, anyTime(), 30);
        case 6:
            return session_.trimVideoClipOut(clip, anyTime(), 30);
        case 7:
            return session_.rippleDeleteVideoClip(clip, 30);
        case 8:
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
            session.expectAgreement();
        }
        ASSERT_FALSE(HasFatalFailure());
    }
}

} // namespace
} // namespace tavrin
