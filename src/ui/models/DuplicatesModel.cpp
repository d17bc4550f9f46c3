#include "DuplicatesModel.h"

#include "BrowserSource.h"
#include "Format.h"
#include "ReviewFlows.h"
#include "actions/FileActions.h"
#include "models/Fmt.h"

#include <QFileInfo>
#include <QPointer>

namespace {

qint64 extrasOf(const QList<DuplicateGroup> &groups)
{
    qint64 n = 0;
    for (const DuplicateGroup &group : groups)
        n += group.extras().size();
    return n;
}

qint64 reclaimableOf(const QList<DuplicateGroup> &groups)
{
    qint64 sum = 0;
    for (const DuplicateGroup &group : groups)
        sum += group.reclaimable();
    return sum;
}

} // namespace

DuplicatesModel::DuplicatesModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

void DuplicatesModel::componentComplete()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
}

void DuplicatesModel::setStores(const Stores &stores)
{
    m_stores = stores;
    if (DuplicateFinder *finder = m_stores.duplicates) {
        connect(finder, &DuplicateFinder::phaseChanged, this, [this] {
            if (!m_similar)
                Q_EMIT heroChanged();
        });
        connect(finder, &DuplicateFinder::similarPhaseChanged, this, [this] {
            if (m_similar)
                Q_EMIT heroChanged();
        });
        connect(finder, &DuplicateFinder::exactChanged, this, [this] {
            if (!m_similar)
                sync();
        });
        connect(finder, &DuplicateFinder::similarChanged, this, [this] {
            if (m_similar)
                sync();
        });
        connect(finder, &DuplicateFinder::scannedFilesChanged, this, &DuplicatesModel::heroChanged);
    }
    sync();
}

DuplicatesModel::Hero DuplicatesModel::hero(bool similar, const DuplicateFinder::Phase &phase, const QList<DuplicateGroup> &groups, qint64 scannedFiles)
{
    Hero hero;
    switch (phase.kind) {
    case DuplicateFinder::Phase::idle:
        hero.headline = similar ? QStringLiteral("Find look-alike photos") : QStringLiteral("Find duplicate files");
        hero.detail = similar ? QStringLiteral("Spots burst shots, edits and re-saved copies of the same picture, on-device.")
                              : QStringLiteral("Velk compares file contents, so only true copies are matched.");
        hero.canStart = true;
        return hero;
    case DuplicateFinder::Phase::gathering:
        hero.headline = similar ? QStringLiteral("Looking at your photos…") : QStringLiteral("Scanning for duplicates…");
        hero.detail = QStringLiteral("Gathering files…");
        return hero;
    case DuplicateFinder::Phase::hashing:
        hero.headline = similar ? QStringLiteral("Looking at your photos…") : QStringLiteral("Scanning for duplicates…");
        hero.detail = QStringLiteral("%1 of %2 %3")
                          .arg(Format::count(phase.done), Format::count(phase.total),
                              similar ? QStringLiteral("photos analysed") : QStringLiteral("candidates checked"));
        hero.showsProgress = true;
        return hero;
    case DuplicateFinder::Phase::finished:
        break;
    }
    hero.canScanAgain = true;
    if (groups.isEmpty()) {
        hero.headline = similar ? QStringLiteral("No look-alike photos.") : QStringLiteral("No duplicates found");
        hero.detail = QStringLiteral("Checked %1. Nice and tidy!").arg(Format::counted(scannedFiles, QStringLiteral("file")));
        return hero;
    }
    hero.headline = QStringLiteral("Free up ") + Fmt::bytes(reclaimableOf(groups));
    // "copy" takes a plain "s" like every other word here.
    hero.detail = QStringLiteral("%1 in %2")
                      .arg(Format::counted(extrasOf(groups), similar ? QStringLiteral("extra photo") : QStringLiteral("extra copy")),
                          Format::counted(groups.size(), QStringLiteral("group")));
    hero.freeUp = true;
    hero.canTrashAll = true;
    return hero;
}

QString DuplicatesModel::groupTitle(const DuplicateGroup &group, bool similar)
{
    return Format::count(group.files.size()) + (similar ? QStringLiteral(" similar photos") : QStringLiteral(" identical copies"));
}

void DuplicatesModel::setTab(const QString &tab)
{
    const bool similar = tab == QLatin1String("similar");
    if (similar == m_similar)
        return;
    m_similar = similar;
    m_shown = kPage;
    Q_EMIT tabChanged();
    sync();
}

QList<DuplicateGroup> DuplicatesModel::groups() const
{
    if (!m_stores.duplicates)
        return {};
    return m_similar ? m_stores.duplicates->similar() : m_stores.duplicates->exact();
}

DuplicateFinder::Phase DuplicatesModel::currentPhase() const
{
    if (!m_stores.duplicates)
        return {};
    return m_similar ? m_stores.duplicates->similarPhase() : m_stores.duplicates->phase();
}

DuplicatesModel::Hero DuplicatesModel::currentHero() const
{
    return hero(m_similar, currentPhase(), groups(), m_stores.duplicates ? m_stores.duplicates->scannedFiles() : 0);
}

double DuplicatesModel::progress() const
{
    const DuplicateFinder::Phase phase = currentPhase();
    return phase.total > 0 ? qBound(0.0, double(phase.done) / double(phase.total), 1.0) : 0.0;
}

int DuplicatesModel::hiddenCount() const
{
    return int(std::max<qsizetype>(0, groups().size() - m_rows.size()));
}

QString DuplicatesModel::showMoreText() const
{
    const int hidden = hiddenCount();
    return hidden > 0 ? QStringLiteral("Show %1 More").arg(Format::count(std::min(kPage, hidden))) : QString();
}

QString DuplicatesModel::confirmTitle() const
{
    return QStringLiteral("Move %1 to the Trash?").arg(Format::counted(extrasOf(groups()), QStringLiteral("file")));
}

QString DuplicatesModel::confirmButton() const
{
    return QStringLiteral("Move to Trash (%1)").arg(Fmt::bytes(reclaimableOf(groups())));
}

// The rows follow the finder's groups by removing, changing and adding rows, so that the cards and
// the scroll position survive a trash or a new keeper.
void DuplicatesModel::sync()
{
    const QList<DuplicateGroup> next = groups().mid(0, m_shown);
    QSet<QUuid> nextIds;
    for (const DuplicateGroup &group : next)
        nextIds.insert(group.id);
    for (qsizetype i = m_rows.size() - 1; i >= 0; --i) {
        if (!nextIds.contains(m_rows[i].id)) {
            beginRemoveRows({}, int(i), int(i));
            m_rows.removeAt(i);
            endRemoveRows();
        }
    }
    bool samePrefix = m_rows.size() <= next.size();
    for (qsizetype i = 0; samePrefix && i < m_rows.size(); ++i)
        samePrefix = m_rows[i].id == next[i].id;
    if (!samePrefix) {
        beginResetModel();
        m_rows = next;
        endResetModel();
    } else {
        for (qsizetype i = 0; i < m_rows.size(); ++i) {
            if (!(m_rows[i] == next[i])) {
                m_rows[i] = next[i];
                Q_EMIT dataChanged(index(int(i)), index(int(i)));
            }
        }
        if (next.size() > m_rows.size()) {
            beginInsertRows({}, int(m_rows.size()), int(next.size() - 1));
            m_rows += next.mid(m_rows.size());
            endInsertRows();
        }
    }
    Q_EMIT heroChanged();
}

int DuplicatesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant DuplicatesModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const DuplicateGroup &group = m_rows[index.row()];
    switch (role) {
    case GroupIdRole:
        return group.id.toString(QUuid::WithoutBraces);
    case TitleRole:
    case Qt::DisplayRole:
        return groupTitle(group, m_similar);
    case FreeableRole:
        return Fmt::bytes(group.reclaimable()) + QStringLiteral(" can be freed");
    case TrashLabelRole:
        return QStringLiteral("Keep 1, Trash ") + Format::count(group.extras().size());
    case TilesRole: {
        QVariantList tiles;
        for (const FileItem &file : group.files) {
            tiles.append(QVariantMap {
                {QStringLiteral("item"), QVariant::fromValue(file)},
                {QStringLiteral("keep"), file.url == group.keep},
                {QStringLiteral("folder"), FolderSource::shownPath(QFileInfo(file.path()).path())},
                {QStringLiteral("size"), Fmt::bytes(file.size)},
                {QStringLiteral("date"), Fmt::date(file.modified)},
            });
        }
        return tiles;
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> DuplicatesModel::roleNames() const
{
    return {{GroupIdRole, "groupId"}, {TitleRole, "title"}, {FreeableRole, "freeable"}, {TrashLabelRole, "trashLabel"}, {TilesRole, "tiles"}};
}

void DuplicatesModel::opened()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
    if (m_stores.duplicates && m_stores.store && m_stores.duplicates->phase().kind == DuplicateFinder::Phase::idle)
        m_stores.duplicates->scan(m_stores.store->scopes());
}

void DuplicatesModel::scan()
{
    if (!m_stores.duplicates || !m_stores.store)
        return;
    if (m_similar)
        m_stores.duplicates->scanSimilar(m_stores.store->scopes());
    else
        m_stores.duplicates->scan(m_stores.store->scopes());
}

void DuplicatesModel::showMore()
{
    if (hiddenCount() == 0)
        return;
    m_shown += kPage;
    sync();
}

std::optional<DuplicateGroup> DuplicatesModel::group(const QString &groupId) const
{
    const QUuid id = QUuid::fromString(groupId);
    for (const DuplicateGroup &group : groups()) {
        if (group.id == id)
            return group;
    }
    return std::nullopt;
}

void DuplicatesModel::keep(const QString &groupId, const QUrl &url)
{
    if (m_stores.duplicates)
        m_stores.duplicates->setKeeper(url, QUuid::fromString(groupId));
}

void DuplicatesModel::preview(const QString &groupId, const QUrl &url)
{
    const auto chosen = group(groupId);
    if (!chosen || !m_stores.state)
        return;
    for (const FileItem &file : chosen->files) {
        if (file.url == url)
            m_stores.state->preview(file, chosen->files);
    }
}

void DuplicatesModel::reveal(const QString &groupId, const QUrl &url)
{
    const auto chosen = group(groupId);
    if (!chosen)
        return;
    for (const FileItem &file : chosen->files) {
        if (file.url == url)
            FileActions::reveal({file});
    }
}

void DuplicatesModel::trashGroup(const QString &groupId)
{
    if (const auto chosen = group(groupId))
        trash({*chosen});
}

void DuplicatesModel::trashAll()
{
    trash(groups());
}

void DuplicatesModel::trash(const QList<DuplicateGroup> &chosen)
{
    if (m_trashing || extrasOf(chosen) == 0)
        return;
    m_trashing = true;
    Q_EMIT trashingChanged();
    Q_EMIT heroChanged();
    const QPointer<DuplicatesModel> self(this);
    const auto done = [self](const QSet<QUrl> &moved) {
        if (!self)
            return;
        self->m_trashing = false;
        Q_EMIT self->trashingChanged();
        Q_EMIT self->heroChanged();
        Q_EMIT self->trashed({moved.cbegin(), moved.cend()});
    };
    if (m_similar) {
        QList<FileItem> extras;
        for (const DuplicateGroup &group : chosen)
            extras += group.extras();
        ReviewFlows::trashLookAlikes(extras, m_stores, done);
    } else {
        QList<QUuid> ids;
        for (const DuplicateGroup &group : chosen)
            ids.append(group.id);
        ReviewFlows::trashCopies(ids, m_stores, done);
    }
}
