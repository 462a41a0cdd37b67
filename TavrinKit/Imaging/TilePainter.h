#pragma once

#include <memory>
#include <span>
#include <vector>

#include "TavrinKit/Imaging/Kernels.h"
#include "TavrinKit/Imaging/LeafPlanes.h"
#include "TavrinKit/Imaging/MovieBlocks.h"

namespace tavrin::imaging {

/// How a lattice reads the samples of one placement.
struct AxisTables {
    AxisTable x;
    AxisTable y;
    AxisTable chromaX; ///< of the second and third colour, when they are sampled otherwise
    AxisTable chromaY;
};

/// A term of a mean, made ready. Terms of one size and placement share their tables.
struct PreparedTerm {
    std::shared_ptr<const LeafPlanes> planes;
    std::shared_ptr<const AxisTables> tables;
};

/// A layer made ready for one basis and lattice.
struct PreparedLayer {
    Layer layer;
    std::shared_ptr<const LeafPlanes> planes; ///< for leaves made of samples
    std::shared_ptr<const AxisTables> tables; ///< of a mean: where it is to be seen, and no samples
    std::vector<PreparedTerm> terms;          ///< of a mean
};

/// A rectangle of floats that belongs to somebody else.
struct FloatBlock {
    std::array<float*, 3> color{};
    float* alpha = nullptr; ///< absent where the picture is opaque
    std::ptrdiff_t stride = 0;
};

/// Paints layers onto a block of a lattice. Each thread has one.
class TilePainter {
public:
    explicit TilePainter(const Kernels& kernels) : kernels_(&kernels) {}

    /// Opaque black, or transparent when the block has alpha.
    void clear(Basis basis, const Block& block, const FloatBlock& out) const;

    /// Composites the layer over what the block holds.
    /// @param area  what can have a part in the block: that of its tile
    /// @param out   its first element is the block's top left
    void paint(Basis basis, const Lattice& lattice, const PreparedLayer& layer, const Block& block,
               const Rect& area, const FloatBlock& out);

private:
    struct Plane {
        std::vector<float> data;
        std::ptrdiff_t stride = 0;

        float* prepare(int columns, int rows);
        [[nodiscard]] float* row(int r) { return data.data() + r * stride; }
    };

    /// One term's planes, or one of them, to be added up with others' before they are read.
    struct WeightedPlanes {
        const LeafPlanes* planes;
        float weight;
    };
    struct WeightedPlane {
        const SamplePlane* plane;
        float weight;
    };

    /// A run of a plane's samples, the end excluded.
    struct SampleRange {
        int first;
        int last;
        [[nodiscard]] int count() const { return last - first; }
    };

    static SampleRange sampleRange(const AxisTable& table, int first, int last);

    void sample(Basis basis, const PreparedLayer& prepared, const Block& block, const Rect& area,
                const FloatBlock& out);
    void sampleMean(Basis basis, const PreparedLayer& prepared, std::vector<MergedTerm> left,
                    const Block& block, const FloatBlock& out);
    void samplePlanes(Basis basis, std::span<const WeightedPlanes> terms, const AxisTables& tables,
                      const Block& block, const FloatBlock& out);
    void resample(std::span<const WeightedPlane> planes, const AxisTable& x, const AxisTable& y,
                  const Block& block, float* out, std::ptrdiff_t stride);
    void gather(std::span<const WeightedPlane> planes, SampleRange rows, SampleRange columns, float* out,
                std::ptrdiff_t stride);
    void addBlock(Basis basis, const Block& block, const FloatBlock& from, float weight, bool toNothing,
                  const FloatBlock& to);
    void fillGradient(Basis basis, const PreparedLayer& layer, const Block& block);
    void fillColor(Basis basis, const Color& color, const Block& block, bool timesAlpha);
    void fillCover(const Lattice& lattice, const PreparedLayer& layer, const Block& block, double opacity);
    void multiplyByMask(const Lattice& lattice, const Layer& layer, const RoundedMask& mask,
                        const Block& block);
    void blend(Basis basis, const Block& block, const FloatBlock& out, bool hasAlpha);

    const Kernels* kernels_;
    Plane source_;
    Plane vertical_;
    Plane turned_;
    Plane turnedOut_;
    std::array<Plane, 3> color_;
    Plane alpha_;
    std::array<Plane, 3> term_;
    std::vector<WeightedPlanes> weighted_;
    std::vector<WeightedPlane> weightedPlanes_;
    Plane cover_;
    std::vector<float> ramp_;
    std::vector<float> ones_;
};

} // namespace tavrin::imaging
