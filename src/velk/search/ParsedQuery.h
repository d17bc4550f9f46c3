#pragma once

#include "models/Destinations.h"
#include "models/FileCategory.h"
#include "sources/DownloadSources.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

struct FileItem;

// What a typed search was understood to mean: structured constraints, and the words left over as plain
// search terms.
struct ParsedQuery {
    QString raw;
    // Quoted phrases first, then the left-over words.
    QStringList terms;
    std::optional<FileCategory> category;
    // Lower case, without the dot.
    QStringList extensions;
    bool screenshotsOnly = false;
    std::optional<QString> kindLabel;
    std::optional<QDateTime> after; // inclusive
    std::optional<QDateTime> before; // exclusive
    std::optional<QString> dateLabel;
    std::optional<qint64> minSize;
    std::optional<qint64> maxSize;
    std::optional<QString> camera;
    std::optional<DownloadSource> source;
    // Narrows the search scope; not part of the query text.
    std::optional<Location> folder;

    friend bool operator==(const ParsedQuery &, const ParsedQuery &) = default;

    // The metadata query text for everything understood, with the whole typed text as a safety net
    // on file names and titles when anything was understood.
    QString spotlightQuery() const;
    // Anything but plain terms was understood.
    bool isStructured() const;
    // The labels of what was understood, in the order they are shown.
    QStringList chips() const;
    // The same constraints tested on one file in memory; terms and screenshotsOnly are not tested,
    // and a camera constraint never matches.
    bool matches(const FileItem &item) const;

    // A term searched in names, titles, authors and albums, and, for terms longer than two
    // characters, as a word prefix in the file's text.
    static QString termClause(const QString &term, bool includeContent);
};
