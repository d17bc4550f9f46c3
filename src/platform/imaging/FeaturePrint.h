#pragma once

#include <QImage>
#include <QString>

#include <optional>
#include <vector>

namespace imaging {

using FeatureVector = std::vector<float>;

// The feature print of a picture: a fixed-length vector of unit length whose cosine with another
// picture's print tells how alike the two look. Made from a thumbnail of at most 360 pixels, so the
// cost does not grow with the photo.
namespace FeaturePrint {

    inline constexpr int thumbnailSize = 360;

    // The knobs of the descriptor. The defaults are the calibrated ones; the benchmark varies them.
    struct Parameters {
        float shapeWeight = 1.0f;
        float colourWeight = 0.5f;
        float edgeWeight = 0.4f;
        // Luminance frequencies u + v up to this bound, DC left out.
        int shapeBand = 4;
        // Each frequency is scaled by (u + v) to this power, against the fall-off of natural images.
        float whitening = 0.8f;
        // Colour frequencies u + v up to this bound, DC included.
        int colourBand = 2;
    };

    // Length of every print.
    int length(const Parameters &parameters = {});

    // No print when the file holds no picture we can decode, or a picture with nothing in it.
    std::optional<FeatureVector> compute(const QString &path);
    std::optional<FeatureVector> compute(const QImage &image, const Parameters &parameters = {});

    // The three parts before weighting, each normalised on its own, for calibration.
    struct Parts {
        std::vector<float> shape;
        std::vector<float> colour;
        std::vector<float> edges;
    };
    std::optional<Parts> parts(const QImage &image, const Parameters &parameters = {});
    std::optional<FeatureVector> combine(const Parts &parts, const Parameters &parameters = {});

    // The cosine of two prints of unit length, over the length they share.
    float similarity(const FeatureVector &a, const FeatureVector &b);

} // namespace FeaturePrint
} // namespace imaging
