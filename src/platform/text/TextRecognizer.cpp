#include "TextRecognizer.h"
#include "FilePath.h"

#include "PdfText.h"

#include <QFileInfo>
#include <QImageReader>
#include <QStringList>

#include <algorithm>

QString TextRecognizer::text(const QUrl &file)
{
    return text(FilePath::fromUrl(file));
}

QString TextRecognizer::text(const QString &path)
{
    if (path.isEmpty())
        return {};
    if (QFileInfo(path).suffix().toLower() != u"pdf") {
        const QImage picture = loadPicture(path);
        return picture.isNull() ? QString() : recognize(picture);
    }

    const PdfDocument document(path);
    if (!document.isValid())
        return {};
    // Embedded text wins for any number of pages; only a PDF without any is treated as scanned.
    const QString embedded = document.text().trimmed();
    if (!embedded.isEmpty())
        return embedded;
    QStringList pages;
    for (int i = 0; i < std::min(document.pageCount(), kMaxScannedPages); ++i) {
        const QImage page = document.renderPage(i, kScannedPageSide);
        if (!page.isNull())
            pages << recognize(page);
    }
    return pages.join(QStringLiteral("\n\n"));
}

QImage TextRecognizer::loadPicture(const QString &path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid() && std::max(size.width(), size.height()) > kMaxPictureSide)
        reader.setScaledSize(size.scaled(kMaxPictureSide, kMaxPictureSide, Qt::KeepAspectRatio));
    QImage picture = reader.read();
    // Formats that cannot tell their size up front are bounded after decoding.
    if (std::max(picture.width(), picture.height()) > kMaxPictureSide)
        picture = picture.scaled(kMaxPictureSide, kMaxPictureSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return picture;
}

QString TextRecognizer::recognize(const QImage &image)
{
    return OcrEngine::read(image).text;
}

RecognizedText TextRecognizer::recognizeWithBoxes(const QImage &image)
{
    return OcrEngine::read(image);
}
