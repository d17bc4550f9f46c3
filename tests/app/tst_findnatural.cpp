#include "Samples.h"
#include "TestHome.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <memory>

// Everyday searches through velk-find over a home folder of real files: pictures with camera tags,
// screenshots, a download with its address, a PDF and tagged songs. Each search must print exactly the
// files a person would expect, and none of the look-alikes placed next to them.
class TestFindNatural : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;

    // The paths velk-find prints, relative to the home folder and sorted.
    QStringList find(const QStringList &arguments) const
    {
        QProcess find;
        find.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        find.start(QStringLiteral(VELK_FIND_BIN), arguments);
        if (!find.waitForFinished(120000) || find.exitStatus() != QProcess::NormalExit || find.exitCode() != 0)
            return {QStringLiteral("velk-find failed: ") + arguments.join(QLatin1Char(' '))};
        QStringList paths;
        const QString prefix = m_home->root() + QLatin1Char('/');
        for (const QString &line : QString::fromUtf8(find.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            paths.append(line.startsWith(prefix) ? line.mid(prefix.size()) : line);
        paths.sort();
        return paths;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = std::make_unique<TestHome>();
        TestHome &home = *m_home;
        QString error;

        QVERIFY2(samples::jpeg(home.path("Pictures/IMG_0412.JPG"), 64, 48, {"set Exif.Image.Make Canon", "set Exif.Image.Model Canon EOS R5"}, &error),
            qPrintable(error));
        QVERIFY2(samples::jpeg(home.path("Pictures/DSC_0001.jpg"), 64, 48, {"set Exif.Image.Make NIKON CORPORATION", "set Exif.Image.Model NIKON Z 6"}, &error),
            qPrintable(error));

        QVERIFY(samples::png(home.path("Pictures/Screenshot from 2024-05-06 07-08-09.png"), 32, 20));
        QVERIFY(samples::png(home.path("Pictures/Screenshots/capture-17.png"), 32, 20));
        QVERIFY(samples::png(home.path("Pictures/holiday.png"), 32, 20));

        const QString release = home.file("Downloads/velk-main.zip", "PK\x05\x06" + QByteArray(18, '\0'));
        const QString other = home.file("Downloads/tool-main.zip", "PK\x05\x06" + QByteArray(18, '\0'));
        if (!TestHome::setXattr(release, "user.xdg.origin.url", "https://github.com/velk/velk/archive/main.zip")
            || !TestHome::setXattr(other, "user.xdg.origin.url", "https://gitlab.com/tool/tool/-/archive/main.zip"))
            QSKIP("no user extended attributes on this file system");
        QVERIFY(TestHome::setXattr(release, "user.xdg.referrer.url", "https://github.com/velk/velk"));
        // From a machine on the local network, named by its address.
        QVERIFY(TestHome::setXattr(
            home.file("Downloads/firmware.zip", "PK\x05\x06" + QByteArray(18, '\0')), "user.xdg.origin.url", "http://192.168.1.20/files/firmware.zip"));

        // Office files of both families, and a drawing.
        QVERIFY2(samples::odt(home.path("Documents/minutes.odt"), "<text:p>Minutes</text:p>", "Minutes", &error), qPrintable(error));
        const auto odf = [&](const char *relative, const char *mimeType) {
            return samples::zip(home.path(relative), {{"mimetype", mimeType}, {"content.xml", "<office:document-content/>"}}, true, &error);
        };
        QVERIFY2(odf("Documents/budget.ods", "application/vnd.oasis.opendocument.spreadsheet"), qPrintable(error));
        QVERIFY2(odf("Documents/talk.odp", "application/vnd.oasis.opendocument.presentation"), qPrintable(error));
        QVERIFY2(odf("Documents/diagram.odg", "application/vnd.oasis.opendocument.graphics"), qPrintable(error));
        QVERIFY2(
            samples::ooxml(home.path("Documents/letter.docx"), {{"word/document.xml", samples::docxBody("<w:p><w:r><w:t>Dear</w:t></w:r></w:p>")}}, &error),
            qPrintable(error));
        QVERIFY2(samples::ooxml(home.path("Documents/deck.pptx"), {{"ppt/slides/slide1.xml", samples::slide("Plan")}}, &error), qPrintable(error));
        QVERIFY2(samples::ooxml(home.path("Documents/figures.xlsx"), {{"xl/workbook.xml", "<workbook/>"}}, &error), qPrintable(error));

        // The word is inside the PDF only, not in its name.
        QVERIFY(samples::pdf(home.path("Documents/scan-0001.pdf"), "Scan", {"INVOICE number 4711", "Total due: 99 EUR"}));
        QVERIFY(samples::pdf(home.path("Documents/scan-0002.pdf"), "Scan", {"Minutes of the meeting"}));

        const std::pair<const char *, QStringList> songs[] = {
            {"Music/Okafor/01 Tide.flac", {"artist=Miriam Okafor", "album=Harbour Lights", "title=Tide"}},
            {"Music/Okafor/02 Night Tram.wav", {"artist=Miriam Okafor", "album=Late Trains", "title=Night Tram"}},
            {"Music/various/03 Lanterns.flac", {"artist=The Quay Singers", "album=Harbour Lights", "title=Lanterns"}},
            {"Music/various/04 Drift.flac", {"artist=Ola Brenner", "album=Open Water", "title=Drift"}},
        };
        for (const auto &[relative, tags] : songs) {
            QDir().mkpath(QFileInfo(home.path(QString::fromUtf8(relative))).absolutePath());
            QVERIFY2(samples::audio(home.path(QString::fromUtf8(relative)), tags, &error), qPrintable(error));
        }

        // Apps the person installed, and the programs the recently used list says opened files: one
        // yesterday, one over a year ago, one never.
        home.file(
            ".local/share/applications/org.example.Sketch.desktop", "[Desktop Entry]\nType=Application\nName=Sketch\nExec=env GDK_BACKEND=x11 sketch %U\n");
        home.file(".local/share/applications/org.example.Ledger.desktop", "[Desktop Entry]\nType=Application\nName=Ledger\nExec=ledger-gtk\n");
        home.file(".local/share/applications/org.example.Radio.desktop", "[Desktop Entry]\nType=Application\nName=Radio\nExec=radio %u\n");
        const QByteArray appImage = QByteArray("\x7f"
                                               "ELF\x02\x01\x01\x00"
                                               "AI\x02",
                                        11)
            + QByteArray(4096, '\0');
        QFile::setPermissions(
            home.file("Applications/Tracer-2.1-x86_64.AppImage", appImage), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QFile::setPermissions(home.file("Applications/Mixer-0.9.AppImage", appImage), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        const QByteArray yesterday = QDateTime::currentDateTimeUtc().addDays(-1).toString(Qt::ISODate).toLatin1();
        const QByteArray lastYear = QDateTime::currentDateTimeUtc().addDays(-400).toString(Qt::ISODate).toLatin1();
        const QByteArray tide = QUrl::fromLocalFile(home.path("Music/Okafor/01 Tide.flac")).toEncoded();
        home.file(".local/share/recently-used.xbel",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\" xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\">\n"
            "<bookmark href=\""
                + tide + "\" added=\"" + lastYear + "\" modified=\"" + yesterday + "\" visited=\"" + yesterday
                + "\"><info><metadata owner=\"http://freedesktop.org\">"
                  "<bookmark:applications>"
                  "<bookmark:application name=\"Sketch\" exec=\"&apos;sketch %u&apos;\" modified=\""
                + yesterday
                + "\" count=\"3\"/>"
                  "<bookmark:application name=\"Tracer\" exec=\"&apos;tracer %u&apos;\" modified=\""
                + yesterday
                + "\" count=\"1\"/>"
                  "<bookmark:application name=\"Ledger\" exec=\"&apos;ledger-gtk %u&apos;\" modified=\""
                + lastYear
                + "\" count=\"1\"/>"
                  "</bookmark:applications></metadata></info></bookmark>\n</xbel>\n");

        QProcess update;
        update.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        update.start(QStringLiteral(VELK_FIND_BIN), {"--update"});
        QVERIFY(update.waitForFinished(120000));
        QCOMPARE(update.exitCode(), 0);
    }

    void naturalSearch_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("camera") << "shot on canon" << QStringList {"Pictures/IMG_0412.JPG"};
        QTest::newRow("camera with kind") << "photos shot on nikon" << QStringList {"Pictures/DSC_0001.jpg"};
        // By name and by the screenshots folder; the folder itself is named so.
        QTest::newRow("screenshots") << "screenshots"
                                     << QStringList {
                                            "Pictures/Screenshot from 2024-05-06 07-08-09.png", "Pictures/Screenshots", "Pictures/Screenshots/capture-17.png"};
        QTest::newRow("source") << "from github" << QStringList {"Downloads/velk-main.zip"};
        QTest::newRow("inside a pdf") << "invoice" << QStringList {"Documents/scan-0001.pdf"};
        QTest::newRow("pdf with word") << "pdfs invoice" << QStringList {"Documents/scan-0001.pdf"};
        QTest::newRow("artist") << "songs by miriam okafor" << QStringList {"Music/Okafor/01 Tide.flac", "Music/Okafor/02 Night Tram.wav"};
        QTest::newRow("album") << "harbour lights songs" << QStringList {"Music/Okafor/01 Tide.flac", "Music/various/03 Lanterns.flac"};
        QTest::newRow("presentations") << "presentations" << QStringList {"Documents/deck.pptx", "Documents/talk.odp"};
        QTest::newRow("spreadsheets") << "spreadsheets" << QStringList {"Documents/budget.ods", "Documents/figures.xlsx"};
        QTest::newRow("word documents") << "word documents" << QStringList {"Documents/letter.docx", "Documents/minutes.odt"};
        QTest::newRow("drawing by its ending") << "odg" << QStringList {"Documents/diagram.odg"};
        QTest::newRow("artist, one word") << "music by brenner" << QStringList {"Music/various/04 Drift.flac"};
    }

    void naturalSearch()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, expected);
        QCOMPARE(find({text}), expected);
    }

    // The applications folder in the home folder is a root of its own: inside the home scope all the
    // same, and named as a folder.
    void nestedRootAndItsName()
    {
        const QString home = m_home->root();
        QCOMPARE(find({"--raw", "kMDItemFSName == 'Tracer*'", "--scope", home}), QStringList {"Applications/Tracer-2.1-x86_64.AppImage"});
        QCOMPARE(find({"--raw", "kMDItemFSName == 'Applications'"}), QStringList {"Applications"});
    }

    void addressSource()
    {
        QProcess sources;
        sources.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        sources.start(QStringLiteral(VELK_FIND_BIN), {"--sources", "--json"});
        QVERIFY(sources.waitForFinished(120000));
        QCOMPARE(sources.exitCode(), 0);
        QStringList names;
        for (const QJsonValue &group : QJsonDocument::fromJson(sources.readAllStandardOutput()).object()["sources"].toArray())
            names.append(group["name"].toString());
        QVERIFY2(names.contains("192.168.1.20"), qPrintable(names.join(", ")));
        QVERIFY2(!names.contains("1.20"), qPrintable(names.join(", ")));
    }

    // Apps the recently used list names as opened lately are not offered for removal; the rest are.
    void unusedApps()
    {
        QProcess cleanup;
        cleanup.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        cleanup.start(QStringLiteral(VELK_FIND_BIN), {"--cleanup", "--json"});
        QVERIFY(cleanup.waitForFinished(120000));
        QCOMPARE(cleanup.exitCode(), 0);
        const QJsonObject kinds = QJsonDocument::fromJson(cleanup.readAllStandardOutput()).object()["cleanup"].toObject()["kinds"].toObject();
        QStringList unused;
        for (const QJsonValue &item : kinds["unusedApps"].toObject()["items"].toArray())
            unused.append(item.toObject()["path"].toString().mid(m_home->root().size() + 1));
        unused.sort();
        QCOMPARE(unused,
            (QStringList {".local/share/applications/org.example.Ledger.desktop", ".local/share/applications/org.example.Radio.desktop",
                "Applications/Mixer-0.9.AppImage"}));

        // The same dates answer queries.
        QCOMPARE(find({"--raw", "kMDItemContentTypeTree == 'com.apple.application-bundle' && kMDItemLastUsedDate >= $time.today(-7)"}),
            (QStringList {".local/share/applications/org.example.Sketch.desktop", "Applications/Tracer-2.1-x86_64.AppImage"}));
    }

    // The collections the app fills at start, each with its developer line on standard error.
    void collections()
    {
        QProcess find;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("VELK_DEBUG", "1");
        find.setProcessEnvironment(environment);
        find.start(QStringLiteral(VELK_FIND_BIN), {"--collections", "--json"});
        QVERIFY(find.waitForFinished(120000));
        QCOMPARE(find.exitCode(), 0);
        QHash<QString, qint64> counts;
        for (const QJsonValue &row : QJsonDocument::fromJson(find.readAllStandardOutput()).object()["collections"].toArray())
            counts.insert(row["title"].toString(), row["totalCount"].toInteger());
        QCOMPARE(counts.size(), 9);
        QCOMPARE(counts["Screenshots"], 2);
        QCOMPARE(counts["Music"], 4);
        QCOMPARE(counts["Images"], 5);
        const QString debug = QString::fromUtf8(find.readAllStandardError());
        QCOMPARE(debug.count(QLatin1StringView("[velk] ")), 9);
        QVERIFY2(debug.contains(QLatin1StringView("[velk] Screenshots: 2 items\n")), qPrintable(debug));
    }
};

QTEST_MAIN(TestFindNatural)
#include "tst_findnatural.moc"
