#pragma once

#include "Stores.h"

#include "RowList.h"

#include <QQmlParserStatus>
#include <QUrl>

// One row of the sidebar.
struct SidebarRowData {
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

    friend bool operator==(const SidebarRowData &, const SidebarRowData &) = default;
};

// The rows of the sidebar: destinations with their live counts and reclaimable sizes, the pinned
// folders and the standard places. Rows change in place as counts arrive; only a change of the
// pinned folders inserts or removes rows.
class SidebarModel : public RowList<SidebarRowData>, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT

public:
    using Row = SidebarRowData;

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

    explicit SidebarModel(QObject *parent = nullptr);

    // For C++ callers; QML gets the stores of its engine.
    void setStores(const Stores &stores);

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

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
};
