#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

// File names on Linux are bytes. Velk carries paths as QString with every byte that is not part of
// valid UTF-8 kept as a lone low surrogate U+DC80..U+DCFF (the byte plus 0xDC00), so that the exact
// name survives a round trip through the index, the store, URLs and every action. Valid UTF-8 never
// decodes to a lone surrogate, so the mapping is exact in both directions.
//
// Use these instead of QFile::encodeName/decodeName, which replace undecodable bytes with U+FFFD.
namespace FilePath {

// Bytes from the file system to a path string.
QString fromNative(QByteArrayView bytes);
// A path string back to the bytes the file system knows it by.
QByteArray toNative(QStringView path);
// Whether the path holds bytes that are not valid UTF-8.
bool hasUndecodable(QStringView path);
// The path for people: each undecodable byte shown as U+FFFD.
QString display(QStringView path);
// The path for a terminal: control characters and undecodable bytes escaped as \t, \n, \xHH, and a
// backslash as "\\", so a printed line is always one line and never moves the cursor.
QString escaped(QStringView path);

// A file:// URL that carries the exact bytes (undecodable bytes percent-encoded as themselves).
QUrl toUrl(const QString &path);
// The path of a file:// URL, undecodable percent-encoded bytes included; empty for other schemes.
QString fromUrl(const QUrl &url);

} // namespace FilePath
