#pragma once

#include <QJsonObject>

class QCommandLineParser;
struct FileItem;

// velk-find --collections, --cleanup and --sources: the collections, the clean-up suggestions and the
// download sources as the app computes them, from the index as it stands, without a window.
namespace Reports {

// One file as every JSON answer of velk-find gives it. "path" is the path with bytes that are not
// UTF-8 shown as U+FFFD; only such a path also has "pathBytes", the exact bytes in base64.
QJsonObject itemJson(const FileItem &item);

void addOptions(QCommandLineParser &parser);
bool requested(const QCommandLineParser &parser);
// Prints the reports asked for (as JSON with --json, over the --scope folders if given) and returns the
// exit code.
int run(const QCommandLineParser &parser);

} // namespace Reports
