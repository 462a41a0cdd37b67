#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "TavrinKit/Compositing/AudioMix.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Compositing/VideoComposition.h"
#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Media/MovieWriter.h"
#include "TavrinKit/Support/BoundedQueue.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// The frames of one movie on their way from an asset, through a composition, into a writer.
///
/// Three stages run at once and hand over through short queues: a thread that decodes pictures and sound, a
/// thread that draws, and the caller's thread, which encodes. Frames are drawn into a few buffers that go
/// round, and the stretch of sound that goes with a frame travels with it. The first stage that fails ends
/// the other two. Used once.
class RenderPipeline {
public:
    struct Plan {
        MediaAsset asset; ///< has pictures and a known duration
        /// Absent: the asset's pictures, which have the frame's size, go to the encoder as they are.
        std::optional<VideoComposition> composition;
        PixelSize frameSize;
        int framesPerSecond = 60;
        std::int64_t frameCount = 0;
        AudioMix audioMix{};
        std::optional<AudioTrackSettings> sound{}; ///< absent: the movie is silent
    };

    using ProgressHandler = std::function<void(double fraction)>;

    /// How many frames the movie of an asset has. Assets tell their length to the microsecond: a frame that
    /// would begin closer to the end is not one.
    /// @throws MediaError (unreadable) when the asset doesn't say how long it is
    [[nodiscard]] static std::int64_t frameCount(const MediaAsset& asset, int framesPerSecond);

    /// @throws ExportError (unableToCreateSession) when the encoders take none of these settings; MediaError,
    ///         FileError
    [[nodiscard]] static std::unique_ptr<MovieWriter> openWriter(const MovieWriterSettings& settings);

    /// @param writer  outlives the pipeline; is neither finished nor cancelled here
    RenderPipeline(Plan plan, MovieWriter& writer);

    /// Encodes all frames and all sound. Both threads have ended when this returns or throws.
    /// @param onProgress  called on this thread with each frame's share of the whole, 0...0.99
    /// @throws CancellationError on a stop request; else whatever the first failing stage threw
    void run(const ProgressHandler& onProgress, const std::stop_token& stop);

private:
    struct SourcePicture {
        PixelBuffer pixels; ///< empty when the composition reads its own source
        Image image;
    };
    using PictureReader = std::function<std::optional<SourcePicture>(double time)>;
    using Sound = std::vector<float>; ///< interleaved; what is heard while a frame shows

    struct SourceFrame {
        SourcePicture picture;
        Sound sound;
    };
    struct DrawnFrame {
        PixelBuffer picture;
        Sound sound;
    };

    void decode();
    [[nodiscard]] PictureReader openPictures() const;
    void draw();
    void encode(const ProgressHandler& onProgress);
    [[nodiscard]] Image compose(const SourcePicture& picture, std::int64_t frame) const;
    [[nodiscard]] double timeOf(std::int64_t frame) const { return double(frame) / plan_.framesPerSecond; }

    /// Runs a stage; a failure is kept if it is the first one, and stops the others.
    template <typename Stage>
    void guarded(Stage stage) noexcept;

    const Plan plan_;
    MovieWriter& writer_; ///< the encoding stage's

    BoundedQueue<SourceFrame> decoded_;
    BoundedQueue<PixelBuffer> blank_; ///< buffers that may be drawn into, longest unused first
    BoundedQueue<DrawnFrame> drawn_;
    std::stop_source stop_; ///< ends every wait of every stage
    Guarded<std::exception_ptr> failure_;
};

} // namespace tavrin
