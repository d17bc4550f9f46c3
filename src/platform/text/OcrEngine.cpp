#include "OcrEngine.h"

#include <QLocale>
#include <QPainter>
#include <QSet>
#include <QStringList>

#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include <omp.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace {

// The ground map works on cells of 4×4 pixels. A cell whose pixels span less than kFlatRange levels
// is plain ground and votes for its level; the commonest level among the votes close by is the ground
// of a cell, looked for first within kNearCells cells and, where that finds too little, kFarCells.
constexpr int kCell = 4;
constexpr int kNearCells = 3;
constexpr int kFarCells = 8;
constexpr int kMinNearVotes = 4;
constexpr int kBins = 16;
constexpr int kFlatRange = 24;
// A pixel this far from its ground is ink.
constexpr int kInkContrast = 40;
// Tesseract reads best when letters are about kGlyphTarget pixels high; smaller text is enlarged,
// by at least kMinEnlargement (less is not worth the time) and at most kMaxEnlargement, while the
// picture stays within kMaxPixels.
constexpr double kGlyphTarget = 16;
constexpr double kMinEnlargement = 1.35;
constexpr double kMaxEnlargement = 3;
constexpr double kMaxPixels = 9e6;
// Words read with less confidence are mostly bits of pictures taken for letters.
constexpr float kMinConfidence = 30;
constexpr int kMaxInputSide = 4000;
// Plain areas about this many cells long are ground rather than shapes (see normalizeGround).
constexpr int kGroundCells = 12;

QImage toGray(const QImage &image)
{
    if (!image.hasAlphaChannel())
        return image.convertToFormat(QImage::Format_Grayscale8);
    // Transparent parts would turn black; what shows through a window is usually light.
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(0, 0, image);
    painter.end();
    return flat.convertToFormat(QImage::Format_Grayscale8);
}

// No two pixels differ enough to make a letter; such pictures need no engine at all.
bool isBlank(const QImage &gray)
{
    int lo = 255, hi = 0;
    for (int y = 0; y < gray.height(); ++y) {
        const auto [darkest, lightest] = std::minmax_element(gray.constScanLine(y), gray.constScanLine(y) + gray.width());
        lo = std::min<int>(lo, *darkest);
        hi = std::max<int>(hi, *lightest);
    }
    return hi - lo < kFlatRange;
}

// Sums over the (2r+1)² window around every cell of a cw×ch plane.
template<typename T>
std::vector<int> boxSum(const std::vector<T> &plane, int cw, int ch, int r)
{
    std::vector<int> across(plane.size());
    for (int y = 0; y < ch; ++y) {
        const T *in = &plane[size_t(y) * cw];
        int *out = &across[size_t(y) * cw];
        int run = 0;
        for (int x = 0; x < std::min(r, cw); ++x)
            run += in[x];
        for (int x = 0; x < cw; ++x) {
            if (x + r < cw)
                run += in[x + r];
            if (x - r - 1 >= 0)
                run -= in[x - r - 1];
            out[x] = run;
        }
    }
    std::vector<int> sums(plane.size());
    for (int x = 0; x < cw; ++x) {
        int run = 0;
        for (int y = 0; y < std::min(r, ch); ++y)
            run += across[size_t(y) * cw + x];
        for (int y = 0; y < ch; ++y) {
            if (y + r < ch)
                run += across[size_t(y + r) * cw + x];
            if (y - r - 1 >= 0)
                run -= across[size_t(y - r - 1) * cw + x];
            sums[size_t(y) * cw + x] = run;
        }
    }
    return sums;
}

// Makes every part of the picture dark text on a white ground: a dark sidebar, a coloured button, a
// highlighted row and a page lit from one side all reach Tesseract the same way. Each cell learns its
// ground level from the plain cells nearby, and whether the ink around it is lighter or darker than
// that ground; light ink is inverted, and the ground is then stretched to white.
void normalizeGround(QImage &gray)
{
    const int w = gray.width();
    const int h = gray.height();
    const int cw = (w + kCell - 1) / kCell;
    const int ch = (h + kCell - 1) / kCell;
    const size_t cells = size_t(cw) * ch;

    std::vector<uchar> lo(cells), hi(cells), mean(cells);
    std::vector<qint8> vote(cells, -1);
    std::array<int, kBins> votesPerBin {};
    qint64 luminanceSum = 0;
    for (int cy = 0; cy < ch; ++cy) {
        for (int cx = 0; cx < cw; ++cx) {
            int l = 255, u = 0, sum = 0, count = 0;
            for (int y = cy * kCell; y < std::min(h, (cy + 1) * kCell); ++y) {
                const uchar *row = gray.constScanLine(y);
                for (int x = cx * kCell; x < std::min(w, (cx + 1) * kCell); ++x) {
                    l = std::min<int>(l, row[x]);
                    u = std::max<int>(u, row[x]);
                    sum += row[x];
                    ++count;
                }
            }
            const size_t i = size_t(cy) * cw + cx;
            lo[i] = uchar(l);
            hi[i] = uchar(u);
            mean[i] = uchar(sum / count);
            luminanceSum += sum;
            if (u - l < kFlatRange) {
                vote[i] = qint8(mean[i] * kBins / 256);
                ++votesPerBin[size_t(vote[i])];
            }
        }
    }

    // Plain cells join into areas. Large areas, and areas at least four cells across that are long or
    // wide and mostly plain inside their bounds, are ground: the page, a panel, a highlighted row, a
    // button. The rest are shapes: icons, dots, the inside of a thick stroke or of a ring-shaped
    // letter; they are left to the ink, so that a shape stays solid and a letter stays whole.
    std::vector<uchar> ground(cells, 0);
    {
        std::vector<uchar> seen(cells, 0);
        std::vector<size_t> members;
        for (size_t start = 0; start < cells; ++start) {
            if (vote[start] < 0 || seen[start])
                continue;
            members.assign(1, start);
            seen[start] = 1;
            int x0 = cw, x1 = -1, y0 = ch, y1 = -1;
            for (size_t k = 0; k < members.size(); ++k) {
                const size_t i = members[k];
                const int cx = int(i % size_t(cw));
                const int cy = int(i / size_t(cw));
                x0 = std::min(x0, cx);
                x1 = std::max(x1, cx);
                y0 = std::min(y0, cy);
                y1 = std::max(y1, cy);
                auto visit = [&](int nx, int ny) {
                    if (nx < 0 || ny < 0 || nx >= cw || ny >= ch)
                        return;
                    const size_t n = size_t(ny) * cw + nx;
                    if (!seen[n] && vote[n] >= 0 && std::abs(vote[n] - vote[i]) <= 1) {
                        seen[n] = 1;
                        members.push_back(n);
                    }
                };
                visit(cx - 1, cy);
                visit(cx + 1, cy);
                visit(cx, cy - 1);
                visit(cx, cy + 1);
            }
            const int longer = std::max(x1 - x0, y1 - y0) + 1;
            const int shorter = std::min(x1 - x0, y1 - y0) + 1;
            const bool mostlyPlain = members.size() * 2 >= size_t(longer) * size_t(shorter);
            if (members.size() >= kGroundCells * kGroundCells * 3 || (shorter >= 4 && mostlyPlain && (longer >= kGroundCells || longer >= 2 * shorter))) {
                for (const size_t i : members)
                    ground[i] = 1;
            }
        }
    }

    // The ground level: the mean of the votes of the winning level band, near if possible, else far.
    std::vector<float> level(cells, -1.0f);
    std::vector<int> nearBest(cells, 0), farBest(cells, 0);
    std::vector<uchar> isBin(cells);
    std::vector<int> binMean(cells);
    for (int bin = 0; bin < kBins; ++bin) {
        if (votesPerBin[size_t(bin)] == 0)
            continue;
        for (size_t i = 0; i < cells; ++i) {
            isBin[i] = ground[i] && vote[i] == bin;
            binMean[i] = isBin[i] ? mean[i] : 0;
        }
        const std::vector<int> nearCount = boxSum(isBin, cw, ch, kNearCells);
        const std::vector<int> nearSum = boxSum(binMean, cw, ch, kNearCells);
        const std::vector<int> farCount = boxSum(isBin, cw, ch, kFarCells);
        const std::vector<int> farSum = boxSum(binMean, cw, ch, kFarCells);
        for (size_t i = 0; i < cells; ++i) {
            if (nearCount[i] > nearBest[i]) {
                nearBest[i] = nearCount[i];
                if (nearCount[i] >= kMinNearVotes)
                    level[i] = float(nearSum[i]) / float(nearCount[i]);
            }
            if (farCount[i] > farBest[i]) {
                farBest[i] = farCount[i];
                if (nearBest[i] < kMinNearVotes)
                    level[i] = float(farSum[i]) / float(farCount[i]);
            }
        }
    }

    // Ink votes: +1 where it is lighter than the ground, -1 where darker.
    std::vector<qint8> polarity(cells, 0);
    for (size_t i = 0; i < cells; ++i) {
        if (vote[i] >= 0 || level[i] < 0)
            continue;
        const float darker = level[i] - float(lo[i]);
        const float lighter = float(hi[i]) - level[i];
        if (std::max(darker, lighter) > kInkContrast)
            polarity[i] = lighter > darker ? 1 : -1;
    }
    const std::vector<int> nearInk = boxSum(polarity, cw, ch, kNearCells);
    const std::vector<int> farInk = boxSum(polarity, cw, ch, kFarCells);
    const bool darkOverall = luminanceSum < qint64(w) * h * 128;

    std::vector<uchar> invert(cells);
    std::vector<float> stretch(cells, 1.0f);
    for (size_t i = 0; i < cells; ++i) {
        const int ink = nearInk[i] != 0 ? nearInk[i] : farInk[i];
        invert[i] = ink != 0 ? ink > 0 : (level[i] >= 0 ? level[i] < 128 : darkOverall);
        if (level[i] >= 0) {
            const float ground = invert[i] ? 255.0f - level[i] : level[i];
            if (ground >= 64)
                stretch[i] = 255.0f / ground;
        }
    }

    for (int y = 0; y < h; ++y) {
        uchar *row = gray.scanLine(y);
        const size_t base = size_t(y / kCell) * cw;
        for (int x = 0; x < w; ++x) {
            const size_t i = base + size_t(x / kCell);
            if (ground[i]) {
                row[x] = 255;
                continue;
            }
            const int v = invert[i] ? 255 - row[x] : row[x];
            row[x] = uchar(std::min(255, int(float(v) * stretch[i] + 0.5f)));
        }
    }
}

struct Run {
    int x0, x1, y, root;
};

// The runs of pixels below `threshold`, with the first run of their 8-connected component as root.
std::vector<Run> inkRuns(const QImage &gray, int threshold)
{
    std::vector<Run> runs;
    const int w = gray.width();
    auto root = [&runs](int i) {
        while (runs[size_t(i)].root != i) {
            runs[size_t(i)].root = runs[size_t(runs[size_t(i)].root)].root;
            i = runs[size_t(i)].root;
        }
        return i;
    };
    size_t above = 0;
    for (int y = 0; y < gray.height(); ++y) {
        const size_t rowStart = runs.size();
        const uchar *row = gray.constScanLine(y);
        for (int x = 0; x < w;) {
            if (row[x] >= threshold) {
                ++x;
                continue;
            }
            const int x0 = x;
            while (x < w && row[x] < threshold)
                ++x;
            runs.push_back({x0, x - 1, y, int(runs.size())});
        }
        // Join with the runs of the row above that touch, diagonals included.
        size_t j0 = above;
        for (size_t i = rowStart; i < runs.size(); ++i) {
            while (j0 < rowStart && runs[j0].x1 < runs[i].x0 - 1)
                ++j0;
            for (size_t j = j0; j < rowStart && runs[j].x0 <= runs[i].x1 + 1; ++j) {
                const int a = root(int(i));
                const int b = root(int(j));
                if (a != b)
                    runs[size_t(std::max(a, b))].root = std::min(a, b);
            }
        }
        above = rowStart;
    }
    for (size_t i = 0; i < runs.size(); ++i)
        runs[i].root = root(int(i));
    return runs;
}

struct Blob {
    int x0 = INT_MAX, x1 = -1, y0 = INT_MAX, y1 = -1;
    int height() const { return y1 - y0 + 1; }
    int width() const { return x1 - x0 + 1; }
};

std::vector<Blob> blobsOf(const std::vector<Run> &runs)
{
    std::vector<Blob> blobs(runs.size());
    for (const Run &run : runs) {
        Blob &b = blobs[size_t(run.root)];
        b.x0 = std::min(b.x0, run.x0);
        b.x1 = std::max(b.x1, run.x1);
        b.y0 = std::min(b.y0, run.y);
        b.y1 = std::max(b.y1, run.y);
    }
    return blobs;
}

// The median height of the letter-like blobs of ink; 0 when there are too few to tell.
int typicalGlyphHeight(const QImage &gray)
{
    std::vector<int> heights;
    for (const Blob &b : blobsOf(inkRuns(gray, 100))) {
        if (b.x1 >= 0 && b.height() >= 4 && b.height() <= 200 && b.width() <= 2 * b.height())
            heights.push_back(b.height());
    }
    if (heights.size() < 8)
        return 0;
    std::nth_element(heights.begin(), heights.begin() + qsizetype(heights.size() / 2), heights.end());
    return heights[heights.size() / 2];
}

// Icons, swatches, avatars and bars are solid where letters are made of strokes: a blob taller than
// text whose widest inner disc spans more than 60% of its height is painted over with the ground, so
// that Tesseract does not read it as a letter.
void eraseSolidBlobs(QImage &gray, int glyphHeight)
{
    constexpr int kThreshold = 200;
    const int w = gray.width();
    const int h = gray.height();
    // City-block distance of every ink pixel to the nearest ground pixel.
    std::vector<quint16> distance(size_t(w) * h, 0);
    for (int y = 0; y < h; ++y) {
        const uchar *row = gray.constScanLine(y);
        quint16 *d = &distance[size_t(y) * w];
        for (int x = 0; x < w; ++x) {
            if (row[x] >= kThreshold)
                continue;
            const int up = y > 0 ? d[x - w] : 0;
            const int left = x > 0 ? d[x - 1] : 0;
            d[x] = quint16(std::min(up, left) + 1);
        }
    }
    for (int y = h - 1; y >= 0; --y) {
        quint16 *d = &distance[size_t(y) * w];
        for (int x = w - 1; x >= 0; --x) {
            if (d[x] == 0)
                continue;
            const int down = y + 1 < h ? d[x + w] : 0;
            const int right = x + 1 < w ? d[x + 1] : 0;
            d[x] = quint16(std::min<int>(d[x], std::min(down, right) + 1));
        }
    }

    const std::vector<Run> runs = inkRuns(gray, kThreshold);
    const std::vector<Blob> blobs = blobsOf(runs);
    std::vector<quint16> depth(runs.size(), 0);
    for (const Run &run : runs) {
        const quint16 *d = &distance[size_t(run.y) * w];
        quint16 &deepest = depth[size_t(run.root)];
        for (int x = run.x0; x <= run.x1; ++x)
            deepest = std::max(deepest, d[x]);
    }
    for (const Run &run : runs) {
        const Blob &b = blobs[size_t(run.root)];
        const int deep = depth[size_t(run.root)];
        if (b.height() * 10 >= glyphHeight * 12 && deep * 10 >= b.height() * 3 && deep * 20 >= glyphHeight * 11)
            std::fill_n(gray.scanLine(run.y) + run.x0, run.x1 - run.x0 + 1, uchar(255));
    }
}

// The Tesseract names of one user language, most specific first.
QStringList tesseractNames(const QLocale &locale)
{
    const QString t = QLocale::languageToCode(locale.language(), QLocale::ISO639Part2T);
    const QString b = QLocale::languageToCode(locale.language(), QLocale::ISO639Part2B);
    if (t.isEmpty())
        return {};
    if (locale.language() == QLocale::Chinese)
        return {locale.script() == QLocale::TraditionalHanScript ? QStringLiteral("chi_tra") : QStringLiteral("chi_sim")};
    const QString script = QLocale::scriptToCode(locale.script()).toLower();
    QStringList names;
    for (const QString &code : {t, b}) {
        if (!script.isEmpty())
            names << code + u'_' + script;
        names << code;
    }
    names.removeDuplicates();
    return names;
}

QString computeLanguages()
{
    QStringList chosen {QStringLiteral("eng")};
    QList<QStringList> wanted;
    for (const QString &ui : QLocale::system().uiLanguages()) {
        const QStringList names = tesseractNames(QLocale(ui));
        if (!names.isEmpty() && !names.contains(chosen.first()))
            wanted << names;
    }
    // Only a user who reads more than English pays for a look at the installed data.
    if (wanted.isEmpty())
        return chosen.first();
    tesseract::TessBaseAPI probe;
    if (probe.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY) != 0)
        return chosen.first();
    std::vector<std::string> available;
    probe.GetAvailableLanguagesAsVector(&available);
    QSet<QString> installed;
    for (const std::string &name : available)
        installed.insert(QString::fromStdString(name));
    for (const QStringList &names : wanted) {
        const auto found = std::find_if(names.cbegin(), names.cend(), [&](const QString &name) { return installed.contains(name); });
        if (found != names.cend() && !chosen.contains(*found))
            chosen << *found;
    }
    return chosen.join(u'+');
}

struct Engine {
    std::unique_ptr<tesseract::TessBaseAPI> api;
    bool failed = false;
};

thread_local Engine t_engine;

tesseract::TessBaseAPI *engine()
{
    if (t_engine.api || t_engine.failed)
        return t_engine.api.get();
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    // Progress and resolution notes would otherwise go to stderr on every picture.
    api->SetVariable("debug_file", "/dev/null");
    if (api->Init(nullptr, OcrEngine::languages().toUtf8().constData(), tesseract::OEM_LSTM_ONLY) != 0) {
        t_engine.failed = true;
        return nullptr;
    }
    api->SetVariable("debug_file", "/dev/null");
    // Screens scatter short labels over the picture; the sparse mode finds them where the automatic
    // layout drops many, and reads pages as well.
    api->SetPageSegMode(tesseract::PSM_SPARSE_TEXT);
    // The picture arrives with its light-on-dark parts already turned round.
    api->SetVariable("tessedit_do_invert", "0");
    t_engine.api = std::move(api);
    return t_engine.api.get();
}

bool hasLetterOrDigit(const QString &word)
{
    return std::any_of(word.begin(), word.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

} // namespace

QString OcrEngine::languages()
{
    static const QString languages = computeLanguages();
    return languages;
}

RecognizedText OcrEngine::read(const QImage &image)
{
    if (image.isNull() || image.width() < 8 || image.height() < 8)
        return {};

    // Tesseract parallelises its networks with OpenMP; the callers already run one picture per core.
    omp_set_num_threads(1);
    // Tesseract asks for its thread counts explicitly, which overrides the line above; with no active
    // levels allowed every parallel region runs on the calling thread alone.
    omp_set_max_active_levels(0);

    // Callers bound their pictures already; anything larger only makes the maps below grow.
    const bool oversized = std::max(image.width(), image.height()) > kMaxInputSide;
    QImage gray = toGray(oversized ? image.scaled(kMaxInputSide, kMaxInputSide, Qt::KeepAspectRatio, Qt::SmoothTransformation) : image);
    if (isBlank(gray))
        return {};
    normalizeGround(gray);
    const int glyph = typicalGlyphHeight(gray);
    if (glyph > 0)
        eraseSolidBlobs(gray, glyph);
    if (glyph > 0) {
        const double enlargement = std::min({kMaxEnlargement, kGlyphTarget / glyph, std::sqrt(kMaxPixels / (double(gray.width()) * gray.height()))});
        if (enlargement >= kMinEnlargement)
            gray = gray.scaled(qRound(gray.width() * enlargement), qRound(gray.height() * enlargement), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    // From the given picture to the one Tesseract reads.
    const double scale = double(gray.width()) / image.width();

    tesseract::TessBaseAPI *api = engine();
    if (!api)
        return {};
    api->SetImage(gray.constBits(), gray.width(), gray.height(), 1, int(gray.bytesPerLine()));
    const double dpm = image.dotsPerMeterX();
    const double dpi = dpm > 0 ? dpm * 0.0254 : 0;
    api->SetSourceResolution(int(std::lround((dpi >= 70 && dpi <= 1200 ? dpi : 96.0) * scale)));
    if (api->Recognize(nullptr) != 0) {
        api->Clear();
        return {};
    }

    RecognizedText result;
    QStringList lines;
    QStringList line;
    std::unique_ptr<tesseract::ResultIterator> it(api->GetIterator());
    if (it && !it->Empty(tesseract::RIL_WORD)) {
        do {
            if (it->IsAtBeginningOf(tesseract::RIL_TEXTLINE) && !line.isEmpty()) {
                lines << line.join(u' ');
                line.clear();
            }
            const std::unique_ptr<char[]> utf8(it->GetUTF8Text(tesseract::RIL_WORD));
            const QString word = utf8 ? QString::fromUtf8(utf8.get()).trimmed() : QString();
            if (word.isEmpty() || it->Confidence(tesseract::RIL_WORD) < kMinConfidence || !hasLetterOrDigit(word))
                continue;
            line << word;
            int left = 0, top = 0, right = 0, bottom = 0;
            it->BoundingBox(tesseract::RIL_WORD, &left, &top, &right, &bottom);
            const QRect box(QPoint(int(left / scale), int(top / scale)), QPoint(int(std::ceil(right / scale)) - 1, int(std::ceil(bottom / scale)) - 1));
            // The word ends up in the line being gathered, which will be the next one joined.
            result.words.append({word, box.intersected(image.rect()), int(lines.size())});
        } while (it->Next(tesseract::RIL_WORD));
    }
    if (!line.isEmpty())
        lines << line.join(u' ');
    result.text = lines.join(u'\n');
    api->Clear();
    return result;
}
