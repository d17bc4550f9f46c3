#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <functional>
#include <optional>

struct FileItem;

class QQmlApplicationEngine;
class QQuickWindow;
class QQuickItem;
class WarmUp;
struct Stores;

// `velk --snapshot DIR`: walks the window through its screens over the present home folder, waits for
// each to settle, and writes one PNG per screen and appearance, with a line saying how long it took.
class Snapshots : public QObject
{
    Q_OBJECT

public:
    // `only` names the screens to draw; empty for all of them.
    Snapshots(QQmlApplicationEngine &engine, WarmUp &warmUp, QString folder, QStringList only = {});
    void start();

private:
    struct Screen {
        QString name;
        std::function<void()> setUp;
        // Drawn at once, before the stores answer: the loading state.
        bool immediate = false;
        // Something the screen opens after a while (a menu): not drawn before this.
        int notBeforeMs = 0;
        // Drawn once this holds (and the rest has settled); none: at once.
        std::function<bool()> ready = {};
        // Its content moves by itself (a video): drawn without waiting for the frames to stop.
        bool moving = false;
        // Set up only once the warm-up's collections are in: it picks its file from them.
        bool fromLibrary = false;
    };
    bool libraryLoaded() const;
    // The first file of the loaded collections that `accept` takes.
    std::optional<FileItem> firstFile(const std::function<bool(const FileItem &)> &accept) const;
    void previewScreens(QList<Screen> &list);

    QList<Screen> screens();
    QList<Screen> reviewScreens();
    void reset();
    void next();
    void setUpScreen();
    void waitForSettled();
    void capture();
    QQuickItem *item(const QString &objectName) const;
    void call(const QString &objectName, const char *method, const QVariant &argument = {});

    QQmlApplicationEngine &m_engine;
    WarmUp &m_warmUp;
    QString m_folder;
    QStringList m_only;
    QQuickWindow *m_window = nullptr;
    const Stores *m_stores = nullptr;
    QList<Screen> m_screens;
    qsizetype m_position = -1;
    bool m_dark = false;
    QElapsedTimer m_clock;
    QElapsedTimer m_sinceFrame;
    QTimer m_poll;
    int m_failures = 0;
};
