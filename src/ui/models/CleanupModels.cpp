#include "CleanupModels.h"

#include "Format.h"
#include "ReviewFlows.h"
#include "cleanup/CleanupKinds.h"
#include "models/Fmt.h"

#include <QPointer>

namespace {

QColor colorOf(const Rgb &rgb)
{
    return QColor::fromRgbF(float(rgb.red), float(rgb.green), float(rgb.blue), float(rgb.alpha));
}

QVariantList firstItems(const QList<FileItem> &items, int count)
{
    QVariantList list;
    for (const FileItem &item : items.mid(0, count))
        list.append(QVariant::fromValue(item));
    return list;
}

qint64 sizeOf(const QList<FileItem> &items)
{
    qint64 sum = 0;
    for (const FileItem &item : items)
        sum += item.size;
    return sum;
}

} // namespace

// --- the cards

CleanupCards::CleanupCards(QObject *parent)
    : QObject(parent)
{
}

void CleanupCards::componentComplete()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
}

void CleanupCards::setStores(const Stores &stores)
{
    m_stores = stores;
    if (m_stores.cleanup) {
        connect(m_stores.cleanup, &CleanupStore::resultsChanged, this, &CleanupCards::update);
        connect(m_stores.cleanup, &CleanupStore::loadingChanged, this, &CleanupCards::update);
    }
    if (m_stores.duplicates) {
        connect(m_stores.duplicates, &DuplicateFinder::phaseChanged, this, &CleanupCards::update);
        connect(m_stores.duplicates, &DuplicateFinder::exactChanged, this, &CleanupCards::update);
    }
    m_cards = buildCards();
    m_total = total();
    m_loading = m_stores.cleanup && m_stores.cleanup->loading();
    Q_EMIT changed();
}

void CleanupCards::update()
{
    QVariantList cards = buildCards();
    const qint64 sum = total();
    const bool loading = m_stores.cleanup && m_stores.cleanup->loading();
    if (cards == m_cards && sum == m_total && loading == m_loading)
        return;
    m_cards = std::move(cards);
    m_total = sum;
    m_loading = loading;
    Q_EMIT changed();
}

CleanupCards::Texts CleanupCards::duplicatesTexts(const DuplicateFinder &finder)
{
    switch (finder.phase().kind) {
    case DuplicateFinder::Phase::idle:
        return {QStringLiteral("Scan"), QStringLiteral("Find identical files"), false};
    case DuplicateFinder::Phase::gathering:
    case DuplicateFinder::Phase::hashing:
        return {QStringLiteral("Scanning…"), QStringLiteral("Checking file contents"), true};
    case DuplicateFinder::Phase::finished:
        break;
    }
    if (finder.exact().isEmpty())
        return {QStringLiteral("All clear"), QStringLiteral("No duplicates"), false};
    // "copy" takes a plain "s" like every other word here.
    return {Fmt::bytes(finder.exactReclaimable()), Format::counted(finder.extraCopies(), QStringLiteral("extra copy")), false};
}

QString CleanupCards::hubSubtitle(bool loading, qint64 total)
{
    if (loading && total == 0)
        return QStringLiteral("Looking for space you can get back…");
    if (total >= 1)
        return QStringLiteral("You could free up to ") + Fmt::bytes(total);
    return QStringLiteral("Your computer looks tidy.");
}

QVariantList CleanupCards::buildCards() const
{
    QVariantList list;
    if (m_stores.duplicates) {
        const Texts texts = duplicatesTexts(*m_stores.duplicates);
        QVariantList previews;
        for (const DuplicateGroup &group : m_stores.duplicates->exact().mid(0, 3)) {
            if (!group.files.isEmpty())
                previews.append(QVariant::fromValue(group.files.first()));
        }
        list.append(QVariantMap {
            {QStringLiteral("key"), SidebarItem::duplicates().key()},
            {QStringLiteral("symbol"), QStringLiteral("square.on.square")},
            {QStringLiteral("tint"), QColor::fromRgbF(0.93f, 0.35f, 0.4f)},
            {QStringLiteral("title"), QStringLiteral("Duplicates")},
            {QStringLiteral("headline"), texts.headline},
            {QStringLiteral("detail"), texts.detail},
            {QStringLiteral("previews"), previews},
            {QStringLiteral("busy"), texts.busy},
        });
    }
    if (!m_stores.cleanup)
        return list;
    for (const CleanupKind kind : CleanupKind::allCases()) {
        const auto result = m_stores.cleanup->result(kind);
        if (!result || result->items.isEmpty())
            continue;
        list.append(QVariantMap {
            {QStringLiteral("key"), SidebarItem::cleanup(kind).key()},
            {QStringLiteral("symbol"), CleanupKinds::symbol(kind)},
            {QStringLiteral("tint"), colorOf(CleanupKinds::tint(kind))},
            {QStringLiteral("title"), kind.title()},
            {QStringLiteral("headline"), Fmt::bytes(result->totalSize)},
            {QStringLiteral("detail"), Format::counted(result->totalCount, QStringLiteral("item"))},
            {QStringLiteral("previews"), firstItems(result->items, 3)},
            {QStringLiteral("busy"), false},
        });
    }
    return list;
}

qint64 CleanupCards::total() const
{
    return (m_stores.cleanup ? m_stores.cleanup->totalReclaimable() : 0) + (m_stores.duplicates ? m_stores.duplicates->exactReclaimable() : 0);
}

QString CleanupCards::capsule() const
{
    const qint64 sum = total();
    return sum >= 1 ? QStringLiteral("Free up to ") + Fmt::bytes(sum) : QString();
}

bool CleanupCards::showsSpinner() const
{
    return total() < 1 && m_stores.cleanup && m_stores.cleanup->loading();
}

QString CleanupCards::hubSubtitle() const
{
    return hubSubtitle(m_stores.cleanup && m_stores.cleanup->loading(), total());
}

// --- one kind's review

CleanupReviewSource::CleanupReviewSource(QObject *parent)
    : BrowserSource(parent)
{
}

void CleanupReviewSource::setItemKey(const QString &key)
{
    if (m_itemKey == key)
        return;
    m_itemKey = key;
    const auto item = SidebarItem::fromKey(key);
    m_kind = item ? item->cleanupKind() : std::nullopt;
    m_pending.clear();
    Q_EMIT itemKeyChanged();
    Q_EMIT changed();
    Q_EMIT itemsChanged();
    Q_EMIT barChanged();
    Q_EMIT confirmChanged();
}

void CleanupReviewSource::start()
{
    if (m_started)
        return;
    m_started = true;
    if (CleanupStore *cleanup = stores().cleanup) {
        connect(cleanup, &CleanupStore::resultsChanged, this, [this] {
            Q_EMIT changed();
            Q_EMIT itemsChanged();
            Q_EMIT barChanged();
        });
    }
    connect(stores().state, &AppState::selectedFilesChanged, this, &CleanupReviewSource::barChanged);
    Q_EMIT changed();
    Q_EMIT itemsChanged();
    Q_EMIT barChanged();
}

QList<FileItem> CleanupReviewSource::items() const
{
    if (!m_kind || !stores().cleanup)
        return {};
    const auto result = stores().cleanup->result(*m_kind);
    return result ? result->items : QList<FileItem>();
}

QString CleanupReviewSource::title() const
{
    return m_kind ? m_kind->title() : QString();
}

QString CleanupReviewSource::subtitle() const
{
    return m_kind ? CleanupKinds::explanation(*m_kind) : QString();
}

QString CleanupReviewSource::symbol() const
{
    return m_kind ? CleanupKinds::symbol(*m_kind) : QStringLiteral("sparkles");
}

QColor CleanupReviewSource::tint() const
{
    return m_kind ? colorOf(CleanupKinds::tint(*m_kind)) : QColor();
}

QString CleanupReviewSource::freeable() const
{
    return Fmt::bytes(sizeOf(items())) + QStringLiteral(" can be freed");
}

QList<FileItem> CleanupReviewSource::selected() const
{
    if (!stores().state)
        return {};
    const QSet<QUrl> marks = stores().state->selectedFiles();
    QList<FileItem> list;
    for (const FileItem &item : items()) {
        if (marks.contains(item.url))
            list.append(item);
    }
    return list;
}

QString CleanupReviewSource::confirmTitle() const
{
    return QStringLiteral("Move %1 to the Trash?").arg(Format::counted(m_pending.size(), QStringLiteral("item")));
}

QString CleanupReviewSource::confirmButton() const
{
    return QStringLiteral("Move to Trash (%1)").arg(Fmt::bytes(sizeOf(m_pending)));
}

void CleanupReviewSource::ask(const QList<FileItem> &files)
{
    if (files.isEmpty() || m_trashing)
        return;
    m_pending = files;
    Q_EMIT confirmChanged();
}

void CleanupReviewSource::askSelected()
{
    ask(selected());
}

void CleanupReviewSource::askAll()
{
    ask(items());
}

void CleanupReviewSource::dismiss()
{
    if (m_pending.isEmpty())
        return;
    m_pending.clear();
    Q_EMIT confirmChanged();
}

void CleanupReviewSource::confirm()
{
    if (m_pending.isEmpty() || m_trashing)
        return;
    const QList<FileItem> files = std::exchange(m_pending, {});
    Q_EMIT confirmChanged();
    m_trashing = true;
    Q_EMIT trashingChanged();
    const QPointer<CleanupReviewSource> self(this);
    ReviewFlows::trashSuggestions(files, stores(), [self](const QSet<QUrl> &moved) {
        if (!self)
            return;
        self->m_trashing = false;
        Q_EMIT self->trashingChanged();
        Q_EMIT self->trashed({moved.cbegin(), moved.cend()});
    });
}
