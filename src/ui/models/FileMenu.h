#pragma once

#include "Stores.h"

#include <QObject>
#include <QQmlEngine>
#include <QVariantList>

class BrowserModel;

// The file menu of every tile: which entries it has for the files it acts on, and what each does.
class FileMenu : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QVariantList entries READ entries NOTIFY entriesChanged)

public:
    struct Entry {
        // What trigger() is given; empty for a divider.
        QString id;
        QString text;
        QString symbol;
        bool destructive = false;

        bool isDivider() const { return id.isEmpty(); }
    };

    explicit FileMenu(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    // The menu for a click on `clicked` among `list`: the marked files when it is one of two or more
    // marked, else it alone.
    Q_INVOKABLE void prepare(const QUrl &clicked, BrowserModel *list);
    void prepare(const FileItem &clicked, const QList<FileItem> &list);

    const QList<Entry> &entryList() const { return m_entries; }
    QVariantList entries() const;
    const QList<FileItem> &targets() const { return m_targets; }
    Q_INVOKABLE void trigger(const QString &id);

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void entriesChanged();

private:
    QList<FileItem> readable() const;

    Stores m_stores;
    QList<FileItem> m_targets;
    QList<FileItem> m_list;
    QList<Entry> m_entries;
};
