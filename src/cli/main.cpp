#include "FilePath.h"
#include "Reports.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/Query.h"
#include "mdindex/WorkerExtractors.h"
#include "models/Fmt.h"
#include "search/NaturalSearch.h"
#include "search/Spotlight.h"
#include "worker/FailedFiles.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QMap>

#include <cstdio>
#include <unistd.h>

// velk-find: the metadata index from a terminal. Natural language by default,
// the query language with --raw; --update brings the index up to date first.
namespace {

void print(const QString &text, FILE *stream = stdout)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

int update(mdindex::MetadataIndex &index, bool basicOnly)
{
    const bool terminal = ::isatty(STDERR_FILENO);
    const QLocale locale;
    // "Walking: …" while the walk runs, then "Extracting: N of M …" while file contents are read.
    const auto line = [&locale](const mdindex::UpdateProgress &p) {
        const QString walked = QStringLiteral("%1 folders, %2 entries (%3 new, %4 changed, %5 removed)")
                                   .arg(locale.toString(p.folders), locale.toString(p.entries), locale.toString(p.added), locale.toString(p.changed),
                                       locale.toString(p.removed));
        if (!p.extracting)
            return QStringLiteral("Walking: ") + walked;
        return QStringLiteral("Extracting: %1 of %2 files; walked %3").arg(locale.toString(p.extracted), locale.toString(p.toExtract), walked);
    };
    const auto progress = [&](const mdindex::UpdateProgress &p) {
        if (terminal)
            print(QLatin1Char('\r') + line(p) + QStringLiteral("\x1b[K"), stderr);
    };
    const mdindex::UpdateProgress done = basicOnly ? index.updateBasic(progress) : index.update(progress);
    QString last = line(done);
    if (basicOnly) {
        const qint64 pending = index.pendingExtractions();
        last += QStringLiteral("; %1 files to read on the next full update").arg(locale.toString(pending));
    }
    print((terminal ? QStringLiteral("\r") : QString()) + last + (terminal ? QStringLiteral("\x1b[K\n") : QStringLiteral("\n")), stderr);
    return 0;
}

// Where the query stopped making sense: the place, what was wanted, and a caret under a short
// excerpt (never the whole text, which may be long).
void printQueryError(const mdindex::QueryError &error)
{
    qsizetype indent = 0;
    for (qsizetype i = 0; i < error.caret && i < error.excerpt.size(); ++i)
        indent += error.excerpt.at(i).isLowSurrogate() ? 0 : 1;
    print(QStringLiteral("velk-find: the query stops making sense at character %1: %2\n  %3\n  %4^\n")
              .arg(QString::number(error.column), error.problem, error.excerpt, QString(indent, QLatin1Char(' '))),
        stderr);
}

QString rebuildLine(const mdindex::RebuildNote &note)
{
    return QStringLiteral("The index was rebuilt on %1: %2").arg(note.when.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm")), note.why);
}

void status(const mdindex::MetadataIndex &index)
{
    const QLocale locale;
    QMap<int, qint64> byKind;
    const qint64 records = index.read([&byKind](const mdindex::Catalog &catalog) {
        QHash<QString, int> kindOfType;
        for (mdindex::Catalog::Row row = 0; row < mdindex::Catalog::Row(catalog.rowCount()); ++row) {
            if (!catalog.isLive(row))
                continue;
            const QString type = catalog.value(row, MDAttribute::contentType).toString();
            auto it = kindOfType.find(type);
            if (it == kindOfType.end())
                it = kindOfType.insert(type, FileCategory::classify(UTType::fromIdentifier(type), false).index());
            byKind[*it] += 1;
        }
        return qint64(catalog.liveCount());
    });
    qint64 storeBytes = 0;
    for (const char *suffix : {"", "-wal"})
        storeBytes += QFileInfo(index.storePath() + QLatin1StringView(suffix)).size();
    QString out = QStringLiteral("Store:        %1 (%2)\n").arg(index.storePath(), Fmt::bytes(storeBytes));
    out += QStringLiteral("Last update:  %1\n").arg(index.lastUpdate().isEmpty() ? QStringLiteral("never") : index.lastUpdate());
    out += QStringLiteral("Records:      %1\n").arg(locale.toString(records));
    for (auto it = byKind.cbegin(); it != byKind.cend(); ++it)
        out += QStringLiteral("  %1 %2\n").arg(FileCategory::allCases().at(it.key()).title() + QLatin1Char(':'), -11).arg(locale.toString(it.value()));
    out += QStringLiteral("Text:         %1\n").arg(Fmt::bytes(index.textBytes()));
    out += QStringLiteral("Roots:        %1\n").arg(index.options().roots.join(QStringLiteral(", ")));
    // Files that took a parsing worker down are listed so that a person can see what was left unread.
    const QList<FailedFiles::Entry> unreadable = FailedFiles::all();
    out += QStringLiteral("Unreadable:   %1\n")
               .arg(unreadable.isEmpty() ? QStringLiteral("none") : QStringLiteral("%1 (%2)").arg(locale.toString(unreadable.size()), FailedFiles::location()));
    for (const FailedFiles::Entry &entry : unreadable.mid(0, 20))
        out += QStringLiteral("  %1 %2\n").arg(entry.reason + QLatin1Char(':'), -15).arg(FilePath::escaped(entry.path));
    out += QStringLiteral("Worker:       %1\n")
               .arg(ParseWorkers::program().isEmpty() ? QStringLiteral("not found: file contents cannot be read") : ParseWorkers::program());
    if (const auto note = index.lastRebuild())
        out += rebuildLine(*note) + QLatin1Char('\n');
    print(out);
}

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
        o[QStringLiteral("folder")] = FilePath::display(FilePath::fromUrl(q.folder->url));
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
        line("Folder:", FilePath::escaped(FilePath::fromUrl(q.folder->url)));
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
    parser.setApplicationDescription(
        QStringLiteral("Find files in your home folders by what you remember of them.\n\n"
                       "Paths are printed one per line. On a terminal, control characters and bytes that are not UTF-8 are escaped\n"
                       "(\\n, \\t, \\xHH, and \\\\ for a backslash); into a pipe or a file, each path is written as its exact bytes.\n"
                       "With -0 every path is written as its exact bytes followed by a NUL, for xargs -0. With --json, \"path\"\n"
                       "shows bytes that are not UTF-8 as U+FFFD, and such paths also carry \"pathBytes\", the exact bytes in base64."));
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
        {{QStringLiteral("0"), QStringLiteral("null")}, QStringLiteral("End each path with a NUL instead of a newline, and print it as its exact bytes.")},
        {QStringLiteral("update"), QStringLiteral("Bring the index up to date: walk the folders, then read the contents of new and changed files.")},
        {QStringLiteral("basic"), QStringLiteral("With --update: only walk (names, sizes, dates, kinds); contents are read by the next full update.")},
        {QStringLiteral("explain"), QStringLiteral("Show how the text was understood, and the query it becomes.")},
        {QStringLiteral("status"), QStringLiteral("Show what the index holds.")},
    });
    Reports::addOptions(parser);
    // The arguments as the exact bytes they were given in, so that a --scope folder whose name is not
    // UTF-8 is the real folder.
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(FilePath::fromNative(argv[i]));
    parser.process(arguments);

    // --cleanup and --sources answer on their own, from the index as it stands.
    if (Reports::requested(parser))
        return Reports::run(parser);

    const QString text = parser.positionalArguments().join(QLatin1Char(' '));
    if (text.isEmpty() && !parser.isSet(QStringLiteral("raw")) && !parser.isSet(QStringLiteral("update")) && !parser.isSet(QStringLiteral("status"))) {
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

    mdindex::MetadataIndex index(mdindex::MetadataIndex::defaultOptions());
    for (auto &extractor : mdindex::workerExtractors(ParseWorkers::Priority::interactive))
        index.addExtractor(std::move(extractor));
    if (!index.open()) {
        print(QStringLiteral("velk-find: cannot open the index at %1\n").arg(index.options().storePath), stderr);
        return 1;
    }
    if (parser.isSet(QStringLiteral("update"))) {
        update(index, parser.isSet(QStringLiteral("basic")));
        // The update filled the new store; what is left to say is that it had to.
        if (index.storeWasRebuilt()) {
            const auto note = index.lastRebuild();
            print(QStringLiteral("velk-find: the index was damaged and has been rebuilt (%1)\n").arg(note ? note->why : QString()), stderr);
        }
        if (text.isEmpty() && !parser.isSet(QStringLiteral("raw")) && !parser.isSet(QStringLiteral("status")))
            return 0;
    }
    if (parser.isSet(QStringLiteral("status"))) {
        status(index);
        return 0;
    }

    QString queryText;
    QList<QUrl> scopes;
    for (const QString &scope : parser.values(QStringLiteral("scope")))
        scopes.append(FilePath::toUrl(QDir(scope).absolutePath()));
    if (parser.isSet(QStringLiteral("raw"))) {
        queryText = parser.value(QStringLiteral("raw"));
        mdindex::QueryError error;
        if (!mdindex::Query::parse(queryText, &error)) {
            printQueryError(error);
            return 2;
        }
    } else {
        // As the app searches: the folder named in the text is the only scope.
        const ParsedQuery parsed = NaturalSearch::parse(text);
        queryText = parsed.spotlightQuery();
        if (parsed.folder)
            scopes = {parsed.folder->url};
    }

    bool limitOk = true;
    const int limit = parser.isSet(QStringLiteral("limit")) ? parser.value(QStringLiteral("limit")).toInt(&limitOk) : std::numeric_limits<int>::max();
    if (!limitOk || limit < 0) {
        print(QStringLiteral("velk-find: --limit takes a whole number\n"), stderr);
        return 2;
    }
    const bool empty = index.read([](const mdindex::Catalog &catalog) { return catalog.liveCount() == 0; });
    if (empty)
        print(QStringLiteral("velk-find: the index is empty; run velk-find --update first\n"), stderr);

    const bool countOnly = parser.isSet(QStringLiteral("count"));
    const SpotlightResult result = Spotlight::collect(index, queryText, scopes, parser.value(QStringLiteral("sort")), countOnly ? 0 : limit);
    if (countOnly) {
        print(QString::number(result.totalCount) + QLatin1Char('\n'));
    } else if (parser.isSet(QStringLiteral("json"))) {
        QJsonArray items;
        for (const FileItem &item : result.items)
            items.append(Reports::itemJson(item));
        QJsonObject o;
        o[QStringLiteral("query")] = queryText;
        o[QStringLiteral("totalCount")] = result.totalCount;
        o[QStringLiteral("totalSize")] = result.totalSize;
        o[QStringLiteral("items")] = items;
        std::fputs(QJsonDocument(o).toJson(QJsonDocument::Indented).constData(), stdout);
    } else {
        // Exact bytes for programs, one safe line per path for people.
        const bool nul = parser.isSet(QStringLiteral("null"));
        const bool terminal = !nul && ::isatty(STDOUT_FILENO);
        QByteArray out;
        for (const FileItem &item : result.items) {
            const QString path = item.path();
            out += terminal ? FilePath::escaped(path).toUtf8() : FilePath::toNative(path);
            out += nul ? '\0' : '\n';
        }
        std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
    }
    // Found damaged by this run: what the store had of file contents is gone until they are read
    // again, so the answer may be short. Said, and told apart from a complete answer by the status.
    if (!parser.isSet(QStringLiteral("update")) && index.isChecked() && index.storeWasRebuilt()) {
        const auto note = index.lastRebuild();
        print(QStringLiteral("velk-find: the index was damaged and has been rebuilt (%1); run velk-find --update to read the contents of files again\n")
                  .arg(note ? note->why : QString()),
            stderr);
        return 3;
    }
    return 0;
}
