#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

#include "TavrinKit/Compositing/EffectBakingRenderer.h"
#include "TavrinKit/Export/ExportCapabilityServicing.h"
#include "TavrinKit/Export/ExportPresetValidator.h"
#include "TavrinKit/Export/ExportProgress.h"
#include "TavrinKit/Export/ExportReliabilityGuard.h"
#include "TavrinKit/Export/MP4Exporting.h"
#include "TavrinKit/Session/EditorSession.h"
#include "TavrinKit/Support/Guarded.h"
#include "TavrinKit/Support/Turns.h"

namespace tavrin {

/// Makes the movie of an open session with one call, in spite of trouble or not at all.
///
/// The preset is fitted to the machine. Then the effects are drawn while encoding; should that fail for good,
/// they are baked into an intermediate movie first, which is then encoded. All attempts write a hidden file
/// in the destination's folder, and only a movie that has passed its check takes the destination's place, by
/// a rename. An export that fails or is cancelled leaves the folder as it was, with an older movie at the
/// destination untouched.
///
/// Any thread; calls take turns, so none comes from its own progress handler.
class OneClickExporter {
public:
    using ProgressHandler = std::function<void(const ExportProgressUpdate&)>;

    /// Hands updates on so that their fractions never fall, whatever the attempts report and from whichever
    /// threads. The callback hears of them one after the other, and no lock is held meanwhile: updates that
    /// come in during a call are handed on by the thread that makes it.
    class ProgressForwarder {
    public:
        /// @param callback  may be empty
        explicit ProgressForwarder(ProgressHandler callback) : callback_(std::move(callback)) {}

        /// Any thread.
        /// @throws whatever the callback throws
        void report(ExportProgressUpdate update);

    private:
        struct State {
            double lastFraction = 0;
            std::vector<ExportProgressUpdate> waiting{}; ///< earliest first
            bool isDelivering = false;                   ///< a thread is handing updates on
        };
        void deliver();

        const ProgressHandler callback_;
        Guarded<State> state_;
    };

    /// @param reliabilityGuard,effectBaker,capabilityService  not null
    OneClickExporter(std::shared_ptr<ExportReliabilityGuard> reliabilityGuard,
                     std::shared_ptr<EffectBakingRenderer> effectBaker,
                     std::shared_ptr<const ExportCapabilityServicing> capabilityService,
                     ExportPresetValidator presetValidator = {});

    /// Blocks until the movie lies at the destination.
    /// @param session      isn't changed meanwhile
    /// @param destination  a file there is replaced, unless the movie is made of it
    /// @param onProgress   may be empty. What it throws is a failure like any other; once the movie is in its
    ///                     place, it is only logged.
    /// @param stop         a request ends the export within a few tenths of a second
    /// @throws OneClickExportError; FileError when nothing can be written to the destination, before any work
    ///         is done; CancellationError or ExportError (cancelled) when cancelled; else what the bake or
    ///         the last attempt ended with
    ExportResult exportMovie(const EditorSession& session, const std::filesystem::path& destination,
                             const ExportPreset& preset, const ProgressHandler& onProgress = {},
                             const std::stop_token& stop = {});

private:
    class Run;

    const std::shared_ptr<ExportReliabilityGuard> reliabilityGuard_;
    const std::shared_ptr<EffectBakingRenderer> effectBaker_;
    const std::shared_ptr<const ExportCapabilityServicing> capabilityService_;
    const ExportPresetValidator presetValidator_;
    Turns turns_;
};

} // namespace tavrin
