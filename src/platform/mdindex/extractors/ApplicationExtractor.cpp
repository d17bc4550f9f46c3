#include "DesktopEntry.h"
#include "ExtractorSupport.h"
#include "Extractors.h"

namespace mdindex::extractors {

namespace {

    constexpr qint64 kMaxEntrySize = 64 * 1024;

    class ApplicationExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return facts.contentType == u"org.freedesktop.desktop-application"; }

        void extract(const QString &path, const FileFacts &, ExtractedAttributes &into) const override
        {
            const InputFile file(path);
            if (!file.isOpen())
                return;
            const std::optional<DesktopEntry> entry = DesktopEntry::parse(file.readAt(0, kMaxEntrySize));
            // Only launchers a person sees in their menus are titled; the rest keep their file name.
            if (entry && entry->isVisibleApplication() && !entry->name.trimmed().isEmpty())
                into.insert(MDAttribute::title.toString(), entry->name.trimmed());
        }
    };

} // namespace

std::unique_ptr<Extractor> makeApplicationExtractor()
{
    return std::make_unique<ApplicationExtractor>();
}

} // namespace mdindex::extractors
