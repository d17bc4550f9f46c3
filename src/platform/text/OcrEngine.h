#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

// One word as read, with its place in the picture that was given, in that picture's pixels, and the
// line of the joined text it is on (0 for the first).
struct RecognizedWord {
    QString text;
    QRect box;
    int line = 0;
};

// What one recognition found: the lines joined by "\n", and the same words with their boxes.
struct RecognizedText {
    QString text;
    QList<RecognizedWord> words;
};

// Tesseract, prepared for screenshots as much as for pages: the picture is turned into dark text on a
// light ground region by region, small text is enlarged, and scattered labels are looked for.
namespace OcrEngine {

// Blocking. Every calling thread keeps an engine of its own, made on first use, and Tesseract's own
// threading is held to the calling thread.
RecognizedText read(const QImage &image);

// The languages an engine loads: English, plus those of the user's languages whose data is installed,
// in Tesseract's "eng+deu" form.
QString languages();

} // namespace OcrEngine
