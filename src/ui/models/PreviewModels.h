#pragma once

#include "Stores.h"

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

// How a file is shown at length: each kind has a view of its own in the preview.
namespace QuickLook {

// "picture", "video", "audio", "pdf", "text", "folder" or "other" (its icon, kind and size).
QString kindOf(const FileItem &item);

// Plain text is shown up to this many bytes.
inline constexpr qint64 kTextLimit = 1024 * 1024;

} // namespace QuickLook

// What the preview sheet shows around the file: the file on show, its place in the list it was opened
// from, which buttons apply, and what they do.
class PreviewSheetModel : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(bool open READ isOpen NOTIFY openChanged)
    Q_PROPERTY(QVariant item READ itemValue NOTIFY changed)
    Q_PROPERTY(QUrl url READ url NOTIFY changed)
    Q_PROPERTY(QString kind READ kind NOTIFY changed)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(int position READ position NOTIFY changed)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
    Q_PROPERTY(bool canGoForward READ canGoForward NOTIFY changed)
    Q_PROPERTY(bool canSelectText READ canSelectText NOTIFY changed)
    Q_PROPERTY(bool canCopyText READ canCopyText NOTIFY changed)
    Q_PROPERTY(bool showsLiveText READ showsLiveText NOTIFY changed)

public:
    explicit PreviewSheetModel(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    bool isOpen() const;
    QVariant itemValue() const;
    QUrl url() const;
    QString kind() const;
    QString name() const;
    // The file's subtitle and "{position} of {count}", joined by " · ".
    QString subtitle() const;
    // The file's index in the list, or -1 when it is not there.
    int position() const;
    bool canGoBack() const;
    bool canGoForward() const;
    // Pictures that can be read offer "Select Text"; whatever can be read offers "Copy Text".
    bool canSelectText() const;
    bool canCopyText() const;
    // The picture is shown with its words selectable.
    bool showsLiveText() const;

    Q_INVOKABLE void back();
    Q_INVOKABLE void forward();
    Q_INVOKABLE void close();
    Q_INVOKABLE void copyText();
    Q_INVOKABLE void showInFiles();
    Q_INVOKABLE void openExternally();

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void changed();
    // Only when the sheet opens or closes, not as it steps.
    void openChanged();

private:
    std::optional<FileItem> item() const;
    void update();
    Stores m_stores;
    bool m_open = false;
};

// The start of a plain text file, read off the main thread: at most the first megabyte, decoded as
// UTF-8 with anything else shown as replacement characters. Bytes with a NUL among the first few
// thousand are no text: they fail, and the preview shows the file's icon instead.
class TextFileModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl url READ url WRITE setUrl NOTIFY urlChanged)
    Q_PROPERTY(QString text READ text NOTIFY loaded)
    Q_PROPERTY(bool ready READ ready NOTIFY loaded)
    Q_PROPERTY(bool failed READ failed NOTIFY loaded)
    Q_PROPERTY(bool truncated READ truncated NOTIFY loaded)

public:
    explicit TextFileModel(QObject *parent = nullptr);

    QUrl url() const { return m_url; }
    void setUrl(const QUrl &url);
    QString text() const { return m_text; }
    bool ready() const { return m_ready; }
    // Not a regular file, or unreadable.
    bool failed() const { return m_failed; }
    // Only the first megabyte is shown.
    bool truncated() const { return m_truncated; }

    struct Read {
        QString text;
        bool failed = true;
        bool truncated = false;
    };
    static Read read(const QString &path, qint64 limit = QuickLook::kTextLimit);

Q_SIGNALS:
    void urlChanged();
    void loaded();

private:
    QUrl m_url;
    QString m_text;
    bool m_ready = false;
    bool m_failed = false;
    bool m_truncated = false;
};

// A PDF's number of pages and the shape of its first, asked of a parsing worker so that the preview
// can lay out every page before any is drawn.
class PdfDocumentModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl url READ url WRITE setUrl NOTIFY urlChanged)
    Q_PROPERTY(int pageCount READ pageCount NOTIFY loaded)
    Q_PROPERTY(double aspect READ aspect NOTIFY loaded)
    Q_PROPERTY(bool ready READ ready NOTIFY loaded)

public:
    explicit PdfDocumentModel(QObject *parent = nullptr);

    QUrl url() const { return m_url; }
    void setUrl(const QUrl &url);
    // 0 for a locked, damaged or missing document.
    int pageCount() const { return m_pageCount; }
    // Height over width of the first page.
    double aspect() const { return m_aspect; }
    bool ready() const { return m_ready; }

    // Pages are drawn this many pixels along their longer side, and never more.
    static constexpr int kPageSide = 1600;

Q_SIGNALS:
    void urlChanged();
    void loaded();

private:
    QUrl m_url;
    int m_pageCount = 0;
    double m_aspect = 1.294;
    bool m_ready = false;
};
