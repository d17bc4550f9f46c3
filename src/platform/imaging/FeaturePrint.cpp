// The feature print: Velk's own descriptor of how a photo looks, made to tell re-saved, resized,
// slightly cropped, re-exposed or softened copies of one picture from different pictures.
//
// The upright thumbnail is averaged down to a 64 x 64 grid in CIELAB, a perceptual space, and three
// parts are read from it:
//  - shape: the low-frequency DCT of the luminance (32 x 32), DC left out so brightness does not
//    count, each frequency raised by (u + v)^whitening so the few lowest do not drown the rest;
//  - colour: the lowest DCT frequencies of a* and b*, DC included, since a photo's overall cast is
//    part of what it shows;
//  - edges: a coarse histogram of gradient orientations, eight unsigned directions in 2 x 2 cells,
//    each cell's share of edge strength against an even spread.
// Each part is normalised on its own, softly, so that a part with next to nothing in it (a grey
// picture's colour) stays small rather than being blown up into noise; the parts are weighted and
// the whole is scaled to unit length. Cosines of unrelated photos then scatter around zero, while
// the edits above keep the low frequencies and with them a cosine near one. The weights and bands
// were calibrated on the look-alike benchmark so that edited copies reach the duplicate scan's
// threshold of 0.9118 and different photos stay below it.
#include "FeaturePrint.h"

#include "worker/ParseWorkers.h"

#include <QPainter>

#include <array>
#include <cmath>

namespace imaging::FeaturePrint {

namespace {

    constexpr int gridSize = 64;
    constexpr int dctSize = 32;
    constexpr int edgeBins = 8;
    constexpr int edgeCells = 2;
    // Soft floors of the part norms, in the units of each part.
    constexpr float shapeFloor = 6.0f;
    constexpr float colourFloor = 48.0f;
    constexpr float edgeFloor = 0.05f;

    struct LabGrid {
        std::array<float, gridSize * gridSize> l;
        std::array<float, gridSize * gridSize> a;
        std::array<float, gridSize * gridSize> b;
    };

    float linearFromSrgb(int value)
    {
        static const auto table = [] {
            std::array<float, 256> t {};
            for (int i = 0; i < 256; ++i) {
                const float c = float(i) / 255.0f;
                t[size_t(i)] = c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
            }
            return t;
        }();
        return table[size_t(value)];
    }

    float labCurve(float t)
    {
        constexpr float epsilon = 216.0f / 24389.0f;
        constexpr float kappa = 24389.0f / 27.0f;
        return t > epsilon ? std::cbrt(t) : (kappa * t + 16.0f) / 116.0f;
    }

    std::optional<LabGrid> labGrid(const QImage &image)
    {
        if (image.isNull() || image.width() < 1 || image.height() < 1)
            return std::nullopt;
        QImage rgb;
        if (image.hasAlphaChannel()) {
            // Transparent parts show as the neutral grey of an empty canvas.
            rgb = QImage(image.size(), QImage::Format_RGB32);
            rgb.fill(QColor(128, 128, 128));
            QPainter painter(&rgb);
            painter.drawImage(0, 0, image);
        } else {
            rgb = image.convertToFormat(QImage::Format_RGB32);
        }
        const QImage small = rgb.scaled(gridSize, gridSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (small.width() != gridSize || small.height() != gridSize)
            return std::nullopt;
        LabGrid grid;
        for (int y = 0; y < gridSize; ++y) {
            const auto *line = reinterpret_cast<const QRgb *>(small.constScanLine(y));
            for (int x = 0; x < gridSize; ++x) {
                const float r = linearFromSrgb(qRed(line[x]));
                const float g = linearFromSrgb(qGreen(line[x]));
                const float b = linearFromSrgb(qBlue(line[x]));
                // sRGB to XYZ under D65, relative to the white point.
                const float fx = labCurve((0.4124f * r + 0.3576f * g + 0.1805f * b) / 0.95047f);
                const float fy = labCurve(0.2126f * r + 0.7152f * g + 0.0722f * b);
                const float fz = labCurve((0.0193f * r + 0.1192f * g + 0.9505f * b) / 1.08883f);
                const size_t i = size_t(y * gridSize + x);
                grid.l[i] = 116.0f * fy - 16.0f;
                grid.a[i] = 500.0f * (fx - fy);
                grid.b[i] = 200.0f * (fy - fz);
            }
        }
        return grid;
    }

    // The 32 x 32 plane of one channel, each value the mean of 2 x 2 grid cells.
    std::array<float, dctSize * dctSize> halved(const std::array<float, gridSize * gridSize> &channel)
    {
        std::array<float, dctSize * dctSize> out {};
        for (int y = 0; y < dctSize; ++y) {
            for (int x = 0; x < dctSize; ++x) {
                const size_t i = size_t(2 * y * gridSize + 2 * x);
                out[size_t(y * dctSize + x)] = 0.25f * (channel[i] + channel[i + 1] + channel[i + gridSize] + channel[i + gridSize + 1]);
            }
        }
        return out;
    }

    const std::array<float, dctSize * dctSize> &cosineTable()
    {
        static const auto table = [] {
            std::array<float, dctSize * dctSize> t {};
            for (int u = 0; u < dctSize; ++u) {
                const double scale = u == 0 ? std::sqrt(1.0 / dctSize) : std::sqrt(2.0 / dctSize);
                for (int x = 0; x < dctSize; ++x)
                    t[size_t(u * dctSize + x)] = float(scale * std::cos(M_PI * (2 * x + 1) * u / (2.0 * dctSize)));
            }
            return t;
        }();
        return table;
    }

    // Orthonormal 2-D DCT-II coefficients with u + v <= band, in order of rising u + v.
    std::vector<float> lowFrequencies(const std::array<float, dctSize * dctSize> &plane, int band, bool withDc, float whitening)
    {
        const auto &c = cosineTable();
        const int rows = std::min(band, dctSize - 1) + 1;
        // Columns first, for the few vertical frequencies wanted.
        std::vector<float> columns(size_t(rows * dctSize), 0.0f);
        for (int v = 0; v < rows; ++v) {
            for (int y = 0; y < dctSize; ++y) {
                const float cv = c[size_t(v * dctSize + y)];
                for (int x = 0; x < dctSize; ++x)
                    columns[size_t(v * dctSize + x)] += cv * plane[size_t(y * dctSize + x)];
            }
        }
        std::vector<float> out;
        for (int sum = withDc ? 0 : 1; sum <= band; ++sum) {
            const float weight = sum == 0 ? 1.0f : std::pow(float(sum), whitening);
            for (int v = 0; v <= sum; ++v) {
                const int u = sum - v;
                if (u >= dctSize || v >= dctSize)
                    continue;
                float f = 0.0f;
                for (int x = 0; x < dctSize; ++x)
                    f += c[size_t(u * dctSize + x)] * columns[size_t(v * dctSize + x)];
                out.push_back(weight * f);
            }
        }
        return out;
    }

    void softNormalise(std::vector<float> &values, float floor)
    {
        double sum = 0.0;
        for (float v : values)
            sum += double(v) * v;
        const float scale = float(1.0 / std::sqrt(sum + double(floor) * floor));
        for (float &v : values)
            v *= scale;
    }

    std::vector<float> edgeHistogram(const std::array<float, gridSize * gridSize> &l)
    {
        std::vector<float> bins(size_t(edgeCells * edgeCells * edgeBins), 0.0f);
        const int cellSize = gridSize / edgeCells;
        for (int y = 1; y < gridSize - 1; ++y) {
            for (int x = 1; x < gridSize - 1; ++x) {
                const float gx = l[size_t(y * gridSize + x + 1)] - l[size_t(y * gridSize + x - 1)];
                const float gy = l[size_t((y + 1) * gridSize + x)] - l[size_t((y - 1) * gridSize + x)];
                const float magnitude = std::sqrt(gx * gx + gy * gy);
                if (magnitude <= 0.0f)
                    continue;
                // Unsigned direction in [0, pi), shared linearly between the two nearest bins.
                float angle = std::atan2(gy, gx);
                if (angle < 0.0f)
                    angle += float(M_PI);
                const float position = angle / float(M_PI) * edgeBins - 0.5f;
                const int lower = int(std::floor(position));
                const float upperShare = position - float(lower);
                const int cell = (y / cellSize) * edgeCells + x / cellSize;
                float *hist = bins.data() + cell * edgeBins;
                hist[(lower + edgeBins) % edgeBins] += magnitude * (1.0f - upperShare);
                hist[(lower + 1) % edgeBins] += magnitude * upperShare;
            }
        }
        for (int cell = 0; cell < edgeCells * edgeCells; ++cell) {
            float *hist = bins.data() + cell * edgeBins;
            float total = 0.0f;
            for (int i = 0; i < edgeBins; ++i)
                total += hist[i];
            // A cell without edges says nothing about their directions.
            const float confidence = total / (total + 200.0f);
            for (int i = 0; i < edgeBins; ++i)
                hist[i] = total > 0.0f ? confidence * (hist[i] / total - 1.0f / edgeBins) : 0.0f;
        }
        return bins;
    }

} // namespace

int length(const Parameters &parameters)
{
    const auto triangle = [](int band) { return (band + 1) * (band + 2) / 2; };
    return triangle(parameters.shapeBand) - 1 + 2 * triangle(parameters.colourBand) + edgeCells * edgeCells * edgeBins;
}

std::optional<Parts> parts(const QImage &image, const Parameters &parameters)
{
    const auto grid = labGrid(image);
    if (!grid)
        return std::nullopt;
    Parts out;
    auto l = halved(grid->l);
    float mean = 0.0f;
    for (float v : l)
        mean += v;
    mean /= float(l.size());
    for (float &v : l)
        v -= mean;
    out.shape = lowFrequencies(l, parameters.shapeBand, false, parameters.whitening);
    softNormalise(out.shape, shapeFloor);
    out.colour = lowFrequencies(halved(grid->a), parameters.colourBand, true, 0.0f);
    const std::vector<float> b = lowFrequencies(halved(grid->b), parameters.colourBand, true, 0.0f);
    out.colour.insert(out.colour.end(), b.begin(), b.end());
    softNormalise(out.colour, colourFloor);
    out.edges = edgeHistogram(grid->l);
    softNormalise(out.edges, edgeFloor);
    return out;
}

std::optional<FeatureVector> combine(const Parts &parts, const Parameters &parameters)
{
    FeatureVector out;
    out.reserve(parts.shape.size() + parts.colour.size() + parts.edges.size());
    for (float v : parts.shape)
        out.push_back(parameters.shapeWeight * v);
    for (float v : parts.colour)
        out.push_back(parameters.colourWeight * v);
    for (float v : parts.edges)
        out.push_back(parameters.edgeWeight * v);
    double sum = 0.0;
    for (float v : out)
        sum += double(v) * v;
    if (!(sum > 0.0) || !std::isfinite(sum))
        return std::nullopt;
    const float scale = float(1.0 / std::sqrt(sum));
    for (float &v : out)
        v *= scale;
    return out;
}

std::optional<FeatureVector> compute(const QImage &image, const Parameters &parameters)
{
    const auto p = parts(image, parameters);
    if (!p)
        return std::nullopt;
    return combine(*p, parameters);
}

std::optional<FeatureVector> compute(const QString &path)
{
    // Decoded by a parsing worker: the picture may be anything.
    return compute(ParseWorkers::picture(path, thumbnailSize, ParseWorkers::Priority::background));
}

float similarity(const FeatureVector &a, const FeatureVector &b)
{
    // Four running sums over contiguous floats, which the compiler turns into vector instructions.
    const size_t n = std::min(a.size(), b.size());
    const float *pa = a.data();
    const float *pb = b.data();
    float sums[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        for (size_t k = 0; k < 4; ++k)
            sums[k] += pa[i + k] * pb[i + k];
    }
    for (; i < n; ++i)
        sums[0] += pa[i] * pb[i];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

} // namespace imaging::FeaturePrint
