#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// Reads one extended attribute of a file, following symbolic links. No value when the file or the
// attribute is missing, the file system keeps no attributes, or the value is larger than `limit`.
std::optional<QByteArray> readExtendedAttribute(const QString &path, const char *name, qsizetype limit = 64 * 1024);

// The addresses a browser or downloader stamped on a file: user.xdg.origin.url, then
// user.xdg.referrer.url, each trimmed, the empty ones left out.
QStringList readWhereFroms(const QString &path);
