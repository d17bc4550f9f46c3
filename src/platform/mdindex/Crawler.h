#pragma once

#include "Catalog.h"

#include <QString>

#include <memory>
#include <vector>

namespace mdindex {

// Reads attributes from a file's contents for the index (pictures, media, documents). Called off the
// main thread, for new and changed files only; must cope with any bytes a file may hold.
class Extractor
{
public:
    virtual ~Extractor();
    virtual bool wants(const FileFacts &facts) const = 0;
    virtual void extract(const QString &path, const FileFacts &facts, ExtractedAttributes &into) const = 0;
};

// Thrown by an extractor that cannot read anything at the moment, whatever the file (its reader program
// is missing or cannot start): the file is left pending and read when extraction runs next, rather
// than recorded as read with nothing in it.
struct ExtractionUnavailable {
};

// One directory entry as the walk finds it.
struct WalkEntry {
    FileFacts facts;
    // A folder the walk goes into: not hidden, not a bundle or dependency folder, not another file
    // system, not a symbolic link.
    bool descend = false;
};

namespace Crawler {

    // The entries of one folder, with their basic facts (no content type yet). `device` is the file
    // system of the root: folders on other file systems are recorded but not entered. False when the
    // folder cannot be read; it then simply has no entries.
    bool list(const QString &folder, quint64 device, std::vector<WalkEntry> &entries);
    // Facts of a single path (a root), not following a final symbolic link.
    std::optional<FileFacts> stat(const QString &path);

    // Whether the walk records a folder of this name without looking inside: hidden folders, bundles,
    // libraries and dependency folders.
    bool isOpaqueFolder(QStringView name);

    // The type identifier of an entry: by name where the name decides, by contents where it does not.
    // Remembers per thread what each name ending gave.
    QString contentType(const QString &folder, const FileFacts &facts);

} // namespace Crawler
} // namespace mdindex
