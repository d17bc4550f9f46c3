#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QQuickAsyncImageProvider>
#include <QThreadPool>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class Thumbnails;

// The addresses QML gives its images: a file's picture at a side in points, or a file's own icon.
// The file's URL travels base64url-encoded, so no byte of a name is lost or taken for a separator.
class ImageSources : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    explicit ImageSources(QObject *parent = nullptr);

    Q_INVOKABLE static QUrl thumbnail(const QUrl &file, int side);
    Q_INVOKABLE static QUrl icon(const QUrl &file);
    // The icon of the application that opens this kind of file; a blank picture when none does.
    Q_INVOKABLE static QUrl defaultApp(const QUrl &file);
    // The file's own picture, upright, at most `pixels` along its longer side.
    Q_INVOKABLE static QUrl preview(const QUrl &file, int pixels);
    // Page `page` (from 0) of a PDF, drawn `side` pixels along its longer side.
    Q_INVOKABLE static QUrl pdfPage(const QUrl &file, int page, int side);

    // The file URL inside an image id; empty when the id is malformed.
    static QUrl fileOf(const QString &encoded);
    // Pictures asked for and not yet answered, over every provider; the snapshot waits for them.
    static int pending();
    static QString encode(const QUrl &file);
};

// "image://thumbnail/<side>/<file>": the file's picture from Thumbnails, made off the main thread and
// given up when the tile scrolls away first. A file with no picture of its own answers a 1×1
// transparent image, which tells the tile to draw its placeholder.
class ThumbnailProvider : public QQuickAsyncImageProvider
{
public:
    explicit ThumbnailProvider(Thumbnails &thumbnails);
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override;

private:
    Thumbnails &m_thumbnails;
};

// "image://fileicon/<file>": the icon the desktop shows for the file or folder.
// "image://appicon/<file>": the icon of the application that opens the file.
class FileIconProvider : public QQuickAsyncImageProvider
{
public:
    enum class Kind { file, defaultApp };
    explicit FileIconProvider(Kind kind = Kind::file);
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override;

private:
    Kind m_kind;
    QThreadPool m_pool;
};

// "image://preview/<pixels>/<file>": the picture of a file at length, decoded by a parsing worker (JPEG
// at a reduced scale, HEIC, camera RAW, orientation applied). "image://pdfpage/<page>/<side>/<file>":
// one page of a PDF drawn by a worker. A file that holds no picture answers a 1×1 transparent image.
class DocumentPictureProvider : public QQuickAsyncImageProvider
{
public:
    enum class Kind { picture, pdfPage };
    explicit DocumentPictureProvider(Kind kind);
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override;

private:
    Kind m_kind;
    QThreadPool m_pool;
};
