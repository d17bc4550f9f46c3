#pragma once

#include "Session.h"
#include "TestIndex.h"
#include "mdindex/WorkerExtractors.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <memory>

// The real window over a real index of a test home: a test fills `home`, then open()s the window and
// drives it with the mouse and keys, finding items by their object names.
struct WindowFixture {
    TestHome home;
    std::unique_ptr<mdindex::MetadataIndex> index;
    std::unique_ptr<Session> session;
    std::unique_ptr<QQmlApplicationEngine> engine;
    QQuickWindow *window = nullptr;

    // `readContents`: the index reads what is inside the files too, through the parsing workers, as
    // the program's index does; otherwise it knows names, sizes and dates only.
    void open(bool readContents = false)
    {
        index = std::make_unique<mdindex::MetadataIndex>(indexOptions(home));
        if (readContents) {
            for (auto &extractor : mdindex::workerExtractors(ParseWorkers::Priority::interactive))
                index->addExtractor(std::move(extractor));
        }
        index->open();
        index->update();
        session = std::make_unique<Session>(*index,
            Session::Options {.settingsPath = home.path(QStringLiteral(".config/velk/Velk.conf")),
                .updateFeed = {},
                .warmUp = true,
                .mediaControls = false,
                .readText = false});
        engine = std::make_unique<QQmlApplicationEngine>();
        session->attach(*engine);
        engine->load(QUrl(QStringLiteral("qrc:/Velk/Main.qml")));
        window = qobject_cast<QQuickWindow *>(engine->rootObjects().value(0));
        if (window) {
            window->requestActivate();
            (void)QTest::qWaitForWindowExposed(window);
        }
    }
    ~WindowFixture()
    {
        engine.reset();
        session.reset();
    }

    const Stores &stores() const { return session->stores(); }
    AppState &state() const { return *stores().state; }
    LibraryStore &store() const { return *stores().store; }

    // Views' delegates are children of the scene, not always of their view's object: walk the scene.
    QQuickItem *find(const QString &name) const
    {
        const auto visit = [&name](auto &&self, QQuickItem *item) -> QQuickItem * {
            if (item->objectName() == name && item->isVisible())
                return item;
            for (QQuickItem *child : item->childItems()) {
                if (QQuickItem *found = self(self, child))
                    return found;
            }
            return nullptr;
        };
        return visit(visit, window->contentItem());
    }
    QString text(const QString &name) const
    {
        QQuickItem *item = find(name);
        return item ? item->property("text").toString() : QStringLiteral("<no %1>").arg(name);
    }
    bool enabled(const QString &name) const
    {
        QQuickItem *item = find(name);
        return item && item->isEnabled();
    }
    QPoint centre(QQuickItem *item) const { return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint(); }

    bool click(QQuickItem *item, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {}) const
    {
        if (!item)
            return false;
        QTest::mouseClick(window, button, modifiers, centre(item));
        return true;
    }
    // Clicks the middle of the named item once it is on screen and laid out; false when it never is.
    bool click(const QString &name) const
    {
        QQuickItem *item = nullptr;
        const auto shown = [&] { return (item = find(name)) && item->width() > 0 && item->height() > 0; };
        if (!QTest::qWaitFor(shown, 5000))
            return false;
        // One more turn of the loop, for a layout that placed it just now.
        QTest::qWait(30);
        return click(item);
    }
    void type(const QString &text) const
    {
        for (const QChar c : text)
            QTest::keyClick(window, c.toLatin1());
    }
};
