#include "TextRecognizer.h"

#include "FilePath.h"

QString TextRecognizer::text(const QUrl &file, ParseWorkers::Priority priority)
{
    return text(FilePath::fromUrl(file), priority);
}

QString TextRecognizer::text(const QString &path, ParseWorkers::Priority priority)
{
    if (path.isEmpty())
        return {};
    return ParseWorkers::recognizeText(path, priority);
}

RecognizedText TextRecognizer::words(const QString &path, QSize *pictureSize)
{
    return ParseWorkers::recognizeWords(path, ParseWorkers::Priority::interactive, pictureSize);
}
