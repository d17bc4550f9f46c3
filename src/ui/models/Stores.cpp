#include "Stores.h"

#include "providers/ImageProviders.h"
#include "thumbnails/Thumbnails.h"

#include <QHash>
#include <QQmlContext>

namespace {

QHash<const QQmlEngine *, Stores> &registry()
{
    static QHash<const QQmlEngine *, Stores> stores;
    return stores;
}

} // namespace

namespace UiStores {

void attach(QQmlEngine &engine, const Stores &stores)
{
    registry().insert(&engine, stores);
    if (stores.thumbnails)
        engine.addImageProvider(QStringLiteral("thumbnail"), new ThumbnailProvider(*stores.thumbnails));
    engine.addImageProvider(QStringLiteral("fileicon"), new FileIconProvider);
    engine.addImageProvider(QStringLiteral("appicon"), new FileIconProvider(FileIconProvider::Kind::defaultApp));
    engine.addImageProvider(QStringLiteral("preview"), new DocumentPictureProvider(DocumentPictureProvider::Kind::picture));
    engine.addImageProvider(QStringLiteral("pdfpage"), new DocumentPictureProvider(DocumentPictureProvider::Kind::pdfPage));
    QObject::connect(&engine, &QObject::destroyed, [key = &engine] { registry().remove(key); });
    // The stores belong to C++: QML must never collect them.
    for (QObject *store : std::initializer_list<QObject *> {
             stores.state, stores.store, stores.player, stores.textIndex, stores.duplicates, stores.cleanup, stores.sources, stores.updater}) {
        if (store)
            QJSEngine::setObjectOwnership(store, QJSEngine::CppOwnership);
    }
}

const Stores &of(const QQmlEngine *engine)
{
    static const Stores none;
    const auto found = registry().constFind(engine);
    return found == registry().cend() ? none : *found;
}

const Stores &of(const QObject *object)
{
    return of(qmlEngine(object));
}

} // namespace UiStores
