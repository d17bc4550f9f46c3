#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

// The desktop's shared thumbnail cache under $XDG_CACHE_HOME/thumbnails, as file managers keep it: one
// PNG per file and size, named by the MD5 of the file's URI, carrying the URI and the file's
// modification time so that a changed file is never shown with its old picture.
namespace ThumbnailCache {

enum class Flavor { normal, large, xLarge, xxLarge };

struct Source {
    QString path;
    QByteArray uri;
    qint64 mtime = 0; // seconds, as stat gives them
    qint64 size = 0;

    // No value when the file cannot be examined.
    static std::optional<Source> of(const QString &path);
};

// The longest side a picture of this flavor may have: 128, 256, 512 or 1024 pixels.
int maximumSide(Flavor flavor);
QString folderName(Flavor flavor);
// The smallest flavor that holds pictures of `pixels` at full size; the largest one beyond.
Flavor flavorFor(int pixels);

QString root();
// A local path as a file URI in the escaping GLib uses, so the names match the other programs'.
QByteArray fileUri(const QString &path);
// "<md5 of the URI>.png"
QString fileName(const QByteArray &uri);
QString pathFor(const QByteArray &uri, Flavor flavor);

// A stored picture of this flavor or a larger one, if it belongs to this version of the file.
std::optional<QImage> read(const Source &source, Flavor smallest);
// Stores `image` (at most the flavor's side) atomically and readable by the user alone. Files inside
// the cache itself are never stored.
bool write(const Source &source, Flavor flavor, const QImage &image, const QString &mimeType);

// Failures are remembered per program, as the cache's conventions ask, so a broken file is not decoded
// again until it changes.
bool hasFailed(const Source &source);
bool writeFailure(const Source &source);

} // namespace ThumbnailCache
