#include "TavrinKit/Imaging/Evaluator.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace tavrin::imaging {
namespace {

using Node = Image::Node;

constexpr int blockSize = 128;

// For how many pictures something is kept that none of them uses: planes that one picture alone has used,
// which mostly show what passes by; other planes.
constexpr std::uint64_t keptOnceUsed = 30;
constexpr std::uint64_t keptUnused = 600;

/// Leaves out the colours of a picture that is black all over, as every shadow is.
void dropBlack(FloatPicture& picture) {
    const auto isZero = [](const std::vector<float>& plane) {
        return std::all_of(plane.begin(), plane.end(), [](float value) { return value == 0; });
    };
    if (isZero(picture.red) && isZero(picture.green) && isZero(picture.blue)) {
        picture.red.clear();
        picture.green.clear();
        picture.blue.clear();
    }
}

void applyMatrix(const ColorMatrix& m, FloatPicture& picture) {
    for (std::size_t i = 0; i < picture.alpha.size(); ++i) {
        const double r = picture.red[i] / 255;
        const double g = picture.green[i] / 255;
        const double b = picture.blue[i] / 255;
        const double a = picture.alpha[i];
        const auto dot = [&](const std::array<double, 4>& row) {
            return row[0] * r + row[1] * g + row[2] * b + row[3] * a;
        };
        const double alpha = std::clamp(dot(m.a), 0.0, 1.0);
        const auto color = [&](const std::array<double, 4>& row, double bias) {
            return float(std::clamp(dot(row) + bias * alpha, 0.0, alpha) * 255);
        };
        picture.red[i] = color(m.r, m.bias[0]);
        picture.green[i] = color(m.g, m.bias[1]);
        picture.blue[i] = color(m.b, m.bias[2]);
        picture.alpha[i] = float(alpha);
    }
}

template <typename Function>
void forPlanes(FloatPicture& first, const FloatPicture& second, const Function& function) {
    function(first.red, second.red);
    function(first.green, second.green);
    function(first.blue, second.blue);
    function(first.alpha, second.alpha);
}

void addWeighted(FloatPicture& picture, const FloatPicture& other, float weight) {
    forPlanes(picture, other, [&](std::vector<float>& a, const std::vector<float>& b) {
        std::transform(a.begin(), a.end(), b.begin(), a.begin(),
                       [&](float x, float y) { return x + weight * y; });
    });
}

/// picture · mask + background · (1 - mask)
void mixByMask(FloatPicture& picture, const FloatPicture& background, const std::vector<float>& mask) {
    forPlanes(picture, background, [&](std::vector<float>& a, const std::vector<float>& b) {
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = b[i] + (a[i] - b[i]) * mask[i];
        }
    });
}

AxisTables makeTables(const Layer& layer, const LeafPlanes* planes, const Lattice& lattice) {
    const auto table = [&](std::size_t color, Axis axis) {
        const SamplePlane* plane = planes != nullptr ? &planes->color[color] : nullptr;
        return makeAxisTable(layer, axis, lattice,
                             plane == nullptr ? std::nullopt
                                              : std::optional(axis == Axis::x ? plane->x : plane->y));
    };
    AxisTables tables{table(0, Axis::x), table(0, Axis::y), {}, {}};
    if (planes != nullptr && planes->isYCbCr) {
        tables.chromaX = table(1, Axis::x);
        tables.chromaY = table(1, Axis::y);
    }
    return tables;
}

std::uint64_t mixAxis(std::uint64_t key, const PlaneAxis& axis) {
    return mix(mix(mix(key, axis.scale), axis.offset), std::uint64_t(axis.count));
}

/// Of everything that tables are made from.
std::uint64_t tablesKey(const Layer& layer, const LeafPlanes* planes, const Lattice& lattice) {
    const Placement& p = layer.placement;
    std::uint64_t key = mix(mix(mix(mix(mix(41, p.scaleX), p.scaleY), p.offsetX), p.offsetY), layer.clip);
    key = mix(mix(key, layer.innerClip), std::uint64_t(layer.clamp.has_value()));
    key = layer.clamp ? mix(key, *layer.clamp) : key;
    key = mix(mix(mix(mix(key, lattice.x0), lattice.y0), lattice.step), lattice.picture);
    key = mix(mix(key, std::uint64_t(lattice.columns)), std::uint64_t(lattice.rows));
    if (planes == nullptr) {
        return key;
    }
    key = mix(mixAxis(mixAxis(key, planes->color[0].x), planes->color[0].y), std::uint64_t(planes->isYCbCr));
    return planes->isYCbCr ? mixAxis(mixAxis(key, planes->color[1].x), planes->color[1].y) : key;
}

} // namespace

Evaluator::Evaluator(int threads, std::size_t cacheBytes)
    : pool_(threads > 0 ? threads : std::max(1, int(std::thread::hardware_concurrency()))),
      painters_(std::size_t(pool_.threads()), TilePainter(vectorKernels())), cacheBound_(cacheBytes) {}

void Evaluator::forBlocks(int count, const std::function<void(TilePainter&, int)>& paint) {
    std::atomic<int> next{0};
    pool_.run(std::min(count, pool_.threads()), [&](int painter) {
        for (int i = next++; i < count; i = next++) {
            paint(painters_[std::size_t(painter)], i);
        }
    });
}

std::vector<PreparedLayer> Evaluator::prepare(const Program& program, Basis basis, const Lattice& lattice,
                                              const std::function<bool(std::size_t)>& isUsed) {
    std::vector<PreparedLayer> prepared(program.size());
    for (std::size_t i = 0; i < program.size(); ++i) {
        if (!isUsed(i)) {
            continue;
        }
        const Layer& layer = program[i];
        PreparedLayer& ready = prepared[i];
        ready.layer = layer;
        ready.planes = planesOf(layer, basis);
        ready.tables = tablesOf(layer, ready.planes.get(), lattice);
        if (std::holds_alternative<Mean>(layer.leaf)) {
            prepareTerms(ready, basis, lattice);
        }
    }
    return prepared;
}

std::shared_ptr<const AxisTables> Evaluator::tablesOf(const Layer& layer, const LeafPlanes* planes,
                                                      const Lattice& lattice) {
    KeptTables& kept = tables_[tablesKey(layer, planes, lattice)];
    if (!kept.tables) {
        kept.tables = std::make_shared<const AxisTables>(makeTables(layer, planes, lattice));
    }
    kept.lastUse = picture_;
    return kept.tables;
}

void Evaluator::prepareTerms(PreparedLayer& ready, Basis basis, const Lattice& lattice) {
    const std::vector<Mean::Term>& terms = std::get<Mean>(ready.layer.leaf).terms;
    for (std::size_t i = 0; i < terms.size(); ++i) {
        const Mean::Term& term = terms[i];
        PreparedTerm& prepared = ready.terms.emplace_back();
        prepared.planes = std::make_shared<const LeafPlanes>(planesOf420(term.pixels.buffer, basis));
        const auto same =
            std::find_if(terms.begin(), terms.begin() + std::ptrdiff_t(i), [&](const auto& other) {
                return other.placement == term.placement && other.clamp == term.clamp &&
                       other.pixels.buffer.size() == term.pixels.buffer.size();
            });
        if (same != terms.begin() + std::ptrdiff_t(i)) {
            prepared.tables = ready.terms[std::size_t(same - terms.begin())].tables;
            continue;
        }
        Layer alone = layerOfTerm(ready.layer, term);
        alone.innerClip = Rect::infinite(); // of the mean as a whole
        prepared.tables = tablesOf(alone, prepared.planes.get(), lattice);
    }
}

std::shared_ptr<const LeafPlanes> Evaluator::planesOf(const Layer& layer, Basis basis) {
    const auto* pixels = std::get_if<Node::Pixels>(&layer.leaf);
    const auto* realisedLeaf = std::get_if<Realised>(&layer.leaf);
    if (pixels != nullptr && pixels->buffer.format() == PixelFormat::i420) {
        return std::make_shared<const LeafPlanes>(planesOf420(pixels->buffer, basis));
    }
    if (pixels == nullptr && realisedLeaf == nullptr) {
        return nullptr;
    }
    const std::uint64_t identity =
        pixels != nullptr ? mix(1, pixels->buffer.identity()) : mix(2, realisedLeaf->key);
    KeptPlanes& kept = planes_[mix(identity, std::uint64_t(basis))];
    if (!kept.planes) {
        auto planes = std::make_shared<const LeafPlanes>(
            pixels != nullptr ? planesOfBitmap(pixels->buffer, basis)
                              : planesOfPicture(*realised(*realisedLeaf), basis));
        kept = {planes, planes->storage.size() * sizeof(float), picture_, picture_};
        cacheBytes_ += kept.bytes;
    }
    kept.lastUse = picture_;
    return kept.planes;
}

std::shared_ptr<const FloatPicture> Evaluator::realised(const Realised& leaf) {
    if (const auto found = realised_.find(leaf.key); found != realised_.end()) {
        return found->second;
    }
    auto picture = std::make_shared<const FloatPicture>(realise(leaf));
    realised_[leaf.key] = picture;
    return picture;
}

FloatPicture Evaluator::realise(const Realised& leaf) {
    const Node::Operation& operation = leaf.image.node()->operation;
    if (const auto* node = std::get_if<Node::Blur>(&operation)) {
        return blur(node->image, node->radius, leaf.region);
    }
    if (const auto* node = std::get_if<Node::Matrix>(&operation)) {
        FloatPicture picture = draw(node->image, leaf.region);
        applyMatrix(node->matrix, picture);
        return picture;
    }
    if (const auto* node = std::get_if<Node::Mean>(&operation)) {
        FloatPicture sum = draw(Image(), leaf.region);
        for (const WeightedImage& term : node->terms) {
            addWeighted(sum, draw(term.image, leaf.region), float(term.weight));
        }
        return sum;
    }
    if (const auto* node = std::get_if<Node::Mask>(&operation)) {
        FloatPicture picture = draw(node->image, leaf.region);
        mixByMask(picture, draw(node->background, leaf.region), draw(node->mask, leaf.region).alpha);
        return picture;
    }
    return draw(leaf.image, leaf.region);
}

FloatPicture Evaluator::draw(const Image& image, const Rect& region) {
    FloatPicture picture;
    picture.region = region;
    picture.columns = int(region.width);
    picture.rows = int(region.height);
    const std::size_t count = std::size_t(picture.columns) * std::size_t(picture.rows);
    for (std::vector<float>* plane : {&picture.red, &picture.green, &picture.blue, &picture.alpha}) {
        plane->resize(count);
    }
    const Program program = flatten(image, region);
    const Lattice lattice = Lattice::full(region.origin(), {picture.columns, picture.rows});
    const auto layers = prepare(program, Basis::rgba, lattice, [](std::size_t) { return true; });

    const int across = (picture.columns + blockSize - 1) / blockSize;
    const int down = (picture.rows + blockSize - 1) / blockSize;
    forBlocks(across * down, [&](TilePainter& painter, int i) {
        const int column = i % across * blockSize;
        const int row = i / across * blockSize;
        const Block block{column, row, std::min(column + blockSize, picture.columns),
                          std::min(row + blockSize, picture.rows)};
        const std::ptrdiff_t at = std::ptrdiff_t(row) * picture.columns + column;
        const FloatBlock out{
            {&picture.red[std::size_t(at)], &picture.green[std::size_t(at)], &picture.blue[std::size_t(at)]},
            &picture.alpha[std::size_t(at)],
            picture.columns};
        painter.clear(Basis::rgba, block, out);
        for (const PreparedLayer& layer : layers) {
            painter.paint(Basis::rgba, lattice, layer, block, lattice.picture, out);
        }
    });
    return picture;
}

FloatPicture Evaluator::blur(const Image& image, double radius, const Rect& region) {
    const double reach = std::ceil(3 * radius);
    FloatPicture sharp = draw(image, region.inset(-reach, -reach));
    dropBlack(sharp);
    FloatPicture result;
    result.region = region;
    result.columns = int(region.width);
    result.rows = int(region.height);
    const auto blurred = [&](const std::vector<float>& plane) {
        return plane.empty() ? std::vector<float>() : gaussian(plane, sharp.columns, sharp.rows, radius);
    };
    result.red = blurred(sharp.red);
    result.green = blurred(sharp.green);
    result.blue = blurred(sharp.blue);
    result.alpha = blurred(sharp.alpha);
    return result;
}

std::vector<float> Evaluator::gaussian(const std::vector<float>& plane, int columns, int rows,
                                       double radius) {
    const int reach = int(std::ceil(3 * radius));
    const int taps = 2 * reach + 1;
    std::vector<float> kernel;
    double sum = 0;
    for (int k = -reach; k <= reach; ++k) {
        sum += std::exp(-0.5 * k * k / (radius * radius));
    }
    for (int k = -reach; k <= reach; ++k) {
        kernel.push_back(float(std::exp(-0.5 * k * k / (radius * radius)) / sum));
    }

    // One pass down the columns into a turned picture, and the same again.
    const auto pass = [&](const std::vector<float>& source, int width, int height) {
        const int outHeight = height - 2 * reach;
        std::vector<float> turned(std::size_t(width) * std::size_t(outHeight));
        const int strips = (outHeight + 15) / 16;
        forBlocks(strips, [&](TilePainter&, int strip) {
            const int row = strip * 16;
            const int count = std::min(16, outHeight - row);
            std::vector<float> combined(std::size_t(width) * 16);
            for (int r = 0; r < count; ++r) {
                const int start = row + r;
                vectorKernels().combineRows(source.data(), width, &start, 0, kernel.data(), taps, 1, width,
                                            combined.data() + std::ptrdiff_t(r) * width, width);
            }
            vectorKernels().transpose(combined.data(), width, count, width, turned.data() + row, outHeight);
        });
        return turned;
    };
    const int outRows = rows - 2 * reach;
    return pass(pass(plane, columns, rows), outRows, columns);
}

void Evaluator::finishPicture() {
    realised_.clear();
    std::erase_if(tables_, [&](const auto& entry) { return entry.second.lastUse != picture_; });
    std::erase_if(planes_, [&](const auto& entry) {
        const KeptPlanes& kept = entry.second;
        const std::uint64_t age = kept.firstUse == kept.lastUse ? keptOnceUsed : keptUnused;
        const bool isDropped = kept.lastUse + age < picture_;
        cacheBytes_ -= isDropped ? kept.bytes : 0;
        return isDropped;
    });
    ++picture_;
    while (cacheBytes_ > cacheBound_) {
        const auto oldest =
            std::ranges::min_element(planes_, {}, [](const auto& entry) { return entry.second.lastUse; });
        if (oldest == planes_.end() || oldest->second.lastUse + 1 >= picture_) {
            return; // all of it is in use
        }
        cacheBytes_ -= oldest->second.bytes;
        planes_.erase(oldest);
    }
}

} // namespace tavrin::imaging
