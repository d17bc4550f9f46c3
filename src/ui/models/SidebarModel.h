#pragma once

#include "Stores.h"

#include <QAbstractListModel>
#include <QQmlParserStatus>
#include <QUrl>

// The rows of the sidebar: destinations with their live counts and reclaimable sizes, the pinned
// folders and the standard places. Rows change in place as counts arrive; only a change of the
// pinned folders inserts or removes rows.
class SidebarModel : public QAbstractListModel, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT

public:
    enum Role {
        RowKindRole = Qt::UserRole + 1,
        KeyRole,
        TitleRole,
        SymbolRole,
        BadgeRole,
        DetailRole,
        SelectedRole,
        StarredRole,
        UrlRole,
        PinnedRole,
    };
    Q_ENUM(Role)

    struct Row {
        // "row", "folder", "heading", "divider" or "gap".
        QString kind;
        QString key;
        QString title;
        QString symbol;
        // -1 when no badge shows.
        qint64 badge = -1;
        QString detail;
        bool selected = false;
        bool starred = false;
        QUrl url;
        bool pinned = false;
        // What a click selects.
        std::optional<SidebarItem> item;

        friend bool operator==(const Row &, const Row &) = default;
    };

    explicit SidebarModel(QObject *parent = nullptr);

    // For C++ callers; QML gets the stores of its engine.
    void setStores(const Stores &stores);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    const QList<Row> &rows() const { return m_rows; }

    // A click on a destination or folder row: it becomes the selection and any search ends.
    Q_INVOKABLE void activate(int row);
    Q_INVOKABLE void togglePin(int row);
    Q_INVOKABLE void reveal(int row);

    // The rows as the stores say now, without touching the model.
    static QList<Row> build(const Stores &stores);

    void classBegin() override { }
    void componentComplete() override;

private:
    void refresh();

    Stores m_stores;
    QList<Row> m_rows;
};
