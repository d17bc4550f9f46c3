#pragma once

#include "Stores.h"

#include <QObject>
#include <QQmlEngine>
#include <QVariantList>

// What the first screen says, from what the stores already hold: the greeting, the summary of the
// library, the six kinds with their figures, the folders and the shelves of recent files.
class HomeModel : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QString greeting READ greeting NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QVariantList categories READ categories NOTIFY changed)
    Q_PROPERTY(QVariantList shelves READ shelves NOTIFY changed)
    Q_PROPERTY(QVariantList folders READ folders NOTIFY changed)

public:
    static constexpr int kShelfLimit = 20;

    explicit HomeModel(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    static QString greeting(int hour);
    QString greeting() const;
    QString summary() const;
    // {key, title, symbol, count (-1 before its load), subtitle, previews (up to 3 items)}
    QVariantList categories() const;
    // {key, title, count, items (up to 20)}; shelves without items are left out.
    QVariantList shelves() const;
    // {key, title, url, tint index}: the standard folders, then every pinned one.
    QVariantList folders() const;

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void changed();

private:
    Stores m_stores;
};
