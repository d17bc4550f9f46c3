#include "search/NaturalSearch.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

// velk-find: the metadata index from a terminal. Until the index exists it can show how a sentence is
// understood (--explain).
namespace {

QString local(const std::optional<QDateTime> &when)
{
    return when ? when->toLocalTime().toString(Qt::ISODate) : QString();
}

QJsonObject explainJson(const ParsedQuery &q)
{
    QJsonObject o;
    o[QStringLiteral("raw")] = q.raw;
    o[QStringLiteral("terms")] = QJsonArray::fromStringList(q.terms);
    if (q.category)
        o[QStringLiteral("category")] = q.category->rawValue();
    if (!q.extensions.isEmpty())
        o[QStringLiteral("extensions")] = QJsonArray::fromStringList(q.extensions);
    o[QStringLiteral("screenshotsOnly")] = q.screenshotsOnly;
    if (q.kindLabel)
        o[QStringLiteral("kindLabel")] = *q.kindLabel;
    if (q.after)
        o[QStringLiteral("after")] = local(q.after);
    if (q.before)
        o[QStringLiteral("before")] = local(q.before);
    if (q.dateLabel)
        o[QStringLiteral("dateLabel")] = *q.dateLabel;
    if (q.minSize)
        o[QStringLiteral("minSize")] = *q.minSize;
    if (q.maxSize)
        o[QStringLiteral("maxSize")] = *q.maxSize;
    if (q.camera)
        o[QStringLiteral("camera")] = *q.camera;
    if (q.source)
        o[QStringLiteral("source")] = q.source->name;
    if (q.folder)
        o[QStringLiteral("folder")] = q.folder->url.toLocalFile();
    o[QStringLiteral("structured")] = q.isStructured();
    o[QStringLiteral("chips")] = QJsonArray::fromStringList(q.chips());
    o[QStringLiteral("query")] = q.spotlightQuery();
    return o;
}

QString explainText(const ParsedQuery &q)
{
    QStringList lines;
    const auto line = [&lines](const char *label, const QString &value) {
        if (!value.isEmpty())
            lines.append(QStringLiteral("%1 %2").arg(QLatin1StringView(label), -10).arg(value));
    };
    line("Text:", q.raw);
    line("Terms:", q.terms.isEmpty() ? QStringLiteral("(none)") : QLatin1Char('"') + q.terms.join(QLatin1StringView("\", \"")) + QLatin1Char('"'));
    line("Kind:", q.category ? q.category->title() : q.extensions.join(QLatin1StringView(", ")));
    if (q.screenshotsOnly)
        line("Only:", QStringLiteral("screenshots"));
    if (q.after || q.before)
        line("Dates:",
            QStringLiteral("from %1 until %2")
                .arg(q.after ? local(q.after) : QStringLiteral("the beginning"), q.before ? local(q.before) : QStringLiteral("now")));
    if (q.minSize)
        line("Size:", QStringLiteral("at least %1 bytes").arg(*q.minSize));
    if (q.maxSize)
        line("Size:", QStringLiteral("at most %1 bytes").arg(*q.maxSize));
    if (q.camera)
        line("Camera:", *q.camera);
    if (q.source)
        line("Source:", q.source->name);
    if (q.folder)
        line("Folder:", q.folder->url.toLocalFile());
    line("Chips:", q.chips().join(QStringLiteral(" · ")));
    line("Query:", q.spotlightQuery());
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velk-find"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELK_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Find files in your home folders by what you remember of them."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("text"), QStringLiteral("What to look for, in everyday words (\"pdfs from last week\")."));
    parser.addOptions({
        {QStringLiteral("raw"), QStringLiteral("Run a query in the metadata query language."), QStringLiteral("query")},
        {QStringLiteral("scope"), QStringLiteral("Search only below <dir>; may be repeated."), QStringLiteral("dir")},
        {QStringLiteral("sort"), QStringLiteral("Sort descending by <attribute>."), QStringLiteral("attribute")},
        {QStringLiteral("limit"), QStringLiteral("Print at most <n> results."), QStringLiteral("n")},
        {QStringLiteral("count"), QStringLiteral("Print only the number of results.")},
        {QStringLiteral("json"), QStringLiteral("Print results as JSON.")},
        {QStringLiteral("update"), QStringLiteral("Bring the index up to date.")},
        {QStringLiteral("explain"), QStringLiteral("Show how the text was understood, and the query it becomes.")},
    });
    parser.process(app);

    const QString text = parser.positionalArguments().join(QLatin1Char(' '));
    if (text.isEmpty() && !parser.isSet(QStringLiteral("raw")) && !parser.isSet(QStringLiteral("update"))) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }

    if (parser.isSet(QStringLiteral("explain"))) {
        const ParsedQuery query = NaturalSearch::parse(text);
        const QByteArray out
            = parser.isSet(QStringLiteral("json")) ? QJsonDocument(explainJson(query)).toJson(QJsonDocument::Indented) : explainText(query).toUtf8();
        std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
        return 0;
    }

    std::fputs("velk-find: the index is not available in this build yet; try --explain.\n", stderr);
    return 3;
}
