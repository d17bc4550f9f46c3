#pragma once

#include "BrowserSource.h"

#include "RowList.h"

#include <QPointer>

// One row of the file browser.
struct BrowserRow {
    // "title", "folders", "cards", "fileRow" or "note".
    QString kind;
    // Which row this is, for keeping rows across reloads: "cards:3", "title:files".
    QString key;
    QList<FileItem> items;
    int firstIndex = 0;
    QString title;
    qint64 count = -1;
    bool loading = false;
    QString text;

    bool sameAs(const BrowserRow &other) const;
};

// The file browser's list as rows for one lazy list view: section titles, rows of cards as wide as the
// column rule allows, one row per file in list mode, and the note under a partial list. Filters and
// order come from AppState; the keyboard and the mouse of the browser act through here.
class BrowserModel : public RowList<BrowserRow>
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(BrowserSource *source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(double width READ width WRITE setWidth NOTIFY widthChanged)
    Q_PROPERTY(int columns READ columns NOTIFY layoutChanged)
    Q_PROPERTY(QString contentState READ contentState NOTIFY layoutChanged)
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY layoutChanged)
    Q_PROPERTY(QString emptySymbol READ emptySymbol NOTIFY layoutChanged)
    Q_PROPERTY(QString emptyMessage READ emptyMessage NOTIFY layoutChanged)
    Q_PROPERTY(QVariantList kinds READ kinds NOTIFY layoutChanged)
    Q_PROPERTY(QVariantList sources READ sources NOTIFY layoutChanged)

public:
    using Row = BrowserRow;

    enum Role {
        RowKindRole = Qt::UserRole + 1,
        ItemsRole,
        FirstIndexRole,
        TitleRole,
        CountRole,
        LoadingRole,
        TextRole,
    };
    Q_ENUM(Role)

    static constexpr double kPad = 36;
    static constexpr double kSpacing = 22;
    static constexpr int kMenuSources = 30;

    explicit BrowserModel(QObject *parent = nullptr);

    BrowserSource *source() const { return m_source; }
    void setSource(BrowserSource *source);
    double width() const { return m_width; }
    void setWidth(double width);

    // max(1, trunc((W − 2·pad + spacing) / (minCard + spacing))), minCard by card size.
    static int columnsFor(double width, CardSize size);
    int columns() const;
    QString contentState() const;
    QString emptyTitle() const;
    QString emptySymbol() const;
    QString emptyMessage() const;
    QVariantList kinds() const;
    QVariantList sources() const;

    // The lists the screen is built from, in the order on screen.
    const QList<FileItem> &visible() const { return m_visible; }
    const QList<FileItem> &ordered() const { return m_ordered; }
    // The figure of the "Files" title.
    qint64 fileCount() const;
    // "Showing the 700 most recent of 12,345. Use search to find older files.", or empty.
    QString note() const;
    // Source names with their counts, most first; empty when fewer than two and no source filter.
    static QList<std::pair<QString, qint64>> sourceCounts(const QList<FileItem> &items, bool sourceFilterSet);

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The browser's keys: arrows move the mark, Space previews or opens a folder, Return opens; false
    // when the key is not the browser's (so it goes on to the rest of the window).
    Q_INVOKABLE bool keyPressed(int key);
    // A click on a tile: marks it; Ctrl adds it to the marks or takes it out.
    Q_INVOKABLE void tapped(const QUrl &url, int modifiers);
    // A double click opens the file the way its kind is opened.
    Q_INVOKABLE void doubleTapped(const QUrl &url);
    Q_INVOKABLE void clickedEmpty();
    // What a tile dragged out carries: its file URL, as one text/uri-list string.
    Q_INVOKABLE QString dragUriList(const QUrl &url) const;
    Q_INVOKABLE int rowOf(int orderedIndex) const;
    Q_INVOKABLE QVariant itemAt(int orderedIndex) const;
    Q_INVOKABLE void setSort(const QString &raw);
    // The tag line under a card's name.
    Q_INVOKABLE QString tagText(const QVariant &item) const;
    static QString tagText(const FileItem &item, CardSize size);
    // Whether a picture card offers "Copy Text": a readable picture, unless it was read as it is now
    // and held no text.
    Q_INVOKABLE bool canCopyText(const QVariant &item) const;
    Q_INVOKABLE void copyText(const QVariant &item);

Q_SIGNALS:
    void sourceChanged();
    void widthChanged();
    void layoutChanged();
    void scrollToRow(int row);

private:
    AppState *state() const;
    void itemsChanged();
    void rebuild();
    std::optional<FileItem> find(const QUrl &url) const;
    void open(const FileItem &item);

    QPointer<BrowserSource> m_source;
    double m_width = 0;
    QList<FileItem> m_items;
    QList<FileItem> m_visible;
    QList<FileItem> m_ordered;
    qsizetype m_folderCount = 0;
    QList<std::pair<QString, qint64>> m_sourceCounts;
    QList<QMetaObject::Connection> m_connections;
};
