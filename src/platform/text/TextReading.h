#pragma once

#include "OcrEngine.h"

#include <QImage>
#include <QString>
#include <QUrl>

// Turns a picture or a PDF into text, in the parsing worker (the program itself asks through
// TextRecognizer). Stateless and blocking; the empty text stands for a failure and for nothing found
// alike.
namespace TextReading {

// The text of the file: by its extension alone, a ".pdf" (any case) takes the PDF path and anything
// else the picture path.
QString text(const QString &path);

// Pictures are decoded with their orientation applied and at most this long on either side.
inline constexpr int kMaxPictureSide = 3000;
// Scanned PDFs: the first pages, each drawn this long on its longer side.
inline constexpr int kMaxScannedPages = 5;
inline constexpr int kScannedPageSide = 2000;

// The picture at `path`, oriented and bounded as above; null when it cannot be decoded.
QImage loadPicture(const QString &path);

// The lines read in the picture, joined by "\n".
QString recognize(const QImage &image);
// The same reading with every word's box in `image`'s pixels.
RecognizedText recognizeWithBoxes(const QImage &image);

} // namespace TextReading
