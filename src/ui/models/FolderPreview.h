#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QUrl>
#include <QVariantList>

struct FileItem;

// What a folder card shows of a folder: its name, how many entries it has (0 when it cannot be read)
// and its four newest pictures or documents, read off the main thread.
class FolderPreview : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl url READ url WRITE setUrl NOTIFY urlChanged)
    Q_PROPERTY(QString title READ title NOTIFY urlChanged)
    Q_PROPERTY(int count READ count NOTIFY loaded)
    Q_PROPERTY(QVariantList previews READ previews NOTIFY loaded)

public:
    static constexpr int kPreviews = 4;

    explicit FolderPreview(QObject *parent = nullptr);

    QUrl url() const { return m_url; }
    void setUrl(const QUrl &url);
    QString title() const;
    // -1 until the folder was read.
    int count() const { return m_count; }
    QVariantList previews() const { return m_previews; }

    // The entries worth a preview, newest first: neither folders nor of the "other" kind.
    static QList<FileItem> previewItems(const QList<FileItem> &entries);

Q_SIGNALS:
    void urlChanged();
    void loaded();

private:
    QUrl m_url;
    int m_count = -1;
    QVariantList m_previews;
};
