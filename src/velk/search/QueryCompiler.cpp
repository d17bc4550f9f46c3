// The operations of ParsedQuery that look at a finished parse: the metadata query text, the chips and
// the in-memory test.
#include "FilePath.h"
#include "ParsedQuery.h"

#include "models/FileItem.h"
#include "models/Fmt.h"

#include <QFileInfo>

namespace {

// Typed text inside a quoted query string: backslashes first, then quotes, then stars, so that a typed
// star is a star and not a wildcard.
QString escaped(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1StringView("\\\\"));
    text.replace(QLatin1Char('"'), QLatin1StringView("\\\""));
    text.replace(QLatin1Char('*'), QLatin1StringView("\\*"));
    return text;
}

QString isoTime(const QDateTime &when)
{
    return QStringLiteral("$time.iso(") + when.toUTC().toString(Qt::ISODate) + QLatin1Char(')');
}

QString range(QLatin1StringView attribute, const std::optional<QDateTime> &after, const std::optional<QDateTime> &before)
{
    QStringList pieces;
    if (after)
        pieces.append(attribute + QStringLiteral(" >= ") + isoTime(*after));
    if (before)
        pieces.append(attribute + QStringLiteral(" < ") + isoTime(*before));
    return QLatin1Char('(') + pieces.join(QLatin1StringView(" && ")) + QLatin1Char(')');
}

QString capitalized(const QString &word)
{
    return word.left(1).toUpper() + word.mid(1).toLower();
}

} // namespace

QString ParsedQuery::termClause(const QString &term, bool includeContent)
{
    const QString e = escaped(term);
    QStringList pieces;
    for (const char *key : {"kMDItemFSName", "kMDItemTitle", "kMDItemAuthors", "kMDItemAlbum"})
        pieces.append(QLatin1StringView(key) + QStringLiteral(" == \"*") + e + QStringLiteral("*\"cd"));
    // One- and two-letter terms would match nearly every text; they only search names.
    if (includeContent && term.size() > 2)
        pieces.append(QStringLiteral("kMDItemTextContent == \"") + e + QStringLiteral("*\"cdw"));
    return QLatin1Char('(') + pieces.join(QLatin1StringView(" || ")) + QLatin1Char(')');
}

bool ParsedQuery::isStructured() const
{
    return category || !extensions.isEmpty() || screenshotsOnly || after || before || minSize || maxSize || camera || source || folder;
}

QString ParsedQuery::spotlightQuery() const
{
    QStringList clauses;
    if (category)
        clauses.append(QLatin1Char('(') + category->spotlightQuery() + QLatin1Char(')'));
    if (screenshotsOnly)
        clauses.append(QStringLiteral("kMDItemIsScreenCapture == 1"));
    if (!extensions.isEmpty()) {
        QStringList names;
        for (const QString &ext : extensions)
            names.append(QStringLiteral("kMDItemFSName == \"*.") + escaped(ext) + QStringLiteral("\"c"));
        clauses.append(QLatin1Char('(') + names.join(QLatin1StringView(" || ")) + QLatin1Char(')'));
    }
    if (after || before) {
        // A photo taken in March and touched in May is found under both months.
        clauses.append(QLatin1Char('(') + range(QLatin1StringView("kMDItemFSContentChangeDate"), after, before) + QStringLiteral(" || ")
            + range(QLatin1StringView("kMDItemContentCreationDate"), after, before) + QLatin1Char(')'));
    }
    if (minSize)
        clauses.append(QStringLiteral("kMDItemFSSize >= ") + QString::number(*minSize));
    if (maxSize)
        clauses.append(QStringLiteral("kMDItemFSSize <= ") + QString::number(*maxSize));
    if (camera) {
        const QString e = escaped(*camera);
        clauses.append(
            QStringLiteral("(kMDItemAcquisitionModel == \"*") + e + QStringLiteral("*\"cd || kMDItemAcquisitionMake == \"*") + e + QStringLiteral("*\"cd)"));
    }
    if (source)
        clauses.append(source->spotlightClause());
    for (const QString &term : terms)
        clauses.append(termClause(term, true));

    if (clauses.isEmpty())
        return termClause(raw, true);
    const QString all = clauses.join(QLatin1StringView(" && "));
    if (!isStructured())
        return all;
    // Whatever the words were read as, a file named after the whole typed text is still found.
    return QLatin1Char('(') + all + QStringLiteral(") || ") + termClause(raw, false);
}

QStringList ParsedQuery::chips() const
{
    if (!isStructured())
        return {};
    QStringList chips;
    if (kindLabel)
        chips.append(*kindLabel);
    if (dateLabel)
        chips.append(*dateLabel);
    if (minSize)
        chips.append(QStringLiteral("Over ") + Fmt::bytes(*minSize));
    if (maxSize)
        chips.append(QStringLiteral("Under ") + Fmt::bytes(*maxSize));
    if (camera) {
        QString name = capitalized(*camera);
        name.replace(QLatin1StringView("Iphone"), QLatin1StringView("iPhone"));
        name.replace(QLatin1StringView("Ipad"), QLatin1StringView("iPad"));
        chips.append(QStringLiteral("Shot on ") + name);
    }
    if (source)
        chips.append(QStringLiteral("From ") + source->name);
    if (folder)
        chips.append(QStringLiteral("In ") + folder->title);
    return chips;
}

bool ParsedQuery::matches(const FileItem &item) const
{
    // Camera data is not part of a FileItem.
    if (camera)
        return false;
    if (source) {
        if (item.category == FileCategory::folders)
            return false;
        const auto itemSource = DownloadSources::source(item.url);
        if (!itemSource || itemSource->name != source->name)
            return false;
    }
    if (category && item.category != *category)
        return false;
    if (!extensions.isEmpty() && !extensions.contains(QFileInfo(item.url.path()).suffix().toLower()))
        return false;
    const QDateTime earliest = item.created ? std::min(item.modified, *item.created) : item.modified;
    if (after && item.modified < *after && earliest < *after)
        return false;
    if (before && earliest >= *before)
        return false;
    if (minSize && item.size < *minSize)
        return false;
    if (maxSize && item.size > *maxSize)
        return false;
    if (folder && !item.path().startsWith(FilePath::fromUrl(folder->url) + QLatin1Char('/')))
        return false;
    return true;
}
