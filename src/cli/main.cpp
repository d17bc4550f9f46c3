#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

// velk-find: the metadata index from a terminal. Until the index exists it only explains itself.
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
        {QStringLiteral("explain"), QStringLiteral("Show how the text was understood.")},
    });
    parser.process(app);

    if (parser.positionalArguments().isEmpty() && !parser.isSet(QStringLiteral("raw")) && !parser.isSet(QStringLiteral("update"))) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }
    std::fputs("velk-find: the index is not available in this build yet.\n", stderr);
    return 3;
}
