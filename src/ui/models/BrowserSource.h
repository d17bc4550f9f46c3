#pragma once

#include "Stores.h"

#include <QObject>
#include <QQmlEngine>
#include <QStringList>
#include <QTimer>
#include <QVariantList>

// What one list screen hands the file browser: its items and the words around them. The three kinds
// below decide when to load, what to call the result and what to say when it is empty.
class BrowserSource : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    QML_UNCREATABLE("A browser shows a collection, a search or a folder.")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY changed)
    Q_PROPERTY(qint64 totalCount READ totalCount NOTIFY changed)
    Q_PROPERTY(bool showsKindFilter READ showsKindFilter NOTIFY changed)
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY changed)
    Q_PROPERTY(QString emptySymbol READ emptySymbol NOTIFY changed)
    Q_PROPERTY(QString emptyMessage READ emptyMessage NOTIFY changed)
    Q_PROPERTY(bool hasBack READ hasBack NOTIFY changed)
    Q_PROPERTY(QStringList chips READ chips NOTIFY changed)
    Q_PROPERTY(QVariantList crumbs READ crumbs NOTIFY changed)

public:
    explicit BrowserSource(QObject *parent = nullptr);

    // For C++ callers; QML gets the stores of its engine.
    void setStores(const Stores &stores);
    const Stores &stores() const { return m_stores; }

    virtual QList<FileItem> items() const = 0;
    virtual QString title() const = 0;
    virtual QString subtitle() const { return {}; }
    virtual bool isLoading() const = 0;
    // -1 when the items are the whole answer.
    virtual qint64 totalCount() const { return -1; }
    virtual bool showsKindFilter() const { return true; }
    virtual QString emptyTitle() const = 0;
    virtual QString emptySymbol() const = 0;
    virtual QString emptyMessage() const = 0;
    virtual bool hasBack() const { return false; }
    Q_INVOKABLE virtual void back() { }
    virtual QStringList chips() const { return {}; }
    // {title, index}: index -1 is the place itself.
    virtual QVariantList crumbs() const { return {}; }
    Q_INVOKABLE virtual void openCrumb(int index) { Q_UNUSED(index) }

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    // The texts or flags changed.
    void changed();
    void itemsChanged();

protected:
    // The stores are known: connect to them and start.
    virtual void start() = 0;

private:
    Stores m_stores;
};

// A smart collection or a kind of file, loaded through the library store.
class CollectionSource : public BrowserSource
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString itemKey READ itemKey WRITE setItemKey NOTIFY itemKeyChanged)

public:
    explicit CollectionSource(QObject *parent = nullptr);

    QString itemKey() const { return m_itemKey; }
    void setItemKey(const QString &key);

    QList<FileItem> items() const override;
    QString title() const override;
    QString subtitle() const override;
    bool isLoading() const override;
    qint64 totalCount() const override;
    bool showsKindFilter() const override { return false; }
    QString emptyTitle() const override { return title(); }
    QString emptySymbol() const override;
    QString emptyMessage() const override;

    // "1 item · 3 KB", "12,345 items · 1.2 GB"
    static QString subtitle(const SpotlightResult &result);
    static QString symbol(const SidebarItem &item);

Q_SIGNALS:
    void itemKeyChanged();

protected:
    void start() override;

private:
    void load();
    std::optional<SpotlightResult> result() const;

    QString m_itemKey;
    std::optional<SidebarItem> m_item;
    bool m_started = false;
};

// The answer to the search text, asked for once typing pauses.
class SearchSource : public BrowserSource
{
    Q_OBJECT
    QML_ELEMENT

public:
    static constexpr int kPauseMs = 220;

    explicit SearchSource(QObject *parent = nullptr);

    // The text with spaces and tabs at its ends dropped; line ends stay.
    static QString trimmed(const QString &text);
    // "1 match in your home folders", "2 matches … · 3 found by text inside images"
    static QString subtitle(qsizetype matches, int textMatches);

    QString query() const;
    // Whether the store's answer belongs to what is typed now.
    bool isCurrent() const;

    QList<FileItem> items() const override;
    QString title() const override;
    QString subtitle() const override;
    bool isLoading() const override;
    QString emptyTitle() const override { return QStringLiteral("No Results"); }
    QString emptySymbol() const override { return QStringLiteral("magnifyingglass"); }
    QString emptyMessage() const override;
    QStringList chips() const override;

protected:
    void start() override;

private:
    void textChanged();

    QTimer m_pause;
    QString m_pending;
};

// The direct contents of one folder, read from the disk, within a walk that starts at a place.
class FolderSource : public BrowserSource
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString locationKey READ locationKey WRITE setLocationKey NOTIFY locationKeyChanged)

public:
    explicit FolderSource(QObject *parent = nullptr);

    QString locationKey() const { return m_locationKey; }
    void setLocationKey(const QString &key);
    // The folder on show: the last of the walk, or the place itself.
    QUrl current() const;

    QList<FileItem> items() const override { return m_items; }
    QString title() const override;
    QString subtitle() const override;
    bool isLoading() const override { return m_loading; }
    QString emptyTitle() const override;
    QString emptySymbol() const override;
    QString emptyMessage() const override;
    bool hasBack() const override;
    void back() override;
    QVariantList crumbs() const override;
    void openCrumb(int index) override;

    // The path with the home folder written "~".
    static QString shownPath(const QString &path);

Q_SIGNALS:
    void locationKeyChanged();

protected:
    void start() override;

private:
    void list();

    QString m_locationKey;
    std::optional<Location> m_location;
    QList<FileItem> m_items;
    bool m_loading = false;
    QString m_error;
    // The newest listing asked for; older ones that end later are dropped.
    QString m_run;
    bool m_started = false;
};
