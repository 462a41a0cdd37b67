#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../Project/WildEdits.h"
#include "TavrinKit/Project/VideoTrackEditError.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {
namespace {

int below(int count, std::mt19937& random) {
    return std::uniform_int_distribution(0, count - 1)(random);
}

void editAnnotations(std::vector<AnnotationRegion>& regions, std::mt19937& random) {
    const auto place = regions.begin() + below(int(regions.size()) + 1, random);
    if (place == regions.end() || below(3, random) == 0) {
        regions.insert(place, AnnotationRegion{.content = std::string(std::size_t(below(40, random)), 'x')});
    } else if (below(3, random) == 0) {
        std::rotate(regions.begin(), place, regions.end());
    } else if (below(3, random) == 0) {
        regions.erase(place);
    } else {
        for (AnnotationRegion& region : regions) {
            region.position.x = below(2, random) == 0 ? -0.0 : 0.0; // equal, but not written alike
        }
        place->zIndex = below(3, random);
    }
}

void changeAnything(EditorSession& session, std::mt19937& random) {
    const auto& clips = session.edits().timeline.videoTrack.clips;
    const UUID clip = clips.empty() ? UUID() : clips.back().id;
    switch (below(8, random)) {
    case 0:
        return session.setSelectedExportAspect(ExportAspectPreset(below(5, random)));
    case 1:
        return session.setAudioStyle({.gainDB = double(below(3, random))}, AudioTrackRole(below(3, random)));
    case 2:
        return session.splitVideoClip(clip, below(60, random) / 10.0, 30);
    case 3:
        return session.rippleDeleteVideoClip(clip, 30);
    case 4:
        return session.mutateTimeline(
            [&](TimelineModel& model) { model = test::wildEdits(random, 9).timeline; });
    default:
        return session.mutateTimeline(
            [&](TimelineModel& model) { editAnnotations(model.annotationTrack.regions, random); });
    }
}

/// Beside the session stands what its histories should hold, as the bytes of whole documents.
TEST(UndoHistory, EveryStepBringsBackItsDocumentToTheByte) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        EditorSession session(ProjectPackage("/nowhere", ProjectManifest{}),
                              std::make_shared<const EventTimeline>(), test::wildEdits(random, 9));
        std::vector<std::string> undo; // the most recent last
        std::vector<std::string> redo;
        for (int i = 0; i < 90; ++i) {
            const EditsDocument before = session.edits();
            const std::string bytes = encodeDocument(before);
            if (const int way = below(4, random); way < 2) {
                auto& from = way == 0 ? undo : redo;
                ASSERT_EQ(way == 0 ? session.undo() : session.redo(), !from.empty());
                ASSERT_EQ(encodeDocument(session.edits()), from.empty() ? bytes : from.back());
                if (!from.empty()) {
                    from.pop_back();
                    (way == 0 ? redo : undo).push_back(bytes);
                }
                continue;
            }
            bool isStep = true;
            try {
                changeAnything(session, random);
            } catch (const VideoTrackEditError& error) {
                isStep = error.kind() != VideoTrackEditErrorKind::overlapDetected; // that has been made
            }
            if (session.edits() == before) {
                ASSERT_EQ(encodeDocument(session.edits()), bytes);
            } else if (isStep) {
                undo.push_back(bytes);
                redo.clear();
            }
            ASSERT_EQ(session.canUndo(), !undo.empty());
            ASSERT_EQ(session.canRedo(), !redo.empty());
        }
    }
}

} // namespace
} // namespace tavrin
