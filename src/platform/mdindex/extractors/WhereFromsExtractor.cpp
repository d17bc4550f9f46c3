#include "ExtendedAttributes.h"
#include "Extractors.h"

namespace mdindex::extractors {

namespace {

    class WhereFromsExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return !facts.isDirectory && !facts.isSymlink; }

        void extract(const QString &path, const FileFacts &, ExtractedAttributes &into) const override
        {
            if (const QStringList froms = readWhereFroms(path); !froms.isEmpty())
                into.insert(MDAttribute::whereFroms.toString(), froms);
        }
    };

} // namespace

std::unique_ptr<Extractor> makeWhereFromsExtractor()
{
    return std::make_unique<WhereFromsExtractor>();
}

} // namespace mdindex::extractors
