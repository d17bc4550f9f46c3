#pragma once

#include "models/FileItem.h"
#include "search/Spotlight.h"

#include <QList>
#include <QStringList>

#include <optional>

// The names of files in their order, so that a failed comparison reads as a list of names.
inline QStringList names(const QList<FileItem> &files)
{
    QStringList out;
    for (const FileItem &file : files)
        out.append(file.name);
    return out;
}

// The names of an answer's items; none for no answer.
inline QStringList names(const std::optional<SpotlightResult> &result)
{
    return result ? names(result->items) : QStringList();
}
