#pragma once

#include "mdindex/Catalog.h"

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <optional>

// The conversation between the program and its parsing workers: one request, one answer, each a
// frame of a 32-bit length and a QDataStream payload, over a local stream socket. Pictures travel as
// raw pixels, never encoded, so that neither side pays for compression.
namespace WorkerProtocol {

enum class Request : quint32 {
    // The attributes and text of a file for the index. Args: the facts (see writeFacts).
    // Answer: "attributes" (QVariantHash).
    extract = 1,
    // A thumbnail, stored into the shared cache by the worker. Args: "kind" (ThumbnailGenerator::Kind),
    // "pixels", "flavor". Answer: "image" (packed), empty when the file holds no picture.
    thumbnail = 2,
    // The text of a picture or a PDF. Answer: "text".
    recognizeText = 3,
    // The words of a picture with their boxes in the picture's own pixels. Answer: "text", "words"
    // (list of maps with "text" and "box"), "size".
    recognizeWords = 4,
    // An upright picture of the file at most "pixels" long. Answer: "image".
    picture = 5,
    // Page "page" of a PDF drawn "side" pixels long. Answer: "image", "pages".
    renderPage = 6,
};

// The file descriptor the worker finds its socket on.
inline constexpr int kSocketFd = 3;
// No frame is larger than this; a longer length is a broken peer.
inline constexpr quint32 kMaxFrame = 96u * 1024 * 1024;

// Exit statuses of the worker that say why it stopped.
inline constexpr int kExitOutOfMemory = 70;
inline constexpr int kExitBadRequest = 71;

// Writes the whole frame; false when the peer went away.
bool writeFrame(int fd, const QByteArray &payload);
// Reads one frame. Waits at most until `deadline` (none: for ever). No value on end of stream, an
// error or the deadline; `timedOut` tells the last apart.
std::optional<QByteArray> readFrame(int fd, std::optional<std::chrono::steady_clock::time_point> deadline = std::nullopt, bool *timedOut = nullptr);

QByteArray encodeRequest(Request request, const QString &path, const QVariantMap &args);
bool decodeRequest(const QByteArray &payload, Request &request, QString &path, QVariantMap &args);
QByteArray encodeAnswer(const QVariantMap &answer);
std::optional<QVariantMap> decodeAnswer(const QByteArray &payload);

QVariantMap packFacts(const mdindex::FileFacts &facts);
mdindex::FileFacts unpackFacts(const QVariantMap &args);

QByteArray packImage(const QImage &image);
QImage unpackImage(const QByteArray &bytes);

} // namespace WorkerProtocol
