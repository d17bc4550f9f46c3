#include "PdfText.h"

#include "InputFile.h"
#include "media/MediaInput.h"

#include <QStringList>

#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-global.h>
#include <poppler/cpp/poppler-image.h>
#include <poppler/cpp/poppler-page-renderer.h>
#include <poppler/cpp/poppler-page.h>

#include <algorithm>

namespace {

QString toQString(const poppler::ustring &text)
{
    // The byte array is not terminated; its size is the length.
    const poppler::byte_array utf8 = text.to_utf8();
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

// Fonts often draw "ff", "fi", "fl" as one glyph and poppler passes the ligature on; searches and
// copies want the letters.
QString withoutLigatures(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        if (c.unicode() >= 0xfb00 && c.unicode() <= 0xfb06)
            out += QString(c).normalized(QString::NormalizationForm_KC);
        else
            out += c;
    }
    return out;
}

// Damaged files make poppler talk on stderr; a broken file is an ordinary case here.
void silencePoppler()
{
    static const bool once = [] {
        poppler::set_debug_error_function([](const std::string &, void *) {}, nullptr);
        return true;
    }();
    Q_UNUSED(once);
}

} // namespace

PdfDocument::PdfDocument(const QString &path)
{
    silencePoppler();
    const InputFile file(path);
    m_document = MediaInput::loadPdf(file);
    // Without the password poppler can tell nothing more; a locked document counts as unreadable.
    if (m_document && m_document->is_locked())
        m_document.reset();
}

PdfDocument::~PdfDocument() = default;

bool PdfDocument::isValid() const
{
    return bool(m_document);
}

int PdfDocument::pageCount() const
{
    return m_document ? m_document->pages() : 0;
}

QString PdfDocument::text() const
{
    QStringList pages;
    for (int i = 0; i < pageCount(); ++i) {
        const std::unique_ptr<poppler::page> page(m_document->create_page(i));
        if (!page)
            continue;
        QString text = toQString(page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout));
        // poppler closes every page with a form feed.
        if (text.endsWith(u'\f'))
            text.chop(1);
        pages << withoutLigatures(text);
    }
    return pages.join(u'\n');
}

QImage PdfDocument::renderPage(int index, int longestSide) const
{
    if (index < 0 || index >= pageCount())
        return {};
    const std::unique_ptr<poppler::page> page(m_document->create_page(index));
    if (!page)
        return {};
    const poppler::rectf box = page->page_rect(poppler::media_box);
    const double scale = longestSide / std::max({box.width(), box.height(), 1.0});
    poppler::page_renderer renderer;
    renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing | poppler::page_renderer::text_hinting);
    renderer.set_image_format(poppler::image::format_gray8);
    // Points are 1/72 inch, so a resolution of 72 × scale gives the wanted size.
    const poppler::image picture = renderer.render_page(page.get(), 72.0 * scale, 72.0 * scale);
    if (!picture.is_valid())
        return {};
    const QImage view(
        reinterpret_cast<const uchar *>(picture.const_data()), picture.width(), picture.height(), picture.bytes_per_row(), QImage::Format_Grayscale8);
    QImage image = view.copy();
    const int dotsPerMeter = qRound(72.0 * scale / 0.0254);
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
    return image;
}
