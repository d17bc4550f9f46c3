#include "Snapshots.h"

#include "ColorScheme.h"

#include "ImageProviders.h"
#include "Stores.h"
#include "state/WarmUp.h"

#include <QDir>
#include <QDirIterator>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextStream>

namespace {

// The longest a screen may take to settle before it is drawn as it stands.
constexpr qint64 kSettleLimitMs = 8000;
// Settled: the stores are idle and nothing was drawn for this long.
constexpr qint64 kQuietMs = 300;

// A folder two levels below one of the places, for the folder screen.
QString deepFolder()
{
    for (const Location &place : Location::standard()) {
        QDirIterator first(FilePath::fromUrl(place.url), QDir::Dirs | QDir::NoDotAndDotDot);
        while (first.hasNext()) {
            QDirIterator second(first.next(), QDir::Dirs | QDir::NoDotAndDotDot);
            if (second.hasNext())
                return second.next();
        }
    }
    return {};
}

} // namespace

Snapshots::Snapshots(QQmlApplicationEngine &engine, WarmUp &warmUp, QString folder, QStringList only)
    : m_engine(engine)
    , m_warmUp(warmUp)
    , m_folder(std::move(folder))
    , m_only(std::move(only))
{
    m_poll.setInterval(50);
    connect(&m_poll, &QTimer::timeout, this, &Snapshots::waitForSettled);
}

QQuickItem *Snapshots::item(const QString &objectName) const
{
    // Delegates and headers of views are children of the scene, not always of their item's object:
    // walk the scene.
    const auto find = [&objectName](auto &&self, QQuickItem *item) -> QQuickItem * {
        if (item->objectName() == objectName)
            return item;
        for (QQuickItem *child : item->childItems()) {
            if (QQuickItem *found = self(self, child))
                return found;
        }
        return nullptr;
    };
    return m_window ? find(find, m_window->contentItem()) : nullptr;
}

void Snapshots::call(const QString &objectName, const char *method, const QVariant &argument)
{
    QQuickItem *target = item(objectName);
    const bool called
        = target && (argument.isValid() ? QMetaObject::invokeMethod(target, method, Q_ARG(QVariant, argument)) : QMetaObject::invokeMethod(target, method));
    if (!called)
        qWarning("velk: snapshot could not call %s on %s", method, qPrintable(objectName));
}

QList<Snapshots::Screen> Snapshots::screens()
{
    AppState *state = m_stores->state;
    QList<Screen> list;
    // The first screen before any load ended, then as the loads leave it.
    list.append({QStringLiteral("home-before-load"), [] {}, true});
    list.append({QStringLiteral("home"), [] {}});
    const auto go = [state](const QString &key) { return [state, key] { state->selectKey(key); }; };
    for (const SidebarItem &item : WarmUp::workList()) {
        const QString key = item.key();
        list.append({QStringLiteral("collection-") + key.section(QLatin1Char('/'), 1), go(key)});
    }
    list.append({QStringLiteral("search-with-chips"), [state] { state->setSearchText(QStringLiteral("pdfs from last week")); }});
    list.append({QStringLiteral("search-loading"), [state] { state->setSearchText(QStringLiteral("big videos from last year")); }, true});
    list.append({QStringLiteral("search-no-results"), [state] { state->setSearchText(QStringLiteral("zqxjv wvkq")); }});
    list.append({QStringLiteral("no-matches"), [state] {
                     state->selectKey(QStringLiteral("category/images"));
                     state->setSizeFilter(SizeFilter::gb1);
                     state->setDateFilter(DateFilter::today);
                 }});
    if (const QString deep = deepFolder(); !deep.isEmpty()) {
        list.append({QStringLiteral("folder-two-levels-down"), [state, deep] {
                         const QString parent = QFileInfo(deep).path();
                         const QString root = QFileInfo(parent).path();
                         state->openFolder(FilePath::toUrl(root));
                         state->openFolder(FilePath::toUrl(parent));
                         state->openFolder(FilePath::toUrl(deep));
                     }});
    }
    list.append({QStringLiteral("images-list-mode"), [state] {
                     state->selectKey(QStringLiteral("category/images"));
                     state->setViewMode(ViewMode::list);
                 }});
    list.append({QStringLiteral("images-small-cards"), [state] {
                     state->selectKey(QStringLiteral("category/images"));
                     state->setCardSize(CardSize::small);
                 }});
    list.append({QStringLiteral("images-large-cards"), [state] {
                     state->selectKey(QStringLiteral("category/images"));
                     state->setCardSize(CardSize::large);
                 }});
    list.append({QStringLiteral("filter-menu-open"),
        [this, state] {
            state->selectKey(QStringLiteral("category/documents"));
            QTimer::singleShot(400, this, [this] { call(QStringLiteral("filterPill:Date"), "openMenu"); });
        },
        false, 700});
    list.append({QStringLiteral("context-menu-open"),
        [this, state] {
            state->selectKey(QStringLiteral("category/documents"));
            QTimer::singleShot(600, this, [this] { call(QStringLiteral("fileBrowser"), "openContextMenuAt", 0); });
        },
        false, 900});
    list.append({QStringLiteral("sidebar-collapsed"), [state] {
                     state->selectKey(QStringLiteral("smart/recents"));
                     state->setSidebarCollapsed(true);
                 }});
    list += reviewScreens();
    return list;
}

// The clean-up, download source and duplicates screens. A scan's state outlasts its screen, so each
// duplicates screen starts the scan it shows.
QList<Snapshots::Screen> Snapshots::reviewScreens()
{
    const Stores &stores = *m_stores;
    const auto go = [state = stores.state](const QString &key) { return [state, key] { state->selectKey(key); }; };
    QList<Screen> list;
    list.append({QStringLiteral("cleanup-hub"), go(QStringLiteral("cleanupHub"))});
    list.append({QStringLiteral("cleanup-review-confirm"),
        [this, stores] {
            for (const CleanupKind kind : CleanupKind::allCases()) {
                const auto result = stores.cleanup->result(kind);
                if (!result || result->items.isEmpty())
                    continue;
                stores.state->selectKey(SidebarItem::cleanup(kind).key());
                QSet<QUrl> marks;
                for (const FileItem &item : result->items.mid(0, 2))
                    marks.insert(item.url);
                stores.state->setSelectedFiles(marks);
                QTimer::singleShot(500, this, [this] { call(QStringLiteral("cleanupReviewView"), "askSelected"); });
                return;
            }
        },
        false, 900});
    list.append({QStringLiteral("sources-hub"), go(QStringLiteral("sources"))});
    list.append({QStringLiteral("source-one"), [stores] {
                     const QList<SourceStore::Group> groups = stores.sources->groups();
                     stores.state->selectKey(SidebarItem::source(groups.isEmpty() ? QStringLiteral("Nowhere") : groups.first().source.name).key());
                 }});
    // Scans over a folder that holds nothing: the finished state without groups.
    const QString nothing = QDir::temp().filePath(QStringLiteral("velk-snapshot-nothing"));
    QDir().mkpath(nothing);
    const QList<QUrl> full = stores.store->scopes();
    const QList<QUrl> none = {QUrl::fromLocalFile(nothing)};
    const auto duplicates = [this, stores](bool similar, const QList<QUrl> &scopes) {
        return [this, stores, similar, scopes] {
            stores.state->selectKey(QStringLiteral("duplicates"));
            if (similar) {
                if (!scopes.isEmpty())
                    stores.duplicates->scanSimilar(scopes);
                QTimer::singleShot(200, this, [this] { call(QStringLiteral("duplicatesView"), "showTab", QStringLiteral("similar")); });
            } else if (!scopes.isEmpty()) {
                stores.duplicates->scan(scopes);
            }
        };
    };
    list.append({QStringLiteral("duplicates-similar-idle"), duplicates(true, {}), false, 400});
    list.append({QStringLiteral("duplicates-exact-finished"), duplicates(false, full)});
    list.append({QStringLiteral("duplicates-exact-scanning"), duplicates(false, full), true, 250});
    list.append({QStringLiteral("duplicates-similar-scanning"), duplicates(true, full), true, 260});
    list.append({QStringLiteral("duplicates-similar-finished"), duplicates(true, full), false, 400});
    list.append({QStringLiteral("duplicates-similar-empty"), duplicates(true, none), false, 400});
    list.append({QStringLiteral("duplicates-exact-empty"), duplicates(false, none)});
    // Last, so that the exact scan the other screens show is whole again.
    list.append({QStringLiteral("duplicates-exact-groups-again"), duplicates(false, full)});
    return list;
}

void Snapshots::start()
{
    m_window = qobject_cast<QQuickWindow *>(m_engine.rootObjects().value(0));
    m_stores = &UiStores::of(&m_engine);
    if (!m_window || !m_stores->state) {
        QCoreApplication::exit(1);
        return;
    }
    connect(m_window, &QQuickWindow::frameSwapped, this, [this] { m_sinceFrame.restart(); });
    m_screens = screens();
    if (!m_only.isEmpty())
        m_screens.removeIf([this](const Screen &screen) { return !m_only.contains(screen.name); });
    if (m_screens.isEmpty()) {
        qWarning("velk: no screen of that name to draw");
        QCoreApplication::exit(1);
        return;
    }
    m_sinceFrame.start();
    m_clock.start();
    // The first screens wait for the warm-up's collections, as a person's first look would.
    QTextStream(stdout) << "snapshot: drawing " << m_screens.size() << " screens in light and dark into " << m_folder << Qt::endl;
    next();
}

void Snapshots::reset()
{
    AppState &state = *m_stores->state;
    state.setSearchText(QString());
    state.setSelection(SidebarItem::home());
    state.setFolderPath({});
    state.setViewMode(ViewMode::grid);
    state.setCardSize(CardSize::medium);
    state.setSidebarCollapsed(false);
    state.setKindFilter(std::nullopt);
    state.setDateFilter(DateFilter::any);
    state.setSizeFilter(SizeFilter::any);
    state.setSelectedFiles({});
    state.setFocusedItem(std::nullopt);
    // Menus left open by the screen before close with a press of Escape.
    if (m_window)
        QMetaObject::invokeMethod(m_window->contentItem(), "forceActiveFocus");
}

void Snapshots::next()
{
    // Each screen light, then dark, before the next: what a screen leaves behind (a scan) is the same
    // for both.
    if (m_position >= 0 && !m_dark) {
        m_dark = true;
    } else {
        m_dark = false;
        ++m_position;
    }
    if (m_position == m_screens.size()) {
        QCoreApplication::exit(m_failures == 0 ? 0 : 1);
        return;
    }
    ColorScheme::setOverride(m_dark);
    reset();
    const Screen &screen = m_screens[m_position];
    m_clock.restart();
    // The reset above settles first, so the screen's own changes start from a plain window.
    QTimer::singleShot(100, this, [this, &screen] {
        m_clock.restart();
        screen.setUp();
        if (screen.immediate) {
            QTimer::singleShot(std::max(60, screen.notBeforeMs), this, &Snapshots::capture);
            return;
        }
        m_sinceFrame.restart();
        m_poll.start();
    });
}

void Snapshots::waitForSettled()
{
    const LibraryStore &store = *m_stores->store;
    const QString typed = m_stores->state->searchText().trimmed();
    const bool storesIdle = !store.isSearching() && store.loading().isEmpty() && (typed.isEmpty() || store.searchedQuery() == typed)
        && m_warmUp.chainStep() >= 3 && ImageSources::pending() == 0 && !m_stores->cleanup->loading() && !m_stores->sources->loading()
        && !m_stores->duplicates->phase().isRunning() && !m_stores->duplicates->similarPhase().isRunning();
    if (m_clock.elapsed() >= kSettleLimitMs)
        qWarning("velk: still busy: searching %d, loading %d, query %d, chain %d, pictures %d, last frame %lld ms ago", store.isSearching(),
            int(store.loading().size()), typed.isEmpty() || store.searchedQuery() == typed, m_warmUp.chainStep(), ImageSources::pending(),
            m_sinceFrame.elapsed());
    const bool due = m_clock.elapsed() >= m_screens[m_position].notBeforeMs;
    if ((due && storesIdle && m_sinceFrame.elapsed() >= kQuietMs) || m_clock.elapsed() >= kSettleLimitMs) {
        m_poll.stop();
        capture();
    }
}

void Snapshots::capture()
{
    const Screen &screen = m_screens[m_position];
    const qint64 took = m_clock.elapsed();
    const QString file = QDir(m_folder).filePath(screen.name + (m_dark ? QStringLiteral("-dark.png") : QStringLiteral("-light.png")));
    const QImage image = m_window->grabWindow();
    const bool saved = !image.isNull() && image.save(file);
    if (!saved) {
        ++m_failures;
        qWarning("velk: could not write %s", qPrintable(file));
    }
    QTextStream(stdout) << "snapshot: " << QFileInfo(file).fileName() << "  settled in " << took << " ms"
                        << (took >= kSettleLimitMs ? " (did not settle; drawn as it stood)" : "") << Qt::endl;
    next();
}
