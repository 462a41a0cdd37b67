#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "TavrinKit/Imaging/FrameSequence.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TestPictures.h"

namespace tavrin {
namespace {

using testing::fill;
using testing::framedPicture;
using testing::sameBytes;
using testing::screenLike420;
using testing::spot;

constexpr PixelSize size{333, 201}; // several tiles, none of them whole on the right and below

double psnr(const std::vector<double>& errors) {
    double sum = 0;
    for (const double e : errors) {
        sum += e * e;
    }
    return 10 * std::log10(255.0 * 255.0 / std::max(sum / double(errors.size()), 1e-12));
}

using Reference = std::vector<std::array<float, 4>>;

std::vector<double> errorsOfBGRA(const PixelBuffer& drawn, const Reference& reference) {
    std::vector<double> errors;
    for (int y = 0; y < drawn.size().height; ++y) {
        for (int x = 0; x < drawn.size().width; ++x) {
            const std::uint8_t* p = drawn.row(0, y) + std::ptrdiff_t(x) * 4;
            const auto& r = reference[std::size_t(y * drawn.size().width + x)];
            errors.push_back(p[2] - 255.0 * std::clamp(r[0], 0.0F, 1.0F));
            errors.push_back(p[1] - 255.0 * std::clamp(r[1], 0.0F, 1.0F));
            errors.push_back(p[0] - 255.0 * std::clamp(r[2], 0.0F, 1.0F));
            errors.push_back(p[3] - 255.0 * std::clamp(r[3], 0.0F, 1.0F));
        }
    }
    return errors;
}

/// Luma of the reference, over black.
std::vector<double> errorsOfLuma(const PixelBuffer& drawn, const Reference& reference) {
    std::vector<double> errors;
    for (int y = 0; y < drawn.size().height; ++y) {
        for (int x = 0; x < drawn.size().width; ++x) {
            const auto& r = reference[std::size_t(y * drawn.size().width + x)];
            const double luma = 16 + 219 * (0.2126 * r[0] + 0.7152 * r[1] + 0.0722 * r[2]);
            errors.push_back(drawn.row(0, y)[x] - luma);
        }
    }
    return errors;
}

/// Where colours clip, drawing in Y'CbCr and in RGB may differ, and rightly so: a movie without colours.
PixelBuffer greyScreen420(PixelSize pixels, unsigned seed) {
    const PixelBuffer movie = screenLike420(pixels, seed);
    fill(movie, 1, 128);
    fill(movie, 2, 128);
    return movie;
}

/// The same picture with some rows of a strip painted over.
PixelBuffer withStrip(const PixelBuffer& movie, int column, std::uint8_t luma) {
    const PixelBuffer next = PixelBuffer::allocate(PixelFormat::i420, movie.size());
    next.copyFrom(movie);
    for (int y = 70; y < 90; ++y) {
        std::memset(next.row(0, y) + column, luma, 24);
    }
    return next;
}

Image sampleFrame(double zoom, Vec2 cursor, unsigned seed = 3) {
    static const Image sprite = Image::pixels(spot(29, {0.9, 0.2, 0.3, 1}));
    return framedPicture(Image::pixels(screenLike420(size, seed)), {size.width, size.height}, zoom, cursor,
                         sprite);
}

TEST(ImageRendererTests, equalsThePlainEvaluation) {
    const Rect rect{0, 0, size.width, size.height};
    for (const double zoom : {1.0, 1.37, 1.9}) {
        const Image image = sampleFrame(zoom, {120.3, 88.8});
        const PixelBuffer drawn = ImageRenderer().render(image, rect);
        EXPECT_GT(psnr(errorsOfBGRA(drawn, renderReference(image, rect))), 50) << zoom;
    }
    const Image sprite = Image::pixels(spot(29, {0.9, 0.2, 0.3, 1}));
    const Image grey = framedPicture(Image::pixels(greyScreen420(size, 5)), {size.width, size.height}, 1.6,
                                     {140.5, 70.25}, sprite);
    const PixelBuffer video = ImageRenderer().render(grey, rect, PixelFormat::i420);
    EXPECT_GT(psnr(errorsOfLuma(video, renderReference(grey, rect))), 50);
}

TEST(ImageRendererTests, sameBitsWhateverTheThreads) {
    for (const PixelFormat format : {PixelFormat::bgra8, PixelFormat::i420}) {
        const Image image = sampleFrame(1.5, {200, 100});
        const Rect rect{0, 0, size.width, size.height};
        const PixelBuffer one = ImageRenderer({.threads = 1}).render(image, rect, format);
        EXPECT_TRUE(sameBytes(one, ImageRenderer({.threads = 2}).render(image, rect, format)));
        EXPECT_TRUE(sameBytes(one, ImageRenderer({.threads = 4}).render(image, rect, format)));
    }
}

TEST(ImageRendererTests, flatColoursKeepTheirValue) {
    const PixelBuffer movie = PixelBuffer::allocate(PixelFormat::i420, size);
    const std::array<std::uint8_t, 3> value{97, 152, 110};
    for (int plane = 0; plane < 3; ++plane) {
        fill(movie, plane, value[std::size_t(plane)]);
    }
    const Image image = Image::pixels(movie).clampedToExtent().transformed({1.3, 0, 0, 1.3, -20.4, -30.7});
    ImageRenderer renderer;
    const PixelBuffer drawn = renderer.render(image, {0, 0, size.width, size.height}, PixelFormat::i420);
    for (int plane = 0; plane < 3; ++plane) {
        for (const int x : {0, 60, drawn.plane(plane).width - 1}) { // nothing bleeds in at the edges either
            for (const int y : {0, 40, drawn.plane(plane).height - 1}) {
                EXPECT_EQ(drawn.row(plane, y)[x], value[std::size_t(plane)]);
            }
        }
    }
}

/// A run of frames in which little changes, blurred ones between them, drawn into a ring of buffers: each
/// must equal the frame drawn alone.
TEST(ImageRendererTests, whatIsReusedIsWhatWouldHaveBeenDrawn) {
    for (const PixelFormat format : {PixelFormat::i420, PixelFormat::bgra8}) {
        ImageRenderer renderer;
        FrameSequence sequence;
        std::array<PixelBuffer, 3> ring;
        for (PixelBuffer& buffer : ring) {
            buffer = PixelBuffer::allocate(format, size);
        }
        const Image sprite = Image::pixels(spot(29, {0.2, 0.8, 0.3, 1}));
        PixelBuffer movie = screenLike420(size, 1);
        for (int frame = 0; frame < 14; ++frame) {
            const PixelBuffer before = movie;
            if (frame % 4 == 3) { // a small part of the movie changes
                movie = withStrip(movie, 100 + frame * 5, std::uint8_t(30 + frame * 10));
            }
            const double zoom = frame < 5 ? 1 : frame < 9 ? 1 + 0.1 * (frame - 4) : 1.4;
            const Vec2 cursor{100.0 + (frame % 3) * 40.5, 90};
            const Size2D whole{size.width, size.height};
            const PixelBuffer& target = ring[std::size_t(frame % 3)];
            const auto picture = [&](const Image& last, const Image& next) {
                const bool isBlurred = frame % 4 == 3 || frame % 4 == 0;
                const Image shown = isBlurred ? Image::mean({{last, 0.25}, {next, 0.5 + frame * 0.1}}) : next;
                return framedPicture(shown, whole, zoom, cursor, sprite);
            };
            const Image last = sequence.image(before);
            renderer.render(picture(last, sequence.image(movie)), target);

            ImageRenderer fresh;
            const Image alone = picture(Image::pixels(before), Image::pixels(movie));
            ASSERT_TRUE(sameBytes(target, fresh.render(alone, {0, 0, whole.width, whole.height}, format)))
                << "frame " << frame;
        }
        EXPECT_GT(renderer.statistics().tilesReused, 0);
    }
}

/// All that is done to a mean is linear, so a frame made of a mean is the mean of the frames made of its
/// terms: the edges of crops and masks, which would differ if they were applied to each term, included.
TEST(ImageRendererTests, framesOfAMeanAreTheMeanOfFrames) {
    const PixelSize small{171, 101}; // the plain evaluation is slow
    const Rect rect{0, 0, double(small.width), double(small.height)};
    const Size2D whole{double(small.width), double(small.height)};
    const Image sprite = Image::pixels(spot(29, {0.9, 0.2, 0.3, 1}));
    std::mt19937 random(11);
    std::uniform_real_distribution<double> fraction(0, 1);
    for (int program = 0; program < 6; ++program) {
        SCOPED_TRACE(program);
        FrameSequence sequence;
        PixelBuffer movie = greyScreen420(program == 0 ? PixelSize{200, 120} : small, unsigned(program));
        const bool zooms = program % 2 == 1;
        const double outerZoom = program < 3 ? 1 : 1 + fraction(random);
        std::vector<WeightedImage> terms;
        double sum = 0;
        for (int i = 0; i < 2 + program % 3; ++i) {
            const double zoom = zooms && i != 1 ? 1.2 + fraction(random) : 1;
            const Image picture = sequence.image(movie);
            const Image term =
                zoom == 1
                    ? picture.cropped(rect)
                    : picture.clampedToExtent()
                          .transformed({zoom, 0, 0, zoom, -40 * fraction(random), -40 * fraction(random)})
                          .cropped(rect);
            terms.push_back({term, 0.25 + fraction(random)});
            sum += terms.back().weight;
            if (i % 2 == 0) { // every second picture is the same as the one before
                movie = withStrip(movie, 20 + 30 * i, std::uint8_t(40 + 50 * i));
            }
        }
        const auto frame = [&](const Image& picture) {
            return framedPicture(picture, whole, outerZoom, {90.3, 48.8}, sprite);
        };
        Reference expected(std::size_t(small.width * small.height));
        for (const WeightedImage& term : terms) {
            const Reference alone = renderReference(frame(term.image), rect);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                for (std::size_t k = 0; k < 4; ++k) {
                    expected[i][k] += float(term.weight / sum) * alone[i][k];
                }
            }
        }
        const Image image = frame(Image::mean(terms));
        EXPECT_GT(psnr(errorsOfBGRA(ImageRenderer().render(image, rect), expected)), 50);
        const PixelBuffer video = ImageRenderer({.threads = 1}).render(image, rect, PixelFormat::i420);
        EXPECT_GT(psnr(errorsOfLuma(video, expected)), 50);
        EXPECT_TRUE(sameBytes(video, ImageRenderer({.threads = 3}).render(image, rect, PixelFormat::i420)));
    }
}

TEST(ImageRendererTests, operationsOnTheirOwn) {
    const Image red = Image::color({1, 0, 0, 1});
    const Image box = Image::roundedRectangle({10, 10, 20, 12}, 0, {0, 1, 0, 0.5});
    // Round, 20 pixels wide; only its middle rows are a picture, carried on upward and downward.
    const Rect square{10, 5, 20, 20};
    const Image disc = red.cropped({0, 0, 20, 6})
                           .clampedToExtent()
                           .translated(10, 12)
                           .cropped(square)
                           .blendedWithMask(Image(), Image::roundedRectangle(square, 10, {0, 0, 0, 1}));
    const Image onBlack = disc.over(Image::color({0, 0, 0, 1}).cropped({0, 0, 48, 25}));
    struct Case {
        const char* name;
        Image image;
        Vec2 at; // the middle of a pixel
        std::array<int, 4> rgba;
    };
    const std::vector<Case> cases{
        {"source over", box.over(red), {15.5, 15.5}, {128, 128, 0, 255}},
        {"half a pixel of a crop", red.cropped({0, 0, 5.5, 5}), {5.5, 2.5}, {128, 0, 0, 128}},
        {"shadow keeps the shape", box.colorMatrix(ColorMatrix::shadow(0.5)), {15.5, 15.5}, {0, 0, 0, 64}},
        {"veil is white where it is thin",
         box.colorMatrix(ColorMatrix::veil(0.5)),
         {15.5, 15.5},
         {64, 64, 64, 64}},
        {"mask chooses the picture",
         red.blendedWithMask(Image::color({0, 0, 1, 1}), box),
         {15.5, 15.5},
         {128, 0, 128, 255}},
        {"clamped edge", red.cropped({0, 0, 5, 5}).clampedToExtent(), {30.5, 30.5}, {255, 0, 0, 255}},
        {"clamped mask over a clamped picture", disc.clampedToExtent(), {10.5, 5.5}, {0, 0, 0, 0}},
        {"clamped crop of a clamped picture", onBlack.clampedToExtent(), {10.5, 24.5}, {0, 0, 0, 255}},
        {"mirrored", box.transformed({-1, 0, 0, 1, 40, 0}), {11.5, 15.5}, {0, 128, 0, 128}},
        {"blur spreads to half at an edge",
         red.cropped({0, 0, 40, 16}).blurred(2),
         {16.5, 15.5},
         {153, 0, 0, 153}},
        {"blur of an endless colour", red.blurred(3).cropped({0, 0, 8, 8}), {4.5, 4.5}, {255, 0, 0, 255}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Rect rect{0, 0, 48, 32};
        ImageRenderer renderer;
        const PixelBuffer drawn = renderer.render(c.image, rect);
        const std::uint8_t* p = drawn.row(0, 31 - int(c.at.y)) + int(c.at.x) * 4;
        const std::array<std::uint8_t, 4> rgba{p[2], p[1], p[0], p[3]};
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(rgba[k], c.rgba[k], 1) << k;
        }
        EXPECT_GT(psnr(errorsOfBGRA(drawn, renderReference(c.image, rect))), 50);
    }
    for (const AffineTransform& skewed :
         {AffineTransform{0.7, 0.7, -0.7, 0.7}, AffineTransform{0, 0, 0, 1}}) {
        EXPECT_THROW((void)red.transformed(skewed), std::invalid_argument);
    }
}

} // namespace
} // namespace tavrin
