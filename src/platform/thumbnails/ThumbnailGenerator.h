#pragma once

#include "UTType.h"

#include <QImage>
#include <QString>

#include <atomic>
#include <optional>

// Pictures of a file's contents: the picture itself (turned upright), the first page of a PDF, a frame
// of a video, the cover art of a song. Runs on any thread; every kind of broken file gives a null image.
namespace ThumbnailGenerator {

enum class Kind { none, picture, heif, cameraRaw, pdf, video, audio };

// What kind of picture the file can give, by its type (name first, contents where the name says
// nothing); `none` for files without a picture of their own, and for files that are gone.
Kind kindOf(const QString &path);
// The same for a type already known.
Kind kindOf(const std::optional<UTType> &type);

// A picture whose longer side is at most `pixels` (smaller pictures stay as they are). A null image when
// the file cannot be read, holds no picture (a song without cover art), or `cancelled` was set before
// the costly part began.
QImage generate(const QString &path, Kind kind, int pixels, const std::atomic<bool> *cancelled = nullptr);

// Lets the calling thread give way to the user interface: generating pictures is background work that
// the person is waiting for, so it ranks above the indexer and below everything on screen.
void lowerThreadPriority();

} // namespace ThumbnailGenerator
