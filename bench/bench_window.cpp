// The window's speed over the present home folder (HOME), in process, offscreen with the software
// renderer, as bench/window.sh runs it on generated homes with their index built:
//   - launch to the first frame, and to all nine warm-up loads in the sidebar;
//   - the last keystroke of "pdfs from last week" to its results laid out (the pause included);
//   - the longest stall of the main thread while starting, typing, and scrolling a grid of up to
//     3,000 pictures to its end, by a timer that measures its own lateness;
//   - delegates alive and resident memory with that grid on screen.
// Peers in the same process: the first frame of an empty window, and (in the script) find for the
// same question.
#include "Session.h"
#include "WindowBench.h"
#include "mdindex/MetadataIndex.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

using namespace windowbench;

namespace {

qint64 residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

double firstFrameOfEmptyWindow()
{
    QElapsedTimer clock;
    clock.start();
    QQuickWindow window;
    window.resize(1320, 860);
    bool drawn = false;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&] { drawn = true; });
    window.show();
    waitFor([&] { return drawn; }, 10000);
    return double(clock.nsecsElapsed()) / 1e6;
}

int countDelegates(QQuickItem *list)
{
    auto *flickable = list;
    QQuickItem *content = flickable->property("contentItem").value<QQuickItem *>();
    int count = 0;
    const auto visit = [&](auto &&self, QQuickItem *item) -> void {
        for (QQuickItem *child : item->childItems()) {
            if (child->objectName().isEmpty() && child->inherits("QQuickLoader"))
                ++count;
            self(self, child);
        }
    };
    if (content)
        visit(visit, content);
    return count;
}

} // namespace

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
        std::fputs("bench_window: the window did not load\n", stderr);
        return 1;
    }
    bool framed = false;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] { framed = true; });
    waitFor([&] { return framed; });
    const double firstFrame = double(launch.nsecsElapsed()) / 1e6;

    const Stores &stores = session.stores();
    const auto allLoaded = [&] {
        for (const SidebarItem &item : WarmUp::workList()) {
            if (!stores.store->collection(item))
                return false;
        }
        return true;
    };
    waitFor(allLoaded);
    framed = false;
    waitFor([&] { return framed; });
    const double nineLoads = double(launch.nsecsElapsed()) / 1e6;
    const double startStall = stalls.takeWorstMs();

    // Typing, one key every 70 ms, as a quick typist.
    auto *field = findItem(window->contentItem(), QStringLiteral("searchInput"));
    if (!field) {
        std::fputs("bench_window: no search field\n", stderr);
        return 1;
    }
    window->requestActivate();
    field->forceActiveFocus();
    const QString sentence = QStringLiteral("pdfs from last week");
    for (const QChar c : sentence) {
        QTest::keyClick(window, c.toLatin1());
        waitFor([] { return false; }, 70);
    }
    QElapsedTimer typed;
    typed.start();
    waitFor([&] { return stores.store->searchedQuery() == sentence && !stores.store->isSearching(); });
    framed = false;
    waitFor([&] { return framed; });
    const double searchMs = double(typed.nsecsElapsed()) / 1e6;
    const double typingStall = stalls.takeWorstMs();
    const qint64 matches = stores.store->searchResult() ? stores.store->searchResult()->items.size() : 0;

    // The grid of pictures, scrolled to its end a screen at a time.
    stores.state->setSearchText(QString());
    stores.state->selectKey(QStringLiteral("category/images"));
    waitFor([&] { return stores.store->collection(SidebarItem::category(FileCategory::images)).has_value(); });
    waitFor([] { return false; }, 500);
    auto *list = findItem(window->contentItem(), QStringLiteral("browserList"));
    const qint64 pictures = stores.store->collection(SidebarItem::category(FileCategory::images))->items.size();
    stalls.takeWorstMs();
    int delegatesMax = 0;
    if (list) {
        while (!list->property("atYEnd").toBool()) {
            list->setProperty("contentY", list->property("contentY").toDouble() + 120);
            framed = false;
            waitFor([&] { return framed; }, 2000);
            delegatesMax = std::max(delegatesMax, countDelegates(list));
        }
    }
    const double scrollStall = stalls.takeWorstMs();
    const qint64 rss = residentKiB();
    const double emptyFirstFrame = firstFrameOfEmptyWindow();

    std::printf("launch to first frame        %8.0f ms   (an empty window's first frame: %.0f ms, ratio %.1fx)\n", firstFrame, emptyFirstFrame,
        firstFrame / std::max(1.0, emptyFirstFrame));
    std::printf("launch to nine loads shown   %8.0f ms\n", nineLoads);
    std::printf("last key to results laid out %8.0f ms   (%lld matches, pause of 220 ms included)\n", searchMs, qlonglong(matches));
    std::printf("longest stall: start-up      %8.1f ms\n", startStall);
    std::printf("longest stall: typing        %8.1f ms\n", typingStall);
    std::printf("longest stall: scrolling     %8.1f ms   (%lld pictures)\n", scrollStall, qlonglong(pictures));
    std::printf("delegates alive (most)       %8d\n", delegatesMax);
    std::printf("resident memory              %8.0f MiB\n", double(rss) / 1024.0);
    return 0;
}
