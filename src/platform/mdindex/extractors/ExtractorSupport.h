#pragma once

#include "InputFile.h"
#include "mdindex/Catalog.h"

#include <QByteArray>
#include <QString>

namespace mdindex::extractors {

// At most this much of a text file is read, and at most this many characters of text are kept per
// file: enough for search, small enough for the store and for time per file.
inline constexpr qint64 kTextReadLimit = 4 * 1024 * 1024;
inline constexpr qsizetype kTextKeepLimit = 1024 * 1024;

using ::InputFile;

bool conforms(const FileFacts &facts, const UTType &type);
bool conforms(const FileFacts &facts, QStringView identifier);

// Text from bytes of unknown encoding: UTF-16 or UTF-8 by their byte order mark, UTF-8 when the bytes
// are valid UTF-8 (a sequence cut by the read limit at the end is fine), else Latin-1.
QString decodeText(QByteArrayView bytes);
// Cuts text to kTextKeepLimit without splitting a surrogate pair.
void capText(QString &text);

// Inflates a raw deflate stream (zlib: windowBits -15 when `raw`, else a zlib stream), stopping at
// `limit` bytes of output. Whatever came out before an error is returned.
QByteArray inflateBytes(QByteArrayView compressed, qsizetype limit, bool raw);
// The same for a gzip file (a compressed SVG).
QByteArray gunzipBytes(QByteArrayView compressed, qsizetype limit);

} // namespace mdindex::extractors
