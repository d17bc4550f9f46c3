#pragma once

#include "cleanup/CleanupStore.h"
#include "duplicates/DuplicateFinder.h"
#include "player/Player.h"
#include "search/LibraryStore.h"
#include "sources/SourceStore.h"
#include "state/AppState.h"
#include "text/TextIndex.h"
#include "updates/AppUpdater.h"

#include <QQmlEngine>
#include <QtQml/qqmlregistration.h>

class Thumbnails;

// The long-lived stores one window works with. The program builds them once, in their fixed order;
// a test builds its own. Neither owns them through this record.
struct Stores {
    AppState *state = nullptr;
    LibraryStore *store = nullptr;
    Player *player = nullptr;
    TextIndex *textIndex = nullptr;
    DuplicateFinder *duplicates = nullptr;
    CleanupStore *cleanup = nullptr;
    SourceStore *sources = nullptr;
    AppUpdater *updater = nullptr;
    Thumbnails *thumbnails = nullptr;
};

namespace UiStores {

// Hands the stores to the QML of `engine` (as the singletons AppState, LibraryStore, ...) and installs
// the image providers. Call before loading any QML; the stores must outlive the engine.
void attach(QQmlEngine &engine, const Stores &stores);
// The stores of the engine that runs `object`'s QML, or of `engine`.
const Stores &of(const QQmlEngine *engine);
const Stores &of(const QObject *object);

} // namespace UiStores

// The stores as QML singletons: each returns the one instance attached to the asking engine.
#define VELK_STORE_SINGLETON(Type, field)                                                                                                                      \
    struct Type##Foreign {                                                                                                                                     \
        Q_GADGET                                                                                                                                               \
        QML_FOREIGN(Type)                                                                                                                                      \
        QML_NAMED_ELEMENT(Type)                                                                                                                                \
        QML_SINGLETON                                                                                                                                          \
    public:                                                                                                                                                    \
        static Type *create(QQmlEngine *engine, QJSEngine *) { return UiStores::of(engine).field; }                                                            \
    };

VELK_STORE_SINGLETON(AppState, state)
VELK_STORE_SINGLETON(LibraryStore, store)
VELK_STORE_SINGLETON(Player, player)
VELK_STORE_SINGLETON(TextIndex, textIndex)
VELK_STORE_SINGLETON(DuplicateFinder, duplicates)
VELK_STORE_SINGLETON(CleanupStore, cleanup)
VELK_STORE_SINGLETON(SourceStore, sources)
VELK_STORE_SINGLETON(AppUpdater, updater)

// FileItem and the toast reach QML as values whose properties it reads.
struct FileItemForeign {
    Q_GADGET
    QML_FOREIGN(FileItem)
    QML_ANONYMOUS
};
