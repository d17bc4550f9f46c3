#pragma once

#include <QImage>
#include <QString>

#include <memory>

namespace poppler {
class document;
}

// A PDF opened with poppler, for its embedded text and for pictures of its pages.
class PdfDocument
{
public:
    explicit PdfDocument(const QString &path);
    ~PdfDocument();
    PdfDocument(const PdfDocument &) = delete;
    PdfDocument &operator=(const PdfDocument &) = delete;

    // False for a file that is not a PDF, is damaged beyond repair or is locked by a password.
    bool isValid() const;
    int pageCount() const;
    // The text of every page in reading order, pages joined by "\n".
    QString text() const;
    // Page `index` (from 0) drawn on white so that its longer side is `longestSide` pixels; a null
    // image when the page does not exist or cannot be drawn.
    QImage renderPage(int index, int longestSide) const;

private:
    std::unique_ptr<poppler::document> m_document;
};
