// Reading quality and speed of the text recognizer, on pictures drawn here with known text: window
// screenshots at 100% and 200% in a light and a dark theme, photographed pages and a scanned PDF. The
// same pictures go through the tesseract command-line program, when it is installed, for comparison.
//
//   bench_ocr [--keep DIR]      DIR keeps the pictures, each with its true text (.txt) and what was read (.read)
//   bench_ocr --read FILE       prints what is read in one file
//
// BENCH_OCR_ONLY=TEXT runs only the groups whose name holds TEXT; BENCH_OCR_NOCLI=1 leaves the
// tesseract program out.
#include "text/PdfText.h"
#include "text/TextReading.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <numeric>
#include <sys/resource.h>
#include <vector>

namespace {

const QStringList kFiles = {
    "Quarterly Report 2024.pdf",
    "Budget forecast.xlsx",
    "IMG_4821.jpeg",
    "Meeting notes.txt",
    "Invoice 10392.pdf",
    "Holiday photos",
    "Screenshot 2024-03-12.png",
    "Project plan.docx",
    "Tax return 2023.pdf",
    "Recipes.md",
    "Presentation final.odp",
    "Contract signed.pdf",
    "Archive backup.zip",
    "Vacation itinerary.pdf",
    "Podcast episode 12.mp3",
    "Wedding video.mov",
    "Floor plan.svg",
    "Reading list.txt",
    "Expenses March.csv",
    "Design mockups.sketch",
    "Lecture slides.pdf",
    "Family tree.pdf",
    "Garden layout.png",
    "Insurance policy.pdf",
    "Resume updated.docx",
};
const QStringList kKinds = {"PDF document", "Spreadsheet", "JPEG image", "Plain text", "Folder", "PNG image", "Word document", "Archive", "Audio"};
const QStringList kMonths = {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October", "November", "December"};
const QStringList kSidebar = {"Recents", "Applications", "Desktop", "Documents", "Downloads", "Pictures", "Music", "Movies", "Shared", "Trash"};
const QStringList kSidebar2 = {"Home", "Network", "Backup Drive", "Cloud Storage"};
const QStringList kToolbar = {"Back", "Forward", "View", "Group", "Share", "Tags", "Action"};
const QString kProse = QStringLiteral("The committee met on Tuesday to review the budget for the coming year. After a long discussion about travel costs, "
                                      "the members agreed to reduce the number of conferences and to invest the savings in training for new staff. "
                                      "Several questions remained open, in particular the question of how the library should handle requests for rare "
                                      "books from other universities. A small working group will prepare a proposal before the next meeting in April. "
                                      "The treasurer reported that membership fees had risen by four percent, which covers the higher rent of the office. "
                                      "Everyone thanked the volunteers who organised the summer festival, which attracted more visitors than ever before. "
                                      "Finally, the chair reminded members that the annual report must be submitted by the end of the month, and that "
                                      "photographs for the cover are still welcome. The meeting closed at half past nine in the evening.");

struct Palette {
    QColor window, sidebar, chrome, text, secondary, accent, accentText, stripe, separator;
};

const Palette kLight {QColor(255, 255, 255), QColor(240, 240, 245), QColor(232, 232, 236), QColor(29, 29, 31), QColor(110, 110, 115), QColor(10, 100, 210),
    QColor(255, 255, 255), QColor(246, 246, 248), QColor(214, 214, 218)};
const Palette kDark {QColor(30, 30, 32), QColor(42, 42, 46), QColor(52, 52, 56), QColor(230, 230, 232), QColor(152, 152, 158), QColor(10, 100, 210),
    QColor(255, 255, 255), QColor(36, 36, 38), QColor(70, 70, 74)};

struct Sample {
    QString group;
    QString path;
    QString truth;
};

QFont fontOf(const QString &family, int pixels, bool bold = false)
{
    QFont font(family);
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

// Draws `text` at a baseline-free top-left corner and records it.
void label(QPainter &p, QStringList &truth, const QPointF &at, const QString &text, const QColor &colour)
{
    p.setPen(colour);
    const QFontMetricsF m(p.font());
    p.drawText(QRectF(at, QSizeF(m.horizontalAdvance(text) + 4, m.height())), Qt::AlignLeft | Qt::AlignTop, text);
    truth << text;
}

QString dateText(QRandomGenerator &rng)
{
    return QStringLiteral("%1 %2 %3 at %4:%5")
        .arg(1 + rng.bounded(28))
        .arg(kMonths[rng.bounded(12)])
        .arg(2019 + rng.bounded(6))
        .arg(rng.bounded(24), 2, 10, QLatin1Char('0'))
        .arg(rng.bounded(60), 2, 10, QLatin1Char('0'));
}

QString sizeText(QRandomGenerator &rng)
{
    static const char *units[] = {"KB", "MB", "GB"};
    return QStringLiteral("%1 %2").arg(1 + rng.bounded(999) / 10.0, 0, 'f', 1).arg(QLatin1String(units[rng.bounded(3)]));
}

// A file window: title bar, toolbar with one accent button, sidebar, a list with a selected row and a
// details card, and a status line; 1920×1080 points drawn at `scale`.
QImage screenshot(const Palette &c, qreal scale, const QString &family, int px, QRandomGenerator &rng, QString *truthOut)
{
    QImage image(int(1920 * scale), int(1080 * scale), QImage::Format_RGB32);
    image.fill(c.window);
    QPainter p(&image);
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    p.scale(scale, scale);
    QStringList truth;

    p.fillRect(QRectF(0, 0, 1920, 88), c.chrome);
    p.setFont(fontOf(family, px + 1, true));
    const QString title = QStringLiteral("Project Files");
    label(p, truth, QPointF(960 - QFontMetricsF(p.font()).horizontalAdvance(title) / 2, 10), title, c.text);
    p.setFont(fontOf(family, px));
    qreal x = 260;
    for (int i = 0; i < kToolbar.size(); ++i) {
        const qreal w = QFontMetricsF(p.font()).horizontalAdvance(kToolbar[i]) + 28;
        const bool accent = kToolbar[i] == u"Share";
        p.setPen(Qt::NoPen);
        p.setBrush(accent ? c.accent : c.sidebar);
        p.drawRoundedRect(QRectF(x, 46, w, px + 16), 6, 6);
        label(p, truth, QPointF(x + 12, 46 + 7), kToolbar[i], accent ? c.accentText : c.text);
        x += w + 14;
    }
    p.setPen(c.separator);
    p.setBrush(c.window);
    p.drawRoundedRect(QRectF(1600, 46, 290, px + 16), 8, 8);
    p.setPen(c.secondary);
    p.drawText(QRectF(1630, 46 + 7, 200, px + 6), Qt::AlignLeft | Qt::AlignTop, QStringLiteral("Search"));
    truth << QStringLiteral("Search");

    p.fillRect(QRectF(0, 88, 240, 962), c.sidebar);
    qreal y = 104;
    for (const auto &[header, items] : {std::pair {QStringLiteral("PLACES"), kSidebar}, std::pair {QStringLiteral("DEVICES"), kSidebar2}}) {
        p.setFont(fontOf(family, px - 2, true));
        label(p, truth, QPointF(16, y), header, c.secondary);
        y += px * 1.9;
        p.setFont(fontOf(family, px));
        for (const QString &item : items) {
            p.setPen(Qt::NoPen);
            p.setBrush(QColor::fromHsv(rng.bounded(360), 160, 220));
            p.drawEllipse(QRectF(20, y + 1, px, px));
            label(p, truth, QPointF(24 + px + 8, y), item, c.text);
            y += px * 2.1;
        }
        y += px;
    }

    const qreal cols[] = {260, 720, 1040, 1200, 1480};
    p.setFont(fontOf(family, px - 1, true));
    const QStringList heads = {"Name", "Date Modified", "Size", "Kind"};
    for (int i = 0; i < 4; ++i)
        label(p, truth, QPointF(cols[i] + 8, 100), heads[i], c.secondary);
    p.fillRect(QRectF(240, 100 + px * 1.8, 1240, 1), c.separator);
    p.setFont(fontOf(family, px));
    const qreal rowHeight = px * 2.2;
    QList<int> order(kFiles.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), rng);
    y = 100 + px * 2.4;
    for (int r = 0; r < 18; ++r, y += rowHeight) {
        const bool selected = r == 3;
        if (selected)
            p.fillRect(QRectF(244, y, 1232, rowHeight), c.accent);
        else if (r % 2)
            p.fillRect(QRectF(240, y, 1240, rowHeight), c.stripe);
        const QColor ink = selected ? c.accentText : c.text;
        const qreal ty = y + (rowHeight - QFontMetricsF(p.font()).height()) / 2;
        p.setPen(Qt::NoPen);
        p.setBrush(QColor::fromHsv(rng.bounded(360), 120, 230));
        p.drawRoundedRect(QRectF(cols[0] + 8, y + rowHeight * 0.2, rowHeight * 0.6, rowHeight * 0.6), 3, 3);
        label(p, truth, QPointF(cols[0] + 16 + rowHeight * 0.6, ty), kFiles[order[r]], ink);
        label(p, truth, QPointF(cols[1] + 8, ty), dateText(rng), selected ? ink : c.secondary);
        label(p, truth, QPointF(cols[2] + 8, ty), sizeText(rng), selected ? ink : c.secondary);
        label(p, truth, QPointF(cols[3] + 8, ty), kKinds[rng.bounded(kKinds.size())], selected ? ink : c.secondary);
    }

    // Details card with running text.
    p.setPen(c.separator);
    p.setBrush(c.sidebar);
    p.drawRoundedRect(QRectF(1500, 110, 400, 520), 12, 12);
    p.setFont(fontOf(family, px + 5, true));
    label(p, truth, QPointF(1524, 130), QStringLiteral("Details"), c.text);
    p.setFont(fontOf(family, px));
    const QStringList words = kProse.split(u' ');
    const int start = rng.bounded(words.size() / 2);
    QString line;
    y = 130 + px * 3;
    const QFontMetricsF m(p.font());
    for (int i = start; i < words.size() && y < 600; ++i) {
        const QString next = line.isEmpty() ? words[i] : line + u' ' + words[i];
        if (m.horizontalAdvance(next) > 350) {
            label(p, truth, QPointF(1524, y), line, c.text);
            y += px * 1.5;
            line = words[i];
        } else {
            line = next;
        }
    }

    p.fillRect(QRectF(240, 1050, 1680, 30), c.chrome);
    p.setFont(fontOf(family, px - 1));
    label(p, truth, QPointF(260, 1056), QStringLiteral("18 items, %1 available").arg(sizeText(rng)), c.secondary);
    p.end();
    *truthOut = truth.join(u'\n');
    return image;
}

// A printed page: a heading and justified-free paragraphs of prose, `width` pixels wide.
QImage page(int width, int height, const QString &family, int px, int paragraphOffset, QString *truthOut)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    QStringList truth;
    const qreal margin = width * 0.09;
    p.setFont(fontOf(family, px * 3 / 2, true));
    label(p, truth, QPointF(margin, margin), QStringLiteral("Minutes of the Annual Meeting"), Qt::black);
    p.setFont(fontOf(family, px));
    const QFontMetricsF m(p.font());
    QStringList words = kProse.split(u' ');
    std::rotate(words.begin(), words.begin() + paragraphOffset % words.size(), words.end());
    qreal y = margin + px * 3;
    QString line;
    for (int round = 0; round < 3 && y < height - margin - px * 2; ++round) {
        for (const QString &word : words) {
            const QString next = line.isEmpty() ? word : line + u' ' + word;
            if (m.horizontalAdvance(next) > width - 2 * margin) {
                label(p, truth, QPointF(margin, y), line, QColor(20, 20, 20));
                y += px * 1.45;
                line = word;
                if (y > height - margin - px * 2)
                    break;
            } else {
                line = next;
            }
        }
        y += px;
    }
    p.end();
    *truthOut = truth.join(u'\n');
    return image;
}

QImage boxBlur(const QImage &image, qreal factor)
{
    const QSize small = image.size() * factor;
    return image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

// The page as a phone would see it: on a table, a little turned, softened, lit from one side, grainy.
QImage photographed(const QImage &sheet, QRandomGenerator &rng)
{
    QImage photo(sheet.width() + 300, sheet.height() + 300, QImage::Format_RGB32);
    photo.fill(QColor(96, 78, 60));
    QPainter p(&photo);
    p.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    p.translate(photo.width() / 2.0, photo.height() / 2.0);
    p.rotate(1.0 + rng.bounded(1.5));
    p.drawImage(QPointF(-sheet.width() / 2.0, -sheet.height() / 2.0), sheet);
    p.end();
    photo = boxBlur(photo, 0.7);
    for (int y = 0; y < photo.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(photo.scanLine(y));
        for (int x = 0; x < photo.width(); ++x) {
            const double light = 0.62 + 0.38 * (double(x) / photo.width() * 0.6 + (1.0 - double(y) / photo.height()) * 0.4);
            const int noise = int(rng.bounded(17)) - 8;
            auto tone = [&](int v, double warm) { return std::clamp(int(v * light * warm) + noise, 0, 255); };
            row[x] = qRgb(tone(qRed(row[x]), 1.0), tone(qGreen(row[x]), 0.96), tone(qBlue(row[x]), 0.88));
        }
    }
    return photo;
}

QImage scanned(const QImage &sheet, QRandomGenerator &rng)
{
    QImage scan(sheet.size(), QImage::Format_RGB32);
    scan.fill(Qt::white);
    QPainter p(&scan);
    p.setRenderHints(QPainter::SmoothPixmapTransform);
    p.translate(scan.width() / 2.0, scan.height() / 2.0);
    p.rotate(0.4);
    p.drawImage(QPointF(-sheet.width() / 2.0, -sheet.height() / 2.0), sheet);
    p.end();
    QImage gray = scan.convertToFormat(QImage::Format_Grayscale8);
    for (int y = 0; y < gray.height(); ++y) {
        uchar *row = gray.scanLine(y);
        for (int x = 0; x < gray.width(); ++x)
            row[x] = uchar(std::clamp(int(row[x] * 0.94) + int(rng.bounded(13)) - 6 + 8, 0, 255));
    }
    return gray;
}

QString normalizedWords(const QString &text, bool sorted)
{
    QStringList words = text.normalized(QString::NormalizationForm_KC).split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (sorted)
        words.sort();
    return words.join(u' ');
}

int levenshtein(const QString &a, const QString &b)
{
    std::vector<int> prev(size_t(b.size()) + 1), cur(size_t(b.size()) + 1);
    std::iota(prev.begin(), prev.end(), 0);
    for (qsizetype i = 1; i <= a.size(); ++i) {
        cur[0] = int(i);
        for (qsizetype j = 1; j <= b.size(); ++j)
            cur[size_t(j)] = std::min({prev[size_t(j)] + 1, cur[size_t(j) - 1] + 1, prev[size_t(j) - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
        std::swap(prev, cur);
    }
    return prev[size_t(b.size())];
}

double cer(const QString &truth, const QString &read, bool sorted)
{
    const QString t = normalizedWords(truth, sorted);
    return double(levenshtein(t, normalizedWords(read, sorted))) / std::max<qsizetype>(1, t.size());
}

double wordRecall(const QString &truth, const QString &read)
{
    QStringList found = normalizedWords(read, false).split(u' ');
    const QStringList wanted = normalizedWords(truth, false).split(u' ');
    int hits = 0;
    for (const QString &w : wanted) {
        const qsizetype at = found.indexOf(w);
        if (at >= 0) {
            ++hits;
            found.removeAt(at);
        }
    }
    return double(hits) / std::max<qsizetype>(1, wanted.size());
}

double childCpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double cpuSeconds()
{
    timespec ts {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + ts.tv_nsec / 1e9;
}

int threadCount()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("Threads:"))
            return line.mid(8).trimmed().toInt();
    }
    return -1;
}

struct Totals {
    int pictures = 0;
    double cer = 0, orderedCer = 0, recall = 0, wall = 0, cpu = 0;
    double cliCer = 0, cliWall = 0, cliCpu = 0;
    int cliPictures = 0;
};

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (const qsizetype k = app.arguments().indexOf(QStringLiteral("--read")); k >= 0 && k + 1 < app.arguments().size()) {
        std::printf("%s\n", qPrintable(TextReading::text(app.arguments()[k + 1])));
        return 0;
    }
    QTemporaryDir temporary;
    QString dir = temporary.path();
    const QStringList args = app.arguments();
    if (const qsizetype k = args.indexOf(QStringLiteral("--keep")); k >= 0 && k + 1 < args.size()) {
        dir = args[k + 1];
        QDir().mkpath(dir);
    }
    const QString only = qEnvironmentVariable("BENCH_OCR_ONLY");
    QRandomGenerator rng(20241122);
    std::vector<Sample> samples;
    // Pictures the command-line program gets instead of a PDF: the pages as they are recognised.
    QHash<QString, QStringList> cliPictures;

    struct Shot {
        const char *group;
        const Palette *palette;
        qreal scale;
    };
    const Shot shots[] = {{"screenshot 100% light", &kLight, 1.0}, {"screenshot 100% dark", &kDark, 1.0}, {"screenshot 200% light", &kLight, 2.0},
        {"screenshot 200% dark", &kDark, 2.0}};
    const std::pair<const char *, int> uiFonts[]
        = {{"DejaVu Sans", 13}, {"DejaVu Sans Condensed", 12}, {"DejaVu Serif", 14}, {"DejaVu Sans", 12}, {"DejaVu Sans Condensed", 14}};
    int n = 0;
    for (const Shot &shot : shots) {
        for (const auto &[family, px] : uiFonts) {
            Sample s {QString::fromLatin1(shot.group), QStringLiteral("%1/shot-%2.png").arg(dir).arg(++n), {}};
            screenshot(*shot.palette, shot.scale, QString::fromLatin1(family), px, rng, &s.truth).save(s.path);
            samples.push_back(s);
        }
    }
    for (int i = 0; i < 2; ++i) {
        Sample s {QStringLiteral("photographed page"), QStringLiteral("%1/photo-%2.jpg").arg(dir).arg(i), {}};
        const QImage sheet = page(1700, 2200, QString::fromLatin1(i ? "DejaVu Sans" : "DejaVu Serif"), 34, i * 37, &s.truth);
        photographed(sheet, rng).save(s.path, "JPEG", 82);
        samples.push_back(s);
    }
    {
        Sample s {QStringLiteral("scanned PDF (3 pages)"), dir + QStringLiteral("/scan.pdf"), {}};
        QPdfWriter writer(s.path);
        writer.setResolution(150);
        writer.setPageSize(QPageSize(QPageSize::Letter));
        writer.setPageMargins(QMarginsF(0, 0, 0, 0));
        QPainter p(&writer);
        QStringList truths;
        for (int i = 0; i < 3; ++i) {
            if (i)
                writer.newPage();
            QString truth;
            const QImage sheet = scanned(page(1275, 1650, QString::fromLatin1(i % 2 ? "DejaVu Serif" : "DejaVu Sans"), 25, i * 53, &truth), rng);
            p.drawImage(QRectF(0, 0, writer.width(), writer.height()), sheet);
            truths << truth;
        }
        p.end();
        s.truth = truths.join(QStringLiteral("\n\n"));
        samples.push_back(s);
        const PdfDocument pdf(s.path);
        for (int i = 0; i < pdf.pageCount(); ++i) {
            const QString png = QStringLiteral("%1/scan-page-%2.png").arg(dir).arg(i);
            pdf.renderPage(i, TextReading::kScannedPageSide).save(png);
            cliPictures[s.path] << png;
        }
    }

    for (const Sample &s : samples) {
        QFile truth(s.path + QStringLiteral(".txt"));
        if (truth.open(QIODevice::WriteOnly))
            truth.write(s.truth.toUtf8());
    }
    const QString cli = QStandardPaths::findExecutable(QStringLiteral("tesseract"));
    QStringList groups;
    QHash<QString, Totals> totals;
    const int threadsBefore = threadCount();
    // Engines are made on first use; that cost belongs to no picture.
    TextReading::recognize(QImage(QSize(64, 64), QImage::Format_Grayscale8));

    for (const Sample &s : samples) {
        if (!only.isEmpty() && !s.group.contains(only))
            continue;
        if (!groups.contains(s.group))
            groups << s.group;
        Totals &t = totals[s.group];
        QElapsedTimer timer;
        const double cpu0 = cpuSeconds();
        timer.start();
        const QString read = TextReading::text(s.path);
        t.wall += timer.nsecsElapsed() / 1e9;
        t.cpu += cpuSeconds() - cpu0;
        t.cer += cer(s.truth, read, true);
        t.orderedCer += cer(s.truth, read, false);
        t.recall += wordRecall(s.truth, read);
        ++t.pictures;
        if (dir != temporary.path()) {
            QFile out(s.path + QStringLiteral(".read"));
            if (out.open(QIODevice::WriteOnly))
                out.write(read.toUtf8());
        }

        if (cli.isEmpty() || qEnvironmentVariableIsSet("BENCH_OCR_NOCLI"))
            continue;
        QStringList cliTexts;
        double cliWall = 0;
        const double cliCpu0 = childCpuSeconds();
        for (const QString &picture : cliPictures.value(s.path, {s.path})) {
            QProcess process;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("OMP_THREAD_LIMIT"), QStringLiteral("1"));
            process.setProcessEnvironment(env);
            QElapsedTimer cliTimer;
            cliTimer.start();
            process.start(cli, {picture, QStringLiteral("stdout")});
            process.waitForFinished(-1);
            cliWall += cliTimer.nsecsElapsed() / 1e9;
            cliTexts << QString::fromUtf8(process.readAllStandardOutput()).trimmed();
        }
        t.cliCer += cer(s.truth, cliTexts.join(QStringLiteral("\n\n")), true);
        t.cliWall += cliWall;
        t.cliCpu += childCpuSeconds() - cliCpu0;
        ++t.cliPictures;
    }
    const int threadsAfter = threadCount();

    std::printf("%-24s %4s %9s %9s %8s %8s %8s | %9s %8s %8s %9s %9s\n", "group", "n", "CER", "CER(ord)", "words", "s/pic", "cpu/pic", "cli CER", "cli s",
        "cli cpu", "CER ratio", "cpu ratio");
    for (const QString &g : groups) {
        const Totals &t = totals[g];
        const double k = t.pictures;
        std::printf("%-24s %4d %8.2f%% %8.2f%% %7.1f%% %8.2f %8.2f", qPrintable(g), t.pictures, 100 * t.cer / k, 100 * t.orderedCer / k, 100 * t.recall / k,
            t.wall / k, t.cpu / k);
        if (t.cliPictures) {
            const double c = t.cliPictures;
            std::printf(" | %8.2f%% %8.2f %8.2f %9.2f %9.2f", 100 * t.cliCer / c, t.cliWall / c, t.cliCpu / c, t.cliCer > 0 ? t.cer / t.cliCer : 0.0,
                t.cpu / std::max(t.cliCpu, 1e-9));
        }
        std::printf("\n");
    }
    std::printf("\nCER: Levenshtein distance over the words sorted (screens have no one reading order), per character of the truth;\n"
                "CER(ord): the same in reading order; words: share of the true words read exactly.\n"
                "s/pic is wall time, cpu/pic processor time; on a busy machine only the latter tells what one core needs.\n"
                "Ratios are ours divided by the tesseract program's (default settings, OMP_THREAD_LIMIT=1), by processor time.\n"
                "Threads in this process before/after recognising: %d/%d; %s.\n",
        threadsBefore, threadsAfter, threadsAfter <= threadsBefore ? "OpenMP added none" : "OpenMP left threads behind");
    return 0;
}
