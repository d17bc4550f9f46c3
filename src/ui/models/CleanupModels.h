#pragma once

#include "BrowserSource.h"
#include "Stores.h"

#include <QColor>
#include <QObject>
#include <QQmlEngine>
#include <QVariantList>

// The clean-up cards of the home screen and the hub: the duplicates card first, then one card for each
// kind of suggestion that found something, with the sum they would free and the hub's words for it.
class CleanupCards : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    // {key, symbol, tint, title, headline, detail, previews, busy}
    Q_PROPERTY(QVariantList cards READ cards NOTIFY changed)
    Q_PROPERTY(qint64 total READ total NOTIFY changed)
    // "Free up to 1.2 GB", or empty below one byte.
    Q_PROPERTY(QString capsule READ capsule NOTIFY changed)
    Q_PROPERTY(bool showsSpinner READ showsSpinner NOTIFY changed)
    Q_PROPERTY(QString hubSubtitle READ hubSubtitle NOTIFY changed)

public:
    struct Texts {
        QString headline;
        QString detail;
        bool busy = false;
    };

    explicit CleanupCards(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    // What the duplicates card says in each phase of the exact scan.
    static Texts duplicatesTexts(const DuplicateFinder &finder);
    static QString hubSubtitle(bool loading, qint64 total);

    QVariantList cards() const { return m_cards; }
    // The suggestions and the extra copies: look-alike photos are no sure saving.
    qint64 total() const;
    QString capsule() const;
    bool showsSpinner() const;
    QString hubSubtitle() const;

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void changed();

private:
    QVariantList buildCards() const;
    // Tells the views only when something they show changed: a scan's progress alone does not.
    void update();

    Stores m_stores;
    QVariantList m_cards;
    qint64 m_total = -1;
    bool m_loading = false;
};

// The suggestions of one kind, in the file browser, with what the action bar and its confirmation say
// and the trash flow behind them.
class CleanupReviewSource : public BrowserSource
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString itemKey READ itemKey WRITE setItemKey NOTIFY itemKeyChanged)
    Q_PROPERTY(QString symbol READ symbol NOTIFY itemKeyChanged)
    Q_PROPERTY(QColor tint READ tint NOTIFY itemKeyChanged)
    Q_PROPERTY(bool hasItems READ hasItems NOTIFY barChanged)
    // "{bytes} can be freed", over every item listed.
    Q_PROPERTY(QString freeable READ freeable NOTIFY barChanged)
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY barChanged)
    Q_PROPERTY(bool confirming READ confirming NOTIFY confirmChanged)
    Q_PROPERTY(QString confirmTitle READ confirmTitle NOTIFY confirmChanged)
    Q_PROPERTY(QString confirmButton READ confirmButton NOTIFY confirmChanged)
    Q_PROPERTY(bool trashing READ trashing NOTIFY trashingChanged)

public:
    explicit CleanupReviewSource(QObject *parent = nullptr);

    QString itemKey() const { return m_itemKey; }
    void setItemKey(const QString &key);
    std::optional<CleanupKind> kind() const { return m_kind; }

    QList<FileItem> items() const override;
    QString title() const override;
    QString subtitle() const override;
    bool isLoading() const override { return false; }
    bool showsKindFilter() const override { return false; }
    QString emptyTitle() const override { return QStringLiteral("All Clean"); }
    QString emptySymbol() const override { return QStringLiteral("checkmark.seal"); }
    QString emptyMessage() const override { return QStringLiteral("Nothing to clean up here."); }

    QString symbol() const;
    QColor tint() const;
    bool hasItems() const { return !items().isEmpty(); }
    QString freeable() const;
    // The marked files that are listed here, in the list's order.
    QList<FileItem> selected() const;
    int selectedCount() const { return int(selected().size()); }

    QList<FileItem> pending() const { return m_pending; }
    bool confirming() const { return !m_pending.isEmpty(); }
    // "Move 3 items to the Trash?", "Move to Trash (12 MB)"
    QString confirmTitle() const;
    QString confirmButton() const;
    bool trashing() const { return m_trashing; }

    // Asks to confirm the marked files, or every listed one.
    Q_INVOKABLE void askSelected();
    Q_INVOKABLE void askAll();
    Q_INVOKABLE void dismiss();
    // The person confirmed: the files awaiting it go to the Trash.
    Q_INVOKABLE void confirm();

Q_SIGNALS:
    void itemKeyChanged();
    void barChanged();
    void confirmChanged();
    void trashingChanged();
    // After a confirmed trash, with what really moved.
    void trashed(const QList<QUrl> &moved);

protected:
    void start() override;

private:
    void ask(const QList<FileItem> &files);

    QString m_itemKey;
    std::optional<CleanupKind> m_kind;
    QList<FileItem> m_pending;
    bool m_trashing = false;
    bool m_started = false;
};
