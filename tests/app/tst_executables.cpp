#include "TestHome.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QTest>

// The two programs as a person starts them: the window draws and quits cleanly, the command explains
// itself.
class TestExecutables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void windowDrawsAndQuits()
    {
        TestHome home;
        const QString out = home.path(QStringLiteral("shots"));
        QProcess velk;
        velk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        velk.start(QStringLiteral(VELK_BIN), {QStringLiteral("--snapshot"), out, QStringLiteral("--only"), QStringLiteral("home,collection-images")});
        QVERIFY(velk.waitForFinished(90000));
        QCOMPARE(velk.exitStatus(), QProcess::NormalExit);
        QCOMPARE(velk.exitCode(), 0);

        for (const char *name : {"home-light", "home-dark", "collection-images-light", "collection-images-dark"}) {
            const QImage shot(out + QStringLiteral("/%1.png").arg(QLatin1StringView(name)));
            QVERIFY2(!shot.isNull(), name);
            QVERIFY(shot.width() >= 1000 && shot.height() >= 640);
            // Something was drawn: words and symbols, not a blank.
            QSet<QRgb> colours;
            for (int y = 0; y < shot.height(); y += 3) {
                for (int x = 0; x < 252; x += 3)
                    colours.insert(shot.pixel(x, y));
            }
            QVERIFY2(colours.size() > 20, name);
        }
        // The dark appearance really is darker.
        const QImage light(out + QStringLiteral("/home-light.png"));
        const QImage dark(out + QStringLiteral("/home-dark.png"));
        QVERIFY(qGray(dark.pixel(dark.width() - 40, dark.height() - 40)) < qGray(light.pixel(light.width() - 40, light.height() - 40)));
    }

    void findExplainsItself()
    {
        QProcess find;
        find.start(QStringLiteral(VELK_FIND_BIN), {QStringLiteral("--help")});
        QVERIFY(find.waitForFinished(10000));
        QCOMPARE(find.exitCode(), 0);
        const QString help = QString::fromUtf8(find.readAllStandardOutput());
        for (const char *option : {"--raw", "--scope", "--count", "--json", "--update"})
            QVERIFY2(help.contains(QLatin1StringView(option)), option);

        // A sentence is explained without any index: the chips in their order, and the query text.
        TestHome home;
        home.setUserDirs({{"XDG_DOWNLOAD_DIR", "Downloads"}, {"XDG_VIDEOS_DIR", "Videos"}});
        find.start(QStringLiteral(VELK_FIND_BIN), {"--explain", "--json", "big videos from last week in downloads"});
        QVERIFY(find.waitForFinished(10000));
        QCOMPARE(find.exitCode(), 0);
        const QJsonObject explained = QJsonDocument::fromJson(find.readAllStandardOutput()).object();
        QCOMPARE(explained["chips"].toArray().toVariantList(), (QVariantList {"Videos", "Last week", "Over 100 MB", "In Downloads"}));
        QCOMPARE(explained["folder"].toString(), home.path("Downloads"));
        QVERIFY(explained["query"].toString().startsWith("(((kMDItemContentTypeTree == 'public.movie') && kMDItemFSName != '*.ts'c) && "));

        find.start(QStringLiteral(VELK_FIND_BIN), {});
        QVERIFY(find.waitForFinished(10000));
        QCOMPARE(find.exitCode(), 2);
        QVERIFY(find.readAllStandardError().contains("Usage:"));
    }

    // Neither program parses a file itself: the libraries that do are linked into the worker alone.
    void parsingLibrariesLiveInTheWorkerOnly()
    {
        const auto needed = [](const QString &binary) {
            QProcess readelf;
            readelf.start(QStringLiteral("readelf"), {QStringLiteral("-d"), binary});
            readelf.waitForFinished(10000);
            return QString::fromUtf8(readelf.readAllStandardOutput());
        };
        const QStringList parsers {"libpoppler", "libtesseract", "libexiv2", "libtag.so", "libraw", "libheif", "libffmpegthumbnailer", "libavformat"};
        for (const QString &binary : {QStringLiteral(VELK_BIN), QStringLiteral(VELK_FIND_BIN)}) {
            const QString libraries = needed(binary);
            QVERIFY2(libraries.contains("NEEDED"), qPrintable(binary));
            for (const QString &parser : parsers)
                QVERIFY2(!libraries.contains(parser), qPrintable(binary + " links " + parser));
        }
        const QString worker = needed(QStringLiteral(VELK_WORKER_BIN));
        for (const QString &parser : parsers)
            QVERIFY2(worker.contains(parser), qPrintable("the worker does not link " + parser));
    }
};

QTEST_GUILESS_MAIN(TestExecutables)
#include "tst_executables.moc"
