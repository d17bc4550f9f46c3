#include "Snapshots.h"

#include "ColorScheme.h"

#include "ImageProviders.h"
#include "PreviewModels.h"
#include "Stores.h"
#include "UserPlaces.h"
#include "sources/DownloadSources.h"
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
    // The From menu shows when the list holds files from two sites or more: the downloads folder.
    list.append({QStringLiteral("from-menu-open"),
        [this, state] {
            if (const auto downloads = UserPlaces::userFolder(UserPlaces::UserFolder::downloads))
                state->openFolder(FilePath::toUrl(*downloads));
            QTimer::singleShot(600, this, [this] { call(QStringLiteral("filterPill:From"), "openMenu"); });
        },
        false, 900});
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
    previewScreens(list);
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

std::optional<FileItem> Snapshots::firstFile(const std::function<bool(const FileItem &)> &accept) const
{
    const LibraryStore &store = *m_stores->store;
    for (const SidebarItem &item : WarmUp::workList()) {
        if (const auto result = store.collection(item)) {
            for (const FileItem &file : result->items) {
                if (accept(file))
                    return file;
            }
        }
    }
    return std::nullopt;
}

void Snapshots::previewScreens(QList<Screen> &list)
{
    AppState *state = m_stores->state;
    const auto kind = [](const char *wanted) { return [wanted](const FileItem &item) { return QuickLook::kindOf(item) == QLatin1String(wanted); }; };
    // The sheet over the list the file came from, as a person opens it.
    const auto preview = [this, state](std::function<bool(const FileItem &)> accept) {
        return [this, state, accept] {
            const auto file = firstFile(accept);
            if (!file) {
                qWarning("velk: snapshot found no file of that kind in the library");
                return;
            }
            QList<FileItem> around;
            for (const SidebarItem &item : WarmUp::workList()) {
                if (const auto result = m_stores->store->collection(item); result && result->items.contains(*file)) {
                    around = result->items;
                    break;
                }
            }
            state->selectKey(QStringLiteral("category/") + file->category.rawValue());
            state->preview(*file, around);
        };
    };
    const qsizetype first = list.size();
    list.append({QStringLiteral("preview-photo"), preview([](const FileItem &item) {
                     return QuickLook::kindOf(item) == QLatin1String("picture") && !item.name.startsWith(QLatin1String("Screenshot"));
                 })});
    list.append({QStringLiteral("preview-pdf-page"), preview(kind("pdf"))});
    list.append({QStringLiteral("preview-video"), preview(kind("video")), false, 1500, {}, true});
    // Plain text is in none of the library's kinds: the places are walked for a file that reads as text.
    list.append({QStringLiteral("preview-text"), [state] {
                     for (const Location &place : Location::standard()) {
                         QDirIterator walk(FilePath::fromUrl(place.url), QDir::Files, QDirIterator::Subdirectories);
                         for (int seen = 0; walk.hasNext() && seen < 5000; ++seen) {
                             const auto file = FileItem::fromUrl(FilePath::toUrl(walk.next()));
                             if (file && QuickLook::kindOf(*file) == QLatin1String("text") && !TextFileModel::read(file->path(), 4096).failed) {
                                 state->preview(*file, {*file});
                                 return;
                             }
                         }
                     }
                 }});
    // A screenshot with its words selectable and the first few selected.
    list.append({QStringLiteral("preview-live-text"),
        [state, preview] {
            state->setLiveTextMode(true);
            preview([](const FileItem &item) {
                return item.name.startsWith(QLatin1String("Screenshot")) && QuickLook::kindOf(item) == QLatin1String("picture");
            })();
        },
        false, 0,
        [this] {
            QQuickItem *live = item(QStringLiteral("liveTextImage"));
            QObject *words = live ? live->property("words").value<QObject *>() : nullptr;
            if (!words || words->property("count").toInt() == 0)
                return m_clock.elapsed() > 6000;
            if (!words->property("hasSelection").toBool())
                QMetaObject::invokeMethod(words, "select", Q_ARG(int, 0), Q_ARG(int, std::min(3, words->property("count").toInt() - 1)));
            return true;
        }});
    const auto inspect = [state](std::function<std::optional<FileItem>()> pick) {
        return [state, pick] {
            if (const auto file = pick()) {
                state->setFocusedItem(file);
                state->setSelectedFiles({file->url});
            }
            state->setShowInspector(true);
        };
    };
    list.append({QStringLiteral("inspector-picture"),
        inspect([this] { return firstFile([](const FileItem &item) { return item.category == FileCategory::images; }); })});
    list.append({QStringLiteral("inspector-download"), inspect([this] {
                     return firstFile([](const FileItem &item) {
                         return item.path().contains(QLatin1String("/Downloads/")) && DownloadSources::source(item.url).has_value();
                     });
                 })});
    list.append({QStringLiteral("inspector-folder"), inspect([] {
                     // A folder of the library rather than the home itself.
                     const QList<Location> places = Location::standard();
                     for (qsizetype i = places.size() - 1; i >= 0; --i) {
                         if (auto folder = FileItem::fromUrl(places[i].url); folder && places[i].url != FilePath::toUrl(QDir::homePath()))
                             return std::optional(*folder);
                     }
                     return std::optional<FileItem>();
                 })});
    for (qsizetype i = first; i < list.size(); ++i)
        list[i].fromLibrary = true;
}

bool Snapshots::libraryLoaded() const
{
    return m_stores->store->loading().isEmpty() && m_warmUp.chainStep() >= 3;
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
    // Screens that pick their file from the library start once its collections are in.
    const bool waits = std::any_of(m_screens.cbegin(), m_screens.cend(), [](const Screen &screen) { return screen.fromLibrary; });
    if (!waits) {
        next();
        return;
    }
    auto *poll = new QTimer(this);
    poll->setInterval(50);
    connect(poll, &QTimer::timeout, this, [this, poll] {
        if (!libraryLoaded() && m_clock.elapsed() < 3 * kSettleLimitMs)
            return;
        poll->deleteLater();
        next();
    });
    poll->start();
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
    state.setPreviewItem(std::nullopt);
    state.setShowInspector(false);
    state.setLiveTextMode(false);
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
    m_clock.restart();
    // The reset above settles first, so the screen's own changes start from a plain window.
    QTimer::singleShot(100, this, &Snapshots::setUpScreen);
}

void Snapshots::setUpScreen()
{
    const Screen &screen = m_screens[m_position];
    // A screen that picks its file from the library waits for its collections (they reload when
    // the index sees a change).
    if (screen.fromLibrary && !libraryLoaded() && m_clock.elapsed() < kSettleLimitMs) {
        QTimer::singleShot(50, this, &Snapshots::setUpScreen);
        return;
    }
    m_clock.restart();
    screen.setUp();
    if (screen.immediate) {
        QTimer::singleShot(std::max(60, screen.notBeforeMs), this, &Snapshots::capture);
        return;
    }
    m_sinceFrame.restart();
    m_poll.start();
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
    const Screen &screen = m_screens[m_position];
    const bool due = m_clock.elapsed() >= screen.notBeforeMs && (!screen.ready || screen.ready());
    const bool quiet = screen.moving || m_sinceFrame.elapsed() >= kQuietMs;
    if ((due && storesIdle && quiet) || m_clock.elapsed() >= kSettleLimitMs) {
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
