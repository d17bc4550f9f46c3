#pragma once

#include "OcrEngine.h"
#include "worker/ParseWorkers.h"

#include <QString>
#include <QUrl>

// Turns a picture or a PDF into text through the parsing workers. Blocking, meant for background
// threads; the empty text stands for a failure and for nothing found alike. Which files are worth
// reading is decided in the program's layer (TextRecognizer::canRead in text/Readable.h).
namespace TextRecognizer {

// The text of the file: a ".pdf" (any case) takes the PDF path (its embedded text, else its first
// pages read as pictures), anything else the picture path.
QString text(const QUrl &file, ParseWorkers::Priority priority = ParseWorkers::Priority::background);
QString text(const QString &path, ParseWorkers::Priority priority = ParseWorkers::Priority::background);

// The words of a picture with their boxes, in the pixels of the picture as it is shown upright;
// `pictureSize` receives that size. Never stored: for selecting text on a picture on screen.
RecognizedText words(const QString &path, QSize *pictureSize = nullptr);

} // namespace TextRecognizer
