#include "WorkerExtractors.h"

#include "UTType.h"
#include "extractors/Extractors.h"

namespace mdindex {

namespace {

    class WorkerExtractor final : public Extractor
    {
    public:
        explicit WorkerExtractor(ParseWorkers::Priority priority)
            : m_priority(priority)
        {
        }

        bool wants(const FileFacts &facts) const override { return contentsWanted(facts); }

        void extract(const QString &path, const FileFacts &facts, ExtractedAttributes &into) const override
        {
            // A file that cannot be read gives nothing, as a damaged file does in the worker itself; it
            // is recorded as read for its current facts and not tried again until it changes. Without
            // a worker nothing is known, and the file waits.
            ParseWorkers::Outcome outcome = ParseWorkers::Outcome::unavailable;
            if (const auto attributes = ParseWorkers::extract(path, facts, m_priority, &outcome))
                into.insert(*attributes);
            else if (outcome == ParseWorkers::Outcome::unavailable)
                throw ExtractionUnavailable {};
        }

    private:
        ParseWorkers::Priority m_priority;
    };

} // namespace

bool contentsWanted(const FileFacts &facts)
{
    if (facts.isDirectory || facts.isSymlink)
        return false;
    const auto type = UTType::fromIdentifier(facts.contentType);
    if (!type)
        return false;
    if (facts.contentType.startsWith(u"org.oasis-open.opendocument.") || facts.contentType.startsWith(u"org.openxmlformats."))
        return true;
    if (facts.contentType == u"org.freedesktop.desktop-application")
        return true;
    return type->conforms(UTType::image()) || type->conforms(UTType::audio()) || type->conforms(UTType::movie()) || type->conforms(UTType::pdf())
        || type->conforms(UTType::text());
}

std::vector<std::unique_ptr<Extractor>> workerExtractors(ParseWorkers::Priority priority)
{
    std::vector<std::unique_ptr<Extractor>> all;
    all.push_back(std::make_unique<WorkerExtractor>(priority));
    all.push_back(extractors::makeWhereFromsExtractor());
    return all;
}

} // namespace mdindex
