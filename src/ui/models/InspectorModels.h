#pragma once

#include "Stores.h"
#include "details/Metadata.h"
#include "sources/DownloadSources.h"

#include <QObject>
#include <QQmlEngine>
#include <QVariantList>

// What the inspector shows of one file beside its preview: the title and kind, the site it was
// downloaded from, whether its text can be read, and the information rows. The rows and the source are
// read off the main thread, each time the file changes.
class InspectorModel : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QVariant item READ itemValue WRITE setItemValue NOTIFY itemChanged)
    Q_PROPERTY(QUrl url READ url NOTIFY itemChanged)
    Q_PROPERTY(bool isFolder READ isFolder NOTIFY itemChanged)
    Q_PROPERTY(QString kind READ kind NOTIFY itemChanged)
    Q_PROPERTY(QString title READ title NOTIFY itemChanged)
    Q_PROPERTY(QString kindLine READ kindLine NOTIFY itemChanged)
    Q_PROPERTY(bool canReadText READ canReadText NOTIFY itemChanged)
    Q_PROPERTY(QString textTitle READ textTitle NOTIFY itemChanged)
    Q_PROPERTY(QVariantList rows READ rows NOTIFY detailsChanged)
    Q_PROPERTY(bool ready READ ready NOTIFY detailsChanged)
    Q_PROPERTY(QString sourceName READ sourceName NOTIFY detailsChanged)
    Q_PROPERTY(QString sourceSymbol READ sourceSymbol NOTIFY detailsChanged)

public:
    explicit InspectorModel(QObject *parent = nullptr);
    // Waits for a read under way: it reads the index, which may go next.
    ~InspectorModel() override;
    void setStores(const Stores &stores);

    QVariant itemValue() const;
    void setItemValue(const QVariant &value);
    void setItem(const std::optional<FileItem> &item);
    QUrl url() const { return m_item ? m_item->url : QUrl(); }
    bool isFolder() const { return m_item && m_item->isFolder(); }
    QString kind() const;
    QString title() const { return m_item ? m_item->displayTitle() : QString(); }
    // The kind, and the size for anything but a folder.
    QString kindLine() const;
    bool canReadText() const;
    // "Text in Image" for pictures, "Text" for the rest.
    QString textTitle() const;
    // {label, value}
    QVariantList rows() const;
    QList<DetailRow> detailRows() const { return m_rows; }
    bool ready() const { return m_ready; }
    QString sourceName() const { return m_source ? m_source->name : QString(); }
    QString sourceSymbol() const { return m_source ? m_source->symbol : QString(); }

    // A folder opens in the browser, a file in its application.
    Q_INVOKABLE void open();
    Q_INVOKABLE void reveal();
    // The list of every file from the same site.
    Q_INVOKABLE void showSource();

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void itemChanged();
    void detailsChanged();

private:
    void load();

    Stores m_stores;
    std::optional<FileItem> m_item;
    QList<DetailRow> m_rows;
    std::optional<DownloadSource> m_source;
    bool m_ready = false;
    // Each load's number; an answer for an earlier one is dropped.
    quint64 m_generation = 0;
};

// The text read from one picture or PDF, for the inspector: at once from the text index when it holds
// the file as it is now, else read now (and then kept in the index).
class RecognizedTextModel : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QVariant item READ itemValue WRITE setItemValue NOTIFY itemChanged)
    // "reading", "empty" or "text"
    Q_PROPERTY(QString state READ state NOTIFY textChanged)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    explicit RecognizedTextModel(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    QVariant itemValue() const;
    void setItemValue(const QVariant &value);
    QString state() const;
    QString text() const { return m_text.value_or(QString()); }

    // The whole text to the clipboard, with the toast "Copied text".
    Q_INVOKABLE void copy();

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void itemChanged();
    void textChanged();

private:
    void load();

    Stores m_stores;
    std::optional<FileItem> m_item;
    std::optional<QString> m_text;
};
