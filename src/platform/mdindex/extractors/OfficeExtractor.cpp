#include "ExtractorSupport.h"
#include "Extractors.h"
#include "ZipReader.h"

#include <QRegularExpression>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace mdindex::extractors {

namespace {

    // Markup outweighs the text in office XML several times over.
    constexpr qsizetype kMaxXml = 16 * 1024 * 1024;
    constexpr qsizetype kMaxMetaXml = 256 * 1024;
    constexpr int kMaxSlides = 2000;

    // Appends the character data of an office XML part: paragraphs, headings, table cells and shared
    // strings end a line; tabs and ODF's space runs keep words apart. Field codes and deleted text of
    // tracked changes are not the document's text. A damaged part gives what came before the damage.
    void appendXmlText(const QByteArray &xml, QString &text)
    {
        QXmlStreamReader reader(xml);
        int skipping = 0;
        while (!reader.atEnd() && text.size() < kTextKeepLimit) {
            switch (reader.readNext()) {
            case QXmlStreamReader::StartElement: {
                const QStringView name = reader.name();
                if (skipping || name == u"instrText" || name == u"delText") {
                    ++skipping;
                } else if (name == u"tab") {
                    text += u'\t';
                } else if (name == u"s" && reader.namespaceUri().startsWith(u"urn:oasis:names:tc:opendocument")) {
                    text += u' ';
                } else if (name == u"br" || name == u"line-break") {
                    text += u'\n';
                }
                break;
            }
            case QXmlStreamReader::EndElement: {
                if (skipping) {
                    --skipping;
                    break;
                }
                const QStringView name = reader.name();
                if (name == u"p" || name == u"h" || name == u"si" || name == u"tc" || name == u"table-cell")
                    text += u'\n';
                break;
            }
            case QXmlStreamReader::Characters:
                if (!skipping)
                    text += reader.text();
                break;
            default:
                break;
            }
        }
    }

    // Title and authors from docProps/core.xml (OOXML) or meta.xml (ODF).
    void readMeta(const QByteArray &xml, ExtractedAttributes &into)
    {
        QXmlStreamReader reader(xml);
        QString title;
        QStringList authors;
        while (!reader.atEnd()) {
            if (reader.readNext() != QXmlStreamReader::StartElement)
                continue;
            const QStringView name = reader.name();
            const bool isTitle = name == u"title";
            if (!isTitle && name != u"creator" && name != u"initial-creator")
                continue;
            const QString value = reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed().left(1024);
            if (value.isEmpty())
                continue;
            if (isTitle && title.isEmpty())
                title = value;
            else if (!isTitle && !authors.contains(value))
                authors.append(value);
        }
        if (!title.isEmpty())
            into.insert(MDAttribute::title.toString(), title);
        if (!authors.isEmpty())
            into.insert(MDAttribute::authors.toString(), authors);
    }

    // Slides in the order shown: slide2 before slide10.
    QStringList slideParts(const ZipReader &zip)
    {
        static const QRegularExpression slide(u"^ppt/slides/slide(\\d+)\\.xml$"_s);
        QList<std::pair<int, QString>> found;
        for (const QString &name : zip.names()) {
            if (const auto match = slide.match(name); match.hasMatch())
                found.append({match.captured(1).toInt(), name});
        }
        std::sort(found.begin(), found.end());
        QStringList parts;
        for (qsizetype i = 0; i < std::min<qsizetype>(found.size(), kMaxSlides); ++i)
            parts.append(found[i].second);
        return parts;
    }

    class OfficeExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override
        {
            return facts.contentType.startsWith(u"org.oasis-open.opendocument.") || facts.contentType.startsWith(u"org.openxmlformats.");
        }

        void extract(const QString &path, const FileFacts &, ExtractedAttributes &into) const override
        {
            const InputFile file(path);
            if (!file.isOpen())
                return;
            const ZipReader zip(file);
            if (!zip.isValid())
                return;

            QStringList parts;
            QString metaPart;
            if (zip.contains(u"content.xml"_s)) {
                parts = {u"content.xml"_s};
                metaPart = u"meta.xml"_s;
            } else {
                parts = QStringList {u"word/document.xml"_s} + slideParts(zip) + QStringList {u"xl/sharedStrings.xml"_s};
                metaPart = u"docProps/core.xml"_s;
            }

            QString text;
            qsizetype budget = kMaxXml;
            for (const QString &part : parts) {
                if (budget <= 0 || text.size() >= kTextKeepLimit)
                    break;
                if (!zip.contains(part))
                    continue;
                const QByteArray xml = zip.read(part, budget);
                budget -= xml.size();
                appendXmlText(xml, text);
            }
            capText(text);
            if (!text.trimmed().isEmpty())
                into.insert(MDAttribute::textContent.toString(), text);
            if (zip.contains(metaPart))
                readMeta(zip.read(metaPart, kMaxMetaXml), into);
        }
    };

} // namespace

std::unique_ptr<Extractor> makeOfficeExtractor()
{
    return std::make_unique<OfficeExtractor>();
}

} // namespace mdindex::extractors
