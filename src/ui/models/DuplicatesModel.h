#pragma once

#include "Stores.h"

#include <QAbstractListModel>
#include <QQmlEngine>
#include <QUuid>
#include <QVariantList>

// The duplicates screen: the hero panel of the chosen tab in each phase of its scan, and the groups of
// that tab as rows, the first `shown` of them, each with its head and its tiles.
class DuplicatesModel : public QAbstractListModel, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    // "exact" or "similar".
    Q_PROPERTY(QString tab READ tab WRITE setTab NOTIFY tabChanged)
    Q_PROPERTY(QString phase READ phase NOTIFY heroChanged)
    Q_PROPERTY(QString headline READ headline NOTIFY heroChanged)
    Q_PROPERTY(QString detail READ detail NOTIFY heroChanged)
    // The headline of "Free up …" stands larger.
    Q_PROPERTY(bool freeUp READ freeUp NOTIFY heroChanged)
    Q_PROPERTY(bool showsProgress READ showsProgress NOTIFY heroChanged)
    Q_PROPERTY(double progress READ progress NOTIFY heroChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY heroChanged)
    Q_PROPERTY(bool canScanAgain READ canScanAgain NOTIFY heroChanged)
    Q_PROPERTY(bool canTrashAll READ canTrashAll NOTIFY heroChanged)
    Q_PROPERTY(int hiddenCount READ hiddenCount NOTIFY heroChanged)
    Q_PROPERTY(QString showMoreText READ showMoreText NOTIFY heroChanged)
    Q_PROPERTY(QString confirmTitle READ confirmTitle NOTIFY heroChanged)
    Q_PROPERTY(QString confirmButton READ confirmButton NOTIFY heroChanged)
    Q_PROPERTY(bool trashing READ trashing NOTIFY trashingChanged)

public:
    static constexpr int kPage = 60;

    enum Role { GroupIdRole = Qt::UserRole + 1, TitleRole, FreeableRole, TrashLabelRole, TilesRole };

    struct Hero {
        QString headline;
        QString detail;
        bool freeUp = false;
        bool showsProgress = false;
        bool canStart = false;
        bool canScanAgain = false;
        bool canTrashAll = false;
    };

    explicit DuplicatesModel(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    // What the panel says for a tab in a phase, over the tab's groups.
    static Hero hero(bool similar, const DuplicateFinder::Phase &phase, const QList<DuplicateGroup> &groups, qint64 scannedFiles);
    // "3 identical copies" or "3 similar photos"
    static QString groupTitle(const DuplicateGroup &group, bool similar);

    QString tab() const { return m_similar ? QStringLiteral("similar") : QStringLiteral("exact"); }
    void setTab(const QString &tab);
    bool isSimilar() const { return m_similar; }

    QString phase() const { return currentPhase().rawValue(); }
    QString headline() const { return currentHero().headline; }
    QString detail() const { return currentHero().detail; }
    bool freeUp() const { return currentHero().freeUp; }
    bool showsProgress() const { return currentHero().showsProgress; }
    double progress() const;
    bool canStart() const { return currentHero().canStart; }
    bool canScanAgain() const { return currentHero().canScanAgain; }
    bool canTrashAll() const { return currentHero().canTrashAll && !m_trashing; }
    int hiddenCount() const;
    QString showMoreText() const;
    QString confirmTitle() const;
    QString confirmButton() const;
    bool trashing() const { return m_trashing; }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The screen opened: the exact scan starts if it never ran.
    Q_INVOKABLE void opened();
    // "Start Scan" and "Scan Again" of the tab on show.
    Q_INVOKABLE void scan();
    Q_INVOKABLE void showMore();
    Q_INVOKABLE void keep(const QString &groupId, const QUrl &url);
    // "Keep 1, Trash {n}" of one group, and the confirmed "Trash All Extras" of the tab.
    Q_INVOKABLE void trashGroup(const QString &groupId);
    Q_INVOKABLE void trashAll();
    // The tile's double click.
    Q_INVOKABLE void preview(const QString &groupId, const QUrl &url);
    // "Show in Files" of a tile.
    Q_INVOKABLE void reveal(const QString &groupId, const QUrl &url);

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void tabChanged();
    void heroChanged();
    void trashingChanged();
    // After a trash, with what really moved.
    void trashed(const QList<QUrl> &moved);

private:
    QList<DuplicateGroup> groups() const;
    DuplicateFinder::Phase currentPhase() const;
    Hero currentHero() const;
    std::optional<DuplicateGroup> group(const QString &groupId) const;
    void sync();
    void trash(const QList<DuplicateGroup> &chosen);

    Stores m_stores;
    bool m_similar = false;
    int m_shown = kPage;
    QList<DuplicateGroup> m_rows;
    bool m_trashing = false;
};
