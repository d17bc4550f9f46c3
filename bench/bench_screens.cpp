// The first screen and the duplicates screen over the present home folder (HOME), in process,
// offscreen with the software renderer, as bench/screens.sh runs them on a generated home with its
// index built:
//   - launch to the home screen complete: the nine collections, the clean-up suggestions, the
//     download sources and the duplicate scan all in, and a frame drawn with them; the longest
//     stall of the main thread meanwhile, after the first frame and before it, by a timer that
//     measures its own lateness;
//   - the duplicates screen: from choosing it to its groups drawn, and scrolling its column of groups
//     to the end (showing sixty more each time the end is reached), with the longest stall.
#include "Session.h"
#include "WindowBench.h"
#include "mdindex/MetadataIndex.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

using namespace windowbench;

int main(int argc, char *argv[])
{
    QElapsedTimer launch;
    launch.start();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication app(argc, argv);
    StallMeter stalls;

    auto &index = mdindex::MetadataIndex::shared();
    Session session(index, {});
    QQmlApplicationEngine engine;
    session.attach(engine);
    engine.load(QUrl(QStringLiteral("qrc:/Velk/Main.qml")));
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    if (!window) {
        std::fputs("bench_screens: the window did not load\n", stderr);
        return 1;
    }
    bool framed = false;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] { framed = true; });

    // The stall before the first frame (the index store opening) apart from those after it.
    waitFor([&] { return framed; });
    const double firstFrameMs = double(launch.nsecsElapsed()) / 1e6;
    const double beforeFrameStall = stalls.takeWorstMs();

    const Stores &stores = session.stores();
    if (qEnvironmentVariableIsSet("BENCH_STALLS")) {
        const auto mark = [&launch](const char *what) { std::fprintf(stderr, "%s at %.0f ms\n", what, double(launch.nsecsElapsed()) / 1e6); };
        QObject::connect(stores.cleanup, &CleanupStore::resultsChanged, [mark] { mark("a clean-up kind"); });
        QObject::connect(stores.sources, &SourceStore::groupsChanged, [mark] { mark("sources"); });
        QObject::connect(stores.duplicates, &DuplicateFinder::exactChanged, [mark] { mark("exact groups"); });
        QObject::connect(stores.store, &LibraryStore::collectionChanged, [mark] { mark("a collection"); });
    }
    const auto suggestionsIn = [&] {
        for (const SidebarItem &item : WarmUp::workList()) {
            if (!stores.store->collection(item))
                return false;
        }
        return stores.cleanup->loadedToken() >= 0 && stores.sources->hasLoaded();
    };
    const auto homeComplete = [&] { return suggestionsIn() && stores.duplicates->phase().kind == DuplicateFinder::Phase::finished; };
    if (waitFor(suggestionsIn, 600000) < 0) {
        std::fputs("bench_screens: the home screen did not fill\n", stderr);
        return 1;
    }
    const double filledMs = double(launch.nsecsElapsed()) / 1e6;
    if (waitFor(homeComplete, 600000) < 0) {
        std::fputs("bench_screens: the home screen did not complete\n", stderr);
        return 1;
    }
    framed = false;
    waitFor([&] { return framed; });
    const double homeMs = double(launch.nsecsElapsed()) / 1e6;
    const double homeStall = stalls.takeWorstMs();
    const qsizetype groups = stores.duplicates->exact().size();

    QElapsedTimer shown;
    shown.start();
    stores.state->selectKey(QStringLiteral("duplicates"));
    QQuickItem *list = nullptr;
    waitFor([&] {
        list = findItem(window->contentItem(), QStringLiteral("duplicateGroups"));
        return list && (groups == 0 || list->property("count").toInt() > 0);
    });
    framed = false;
    waitFor([&] { return framed; });
    const double showMs = double(shown.nsecsElapsed()) / 1e6;
    const double showStall = stalls.takeWorstMs();

    QElapsedTimer scrolled;
    scrolled.start();
    int screens = 0;
    while (list) {
        if (list->property("atYEnd").toBool()) {
            QQuickItem *more = findItem(window->contentItem(), QStringLiteral("showMoreButton"));
            if (!more || !more->isVisible())
                break;
            QMetaObject::invokeMethod(more, "clicked");
        } else {
            list->setProperty("contentY", list->property("contentY").toDouble() + 240);
            ++screens;
        }
        framed = false;
        waitFor([&] { return framed; }, 2000);
    }
    const double scrollMs = double(scrolled.nsecsElapsed()) / 1e6;
    const double scrollStall = stalls.takeWorstMs();

    std::printf("launch to home filled        %8.0f ms   (nine collections, clean-up, sources)\n", filledMs);
    std::printf("launch to home complete      %8.0f ms   (and the duplicate scan: %lld files)\n", homeMs, qlonglong(stores.duplicates->scannedFiles()));
    std::printf("longest stall: until then    %8.1f ms   (before the first frame, at %.0f ms: %.1f ms)\n", homeStall, firstFrameMs, beforeFrameStall);
    std::printf("duplicates screen shown      %8.0f ms   (%lld groups)\n", showMs, qlonglong(groups));
    std::printf("longest stall: showing       %8.1f ms\n", showStall);
    std::printf("scrolled to the last group   %8.0f ms   (%d steps of 240 px)\n", scrollMs, screens);
    std::printf("longest stall: scrolling     %8.1f ms\n", scrollStall);
    return 0;
}
