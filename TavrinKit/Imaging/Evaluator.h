#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "TavrinKit/Imaging/TilePainter.h"
#include "TavrinKit/Imaging/WorkerPool.h"

namespace tavrin::imaging {

/// Makes programs ready to be painted and keeps what serves again: converted bitmaps, blurred and otherwise
/// realised pictures, tables. One thread at a time; it spreads its own work over the pool.
class Evaluator {
public:
    Evaluator(int threads, std::size_t cacheBytes);

    /// @param isUsed  false for a layer that no block to be painted touches; it is left unprepared
    [[nodiscard]] std::vector<PreparedLayer> prepare(const Program& program, Basis basis,
                                                     const Lattice& lattice,
                                                     const std::function<bool(std::size_t)>& isUsed);

    /// Calls `paint(painter, index)` for each index below `count` on the pool's threads.
    void forBlocks(int count, const std::function<void(TilePainter&, int)>& paint);

    /// Ends a picture. What hasn't been used for some seconds of pictures is dropped, sooner if only one
    /// picture ever used it; and once the bound is passed, what was used longest ago.
    void finishPicture();

    [[nodiscard]] std::size_t cacheBytes() const { return cacheBytes_; }

private:
    struct KeptPlanes {
        std::shared_ptr<const LeafPlanes> planes;
        std::size_t bytes = 0;
        std::uint64_t firstUse = 0;
        std::uint64_t lastUse = 0;
    };

    struct KeptTables {
        std::shared_ptr<const AxisTables> tables;
        std::uint64_t lastUse = 0;
    };

    std::shared_ptr<const LeafPlanes> planesOf(const Layer& layer, Basis basis);
    std::shared_ptr<const AxisTables> tablesOf(const Layer& layer, const LeafPlanes* planes,
                                               const Lattice& lattice);
    void prepareTerms(PreparedLayer& ready, Basis basis, const Lattice& lattice);
    std::shared_ptr<const FloatPicture> realised(const Realised& leaf);
    FloatPicture realise(const Realised& leaf);
    FloatPicture draw(const Image& image, const Rect& region);
    FloatPicture blur(const Image& image, double radius, const Rect& region);
    std::vector<float> gaussian(const std::vector<float>& plane, int columns, int rows, double radius);

    WorkerPool pool_;
    std::vector<TilePainter> painters_;
    std::unordered_map<std::uint64_t, KeptPlanes> planes_;
    std::unordered_map<std::uint64_t, std::shared_ptr<const FloatPicture>> realised_; ///< in this picture
    std::unordered_map<std::uint64_t, KeptTables> tables_; ///< those that the last picture used
    std::size_t cacheBytes_ = 0;
    std::size_t cacheBound_;
    std::uint64_t picture_ = 0; ///< counts pictures, for the order of use
};

} // namespace tavrin::imaging
