#include "ExtractorSupport.h"
#include "Extractors.h"
#include "media/MediaInput.h"

#include <QElapsedTimer>
#include <QStringList>

#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-global.h>
#include <poppler/cpp/poppler-page.h>

#include <memory>
#include <mutex>

namespace mdindex::extractors {

namespace {

    constexpr int kMaxPages = 2000;
    // Text layout of a damaged or huge page can be slow; a file gets this long for its text.
    constexpr qint64 kTextMilliseconds = 3000;

    QString toQString(const poppler::ustring &text)
    {
        // Not NUL-terminated: the size is the length.
        const poppler::byte_array utf8 = text.to_utf8();
        return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    }

    class PdfExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return conforms(facts, UTType::pdf()); }

        void extract(const QString &path, const FileFacts &, ExtractedAttributes &into) const override
        {
            static std::once_flag once;
            std::call_once(once, [] { poppler::set_debug_error_function([](const std::string &, void *) {}, nullptr); });
            try {
                const InputFile file(path);
                const std::unique_ptr<poppler::document> document = MediaInput::loadPdf(file);
                // A document that needs a password tells nothing before it is unlocked, not even its
                // pages (poppler fails on that question); its type says it is a PDF.
                if (!document || document->is_locked())
                    return;
                const int pages = document->pages();
                if (pages > 0)
                    into.insert(MDAttribute::numberOfPages.toString(), qint64(pages));
                if (const QString title = toQString(document->get_title()).trimmed(); !title.isEmpty())
                    into.insert(MDAttribute::title.toString(), title.left(1024));
                QStringList authors;
                for (const QString &author : toQString(document->get_author()).left(4096).split(u';')) {
                    if (const QString name = author.trimmed(); !name.isEmpty())
                        authors.append(name);
                }
                if (!authors.isEmpty())
                    into.insert(MDAttribute::authors.toString(), authors);

                QString text;
                QElapsedTimer clock;
                clock.start();
                for (int i = 0; i < std::min(pages, kMaxPages) && text.size() < kTextKeepLimit && clock.elapsed() < kTextMilliseconds; ++i) {
                    const std::unique_ptr<poppler::page> page(document->create_page(i));
                    if (!page)
                        continue;
                    if (!text.isEmpty())
                        text += u'\n';
                    text += toQString(page->text());
                }
                capText(text);
                if (!text.trimmed().isEmpty())
                    into.insert(MDAttribute::textContent.toString(), text);
            } catch (const std::exception &) {
            }
        }
    };

} // namespace

std::unique_ptr<Extractor> makePdfExtractor()
{
    return std::make_unique<PdfExtractor>();
}

} // namespace mdindex::extractors
