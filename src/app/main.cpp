#include "Keyboard.h"
#include "Session.h"
#include "Snapshots.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/WorkerExtractors.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

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
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/logo/org.velk.Velk.svg")));
    Keyboard::setProvider([] { return QGuiApplication::queryKeyboardModifiers(); });

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A calm, fast finder for your home folders."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("snapshot"), QStringLiteral("Draw the screens into PNG files in <folder> and quit."), QStringLiteral("folder")});
    parser.addOption({QStringLiteral("only"), QStringLiteral("With --snapshot: draw only these screens (comma-separated names)."), QStringLiteral("names")});
    parser.process(app);

    if (!snapshotFolder.isEmpty() && !QDir().mkpath(snapshotFolder)) {
        qWarning("velk: cannot create %s", qPrintable(snapshotFolder));
        return 1;
    }

    auto &index = mdindex::MetadataIndex::shared();

    // The stores outlive the engine whose QML reads them.
    Session session(index,
        {.settingsPath = {},
            .updateFeed = QUrl(QString::fromLocal8Bit(qgetenv("VELK_UPDATE_FEED"))),
            .warmUp = true,
            .mediaControls = snapshotFolder.isEmpty(),
            .readText = snapshotFolder.isEmpty()});
    QQmlApplicationEngine engine;
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, &app, [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);

    if (snapshotFolder.isEmpty()) {
        // Answers come from the stored index at once; it catches up with the disk in the background.
        for (auto &extractor : mdindex::workerExtractors(ParseWorkers::Priority::background))
            index.addExtractor(std::move(extractor));
        index.startWatching();
    }

    session.attach(engine);
    engine.load(QUrl(QStringLiteral("qrc:/Velk/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;

    std::unique_ptr<Snapshots> snapshots;
    if (!snapshotFolder.isEmpty()) {
        snapshots = std::make_unique<Snapshots>(
            engine, *session.warmUp(), snapshotFolder, parser.value(QStringLiteral("only")).split(QLatin1Char(','), Qt::SkipEmptyParts));
        snapshots->start();
    }
    const int status = app.exec();
    if (snapshotFolder.isEmpty())
        index.stopWatching();
    return status;
}
