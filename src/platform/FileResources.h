#pragma once

#include "UTType.h"

#include <QDateTime>
#include <QFlags>
#include <QString>

#include <optional>

// What can be asked of the file system about one file, and the answers. Only the keys asked for are
// computed: the content type may read the file's first bytes, the rest is one statx call.
enum class ResourceKey : quint8 {
    fileSize = 1 << 0,
    contentModificationDate = 1 << 1,
    creationDate = 1 << 2,
    isDirectory = 1 << 3,
    isPackage = 1 << 4,
    contentType = 1 << 5,
    localizedName = 1 << 6,
};
Q_DECLARE_FLAGS(ResourceKeys, ResourceKey)
Q_DECLARE_OPERATORS_FOR_FLAGS(ResourceKeys)

struct ResourceValues {
    std::optional<qint64> fileSize; // regular files only
    std::optional<QDateTime> contentModificationDate;
    std::optional<QDateTime> creationDate; // where the file system keeps a birth time
    bool isDirectory = false;
    bool isPackage = false;
    std::optional<UTType> contentType;
    std::optional<QString> localizedName;
};

// Symbolic links are followed; a link whose target is gone describes the link itself. No value when
// the path cannot be examined at all (missing, or a folder above it is unreadable).
std::optional<ResourceValues> resourceValues(const QString &path, ResourceKeys keys);
