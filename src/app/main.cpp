#include "Keyboard.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/WorkerExtractors.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

namespace {

// Draws the window once it has rendered and writes it as a PNG into `folder`, then quits.
void snapshotWhenReady(QQmlApplicationEngine &engine, const QString &folder)
{
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    if (!window) {
        QCoreApplication::exit(1);
        return;
    }
    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [window, folder] {
            // Let queued layout and image loads settle before drawing.
            QTimer::singleShot(300, window, [window, folder] {
                const QImage image = window->grabWindow();
                const QString file = QDir(folder).filePath(QStringLiteral("home.png"));
                const bool saved = !image.isNull() && image.save(file);
                if (!saved)
                    qWarning("velk: could not write %s", qPrintable(file));
                QCoreApplication::exit(saved ? 0 : 1);
            });
        },
        Qt::SingleShotConnection);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::setApplicationName(QStringLiteral("Velk"));
    QCoreApplication::setOrganizationName(QStringLiteral("Velk"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELK_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.velk.Velk"));

    // The snapshot mode must choose its renderer before the application object exists.
    QString snapshotFolder;
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--snapshot") == 0)
            snapshotFolder = QString::fromLocal8Bit(argv[i + 1]);
    }
    if (!snapshotFolder.isEmpty()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }

    QGuiApplication app(argc, argv);
    Keyboard::setProvider([] { return QGuiApplication::queryKeyboardModifiers(); });

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A calm, fast finder for your home folders."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("snapshot"), QStringLiteral("Draw the screens into PNG files in <folder> and quit."), QStringLiteral("folder")});
    parser.process(app);

    if (!snapshotFolder.isEmpty() && !QDir().mkpath(snapshotFolder)) {
        qWarning("velk: cannot create %s", qPrintable(snapshotFolder));
        return 1;
    }

    QQmlApplicationEngine engine;
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, &app, [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.load(QUrl(QStringLiteral("qrc:/Velk/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;

    if (!snapshotFolder.isEmpty()) {
        snapshotWhenReady(engine, snapshotFolder);
    } else {
        // Answers come from the stored index at once; it catches up with the disk in the background.
        auto &index = mdindex::MetadataIndex::shared();
        for (auto &extractor : mdindex::workerExtractors(ParseWorkers::Priority::background))
            index.addExtractor(std::move(extractor));
        index.startWatching();
    }
    const int status = app.exec();
    if (snapshotFolder.isEmpty())
        mdindex::MetadataIndex::shared().stopWatching();
    return status;
}
