#pragma once

#include "BrowserSource.h"
#include "Stores.h"

#include <QObject>
#include <QQmlEngine>
#include <QVariantList>

// The downloads grouped by where they came from, as cards: on the home screen (the first few) and on
// the hub (all of them, with the summary line).
class SourceCards : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    // -1: every group.
    Q_PROPERTY(int limit READ limit WRITE setLimit NOTIFY changed)
    // {key, name, symbol, detail}
    Q_PROPERTY(QVariantList cards READ cards NOTIFY changed)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)

public:
    explicit SourceCards(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    int limit() const { return m_limit; }
    void setLimit(int limit);
    QVariantList cards() const;
    bool hasLoaded() const { return m_stores.sources && m_stores.sources->hasLoaded(); }
    QString summary() const;

    // "12 files · 3 MB"
    static QString detail(const SourceStore::Group &group);
    static qint64 sizeOf(const SourceStore::Group &group);

    // Asks the store for the downloads of the present refresh token; it decides whether to load.
    Q_INVOKABLE void load();

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void changed();

private:
    Stores m_stores;
    int m_limit = -1;
};

// The downloads of one source in the file browser. Opening it asks for the downloads, so that a link
// into a source works on a fresh start.
class SourceItemsSource : public BrowserSource
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString itemKey READ itemKey WRITE setItemKey NOTIFY itemKeyChanged)

public:
    explicit SourceItemsSource(QObject *parent = nullptr);

    QString itemKey() const { return m_itemKey; }
    void setItemKey(const QString &key);
    QString name() const { return m_name; }

    QList<FileItem> items() const override;
    QString title() const override;
    QString subtitle() const override;
    bool isLoading() const override;
    bool showsKindFilter() const override { return false; }
    QString emptyTitle() const override;
    QString emptySymbol() const override { return QStringLiteral("arrow.down.circle"); }
    QString emptyMessage() const override;

Q_SIGNALS:
    void itemKeyChanged();

protected:
    void start() override;

private:
    QString m_itemKey;
    QString m_name;
    bool m_started = false;
};
