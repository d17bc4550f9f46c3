#include "TestHome.h"
#include "mdindex/RecentlyUsed.h"
#include "places/RecentlyUsedReader.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QDateTime utc(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs).toUTC();
}

} // namespace

class TestRecentlyUsed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void latestStampOfEachFile()
    {
        // As GTK writes it: microseconds, escaped addresses, the same file listed twice, a web page.
        const QByteArray xbel = "<?xml version='1.0' encoding='UTF-8'?>\n"
                                "<xbel version='1.0' xmlns:bookmark='http://www.freedesktop.org/standards/desktop-bookmarks'"
                                " xmlns:mime='http://www.freedesktop.org/standards/shared-mime-info'>\n"
                                "  <bookmark href='file:///home/ada/Downloads/My%20Report.pdf' added='2024-01-02T10:00:00.123456Z'"
                                " modified='2024-01-03T10:00:00.500000Z' visited='2024-01-05T08:30:00.250000Z'>\n"
                                "    <info><metadata owner='http://freedesktop.org'><mime:mime-type type='application/pdf'/>\n"
                                "      <bookmark:applications><bookmark:application name='Evince' exec='&apos;evince %u&apos;'"
                                " modified='2024-06-01T00:00:00Z' count='2'/></bookmark:applications>\n"
                                "    </metadata></info>\n"
                                "  </bookmark>\n"
                                "  <bookmark href='file:///home/ada/Pictures/a.png' added='2023-05-01T00:00:00Z' modified='2023-07-01T12:00:00Z'"
                                " visited='2023-06-01T00:00:00Z'/>\n"
                                "  <bookmark href='file:///home/ada/Pictures/a.png' added='2023-01-01T00:00:00Z' modified='2023-02-01T00:00:00Z'"
                                " visited='2023-03-01T00:00:00Z'/>\n"
                                "  <bookmark href='https://example.com/page' added='2024-01-01T00:00:00Z' modified='2024-01-01T00:00:00Z'"
                                " visited='2024-01-01T00:00:00Z'/>\n"
                                "  <bookmark href='file:///home/ada/undated.txt' added='2024-01-01T00:00:00Z'/>\n"
                                "</xbel>\n";
        const QHash<QString, QDateTime> stamps = RecentlyUsedReader::parse(xbel);
        QCOMPARE(stamps.size(), 2);
        // Visited is later than modified here; the application's own stamp is not the bookmark's.
        QCOMPARE(stamps.value(u"/home/ada/Downloads/My Report.pdf"_s), utc("2024-01-05T08:30:00.250Z"));
        // Of two listings the later stamp, whichever attribute holds it.
        QCOMPARE(stamps.value(u"/home/ada/Pictures/a.png"_s), utc("2023-07-01T12:00:00Z"));
    }

    void missingOrBrokenLists()
    {
        TestHome home;
        QCOMPARE(RecentlyUsedReader::defaultPath(), home.path(u".local/share/recently-used.xbel"_s));
        QVERIFY(RecentlyUsedReader::read().isEmpty());

        home.file(u".local/share/recently-used.xbel"_s, "this is not XML at all \x01\x02");
        QVERIFY(RecentlyUsedReader::read().isEmpty());

        // Cut off mid-write: what came before the fault still counts.
        home.file(u".local/share/recently-used.xbel"_s,
            "<?xml version=\"1.0\"?><xbel version=\"1.0\">"
            "<bookmark href=\"file:///home/ada/a.txt\" modified=\"2024-02-01T00:00:00Z\" visited=\"2024-02-01T00:00:00Z\"/>"
            "<bookmark href=\"file:///home/ada/b.txt\" modified=\"2024-0");
        const QHash<QString, QDateTime> stamps = RecentlyUsedReader::read();
        QCOMPARE(stamps.keys(), QStringList {u"/home/ada/a.txt"_s});

        // Stamps that are not dates are ignored.
        QVERIFY(RecentlyUsedReader::parse("<xbel><bookmark href='file:///a' visited='yesterday' modified=''/></xbel>").isEmpty());
    }

    void programsOfTheList()
    {
        // Each program once, with the latest time it opened anything, web pages included.
        const RecentlyUsedReader::Contents contents = RecentlyUsedReader::parseContents(
            "<xbel version='1.0' xmlns:bookmark='http://www.freedesktop.org/standards/desktop-bookmarks'>"
            "<bookmark href='file:///a.pdf' modified='2024-01-01T00:00:00Z'><info><metadata><bookmark:applications>"
            "<bookmark:application name='Document Viewer' exec='&apos;evince %u&apos;' modified='2024-03-01T10:00:00.500000Z' count='1'/>"
            "<bookmark:application name='gedit' exec='gedit %U' timestamp='1700000000' count='1'/>"
            "<bookmark:application name='Undated' exec='undated %u'/>"
            "</bookmark:applications></metadata></info></bookmark>"
            "<bookmark href='https://example.com/' modified='2024-01-01T00:00:00Z'><info><metadata><bookmark:applications>"
            "<bookmark:application name='Document Viewer' exec='&apos;evince %u&apos;' modified='2024-05-01T00:00:00Z' count='1'/>"
            "</bookmark:applications></metadata></info></bookmark></xbel>");
        QCOMPARE(contents.files.keys(), QStringList {u"/a.pdf"_s});
        QCOMPARE(contents.applications.size(), 2);
        QCOMPARE(contents.applications[0].name, u"Document Viewer"_s);
        QCOMPARE(contents.applications[0].program, u"evince"_s);
        QCOMPARE(contents.applications[0].lastUsed, utc("2024-05-01T00:00:00Z"));
        QCOMPARE(contents.applications[1].program, u"gedit"_s);
        QCOMPARE(contents.applications[1].lastUsed, QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC));
    }

    void programOfACommand_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("program");
        QTest::newRow("as GLib quotes it") << u"'evince %u'"_s << u"evince"_s;
        QTest::newRow("quoted path inside") << u"''\\''/opt/My App/bin/tool'\\'' %u'"_s << u"tool"_s;
        QTest::newRow("desktop entry quoting") << u"\"/opt/My App/bin/tool\" --new-window %F"_s << u"tool"_s;
        QTest::newRow("env") << u"env LANG=C GDK_BACKEND=x11 /usr/bin/evince %U"_s << u"evince"_s;
        QTest::newRow("flatpak command") << u"/usr/bin/flatpak run --branch=stable --command=gnome-text-editor org.gnome.TextEditor @@u %U @@"_s
                                         << u"gnome-text-editor"_s;
        QTest::newRow("flatpak app") << u"flatpak run --branch=stable org.example.App"_s << u"org.example.App"_s;
        QTest::newRow("nothing") << u"  "_s << QString();
        QTest::newRow("unclosed quote") << u"\"tool"_s << u"tool"_s;
    }

    void programOfACommand()
    {
        QFETCH(QString, command);
        QFETCH(QString, program);
        QCOMPARE(RecentlyUsedReader::programOf(command), program);
    }

    void appsTakeTheirLastUse()
    {
        TestHome home;
        const QString apps = home.folder(u".local/share/applications"_s);
        const QString viewer = home.file(u".local/share/applications/org.example.Viewer.desktop"_s,
            "[Desktop Entry]\nType=Application\nName=Viewer\nExec=env GDK_SCALE=2 /opt/viewer/bin/viewer %U\n");
        const QString editor = home.file(u".local/share/applications/org.gnome.TextEditor.desktop"_s,
            "[Desktop Entry]\nType=Application\nName=Text Editor\nExec=flatpak run org.gnome.TextEditor %U\n");
        const QString okular = home.file(u".local/share/applications/kde/okular.desktop"_s, "[Desktop Entry]\nType=Application\nExec=reader %U\n");
        home.file(u".local/share/applications/other.desktop"_s, "[Desktop Entry]\nType=Application\nName=Other\nExec=other\n");
        home.file(u".local/share/applications/viewer-site.desktop"_s, "[Desktop Entry]\nType=Link\nURL=https://viewer.example\nExec=viewer\n");
        const QString krita = home.file(u"Applications/Krita-5.2.2-x86_64.AppImage"_s, "x");
        home.file(u"Applications/Mixer.AppImage"_s, "x");
        home.file(u"Applications/unpacked/krita.AppImage"_s, "x");

        const QList<RecentlyUsedReader::Application> used {
            {u"Viewer"_s, u"viewer"_s, utc("2024-01-01T00:00:00Z")},
            {u"Viewer"_s, u"viewer"_s, utc("2024-02-01T00:00:00Z")},
            {u"Text Editor"_s, u"org.gnome.TextEditor"_s, utc("2024-03-01T00:00:00Z")},
            {u"kde-okular"_s, u"okular"_s, utc("2024-04-01T00:00:00Z")},
            {u"krita"_s, u"krita"_s, utc("2024-05-01T00:00:00Z")},
        };
        const QHash<QString, qint64> lastUsed = mdindex::applicationsLastUsed(used, {apps, home.path(u"Applications"_s)});
        QCOMPARE(lastUsed.size(), 4);
        QCOMPARE(lastUsed.value(viewer), utc("2024-02-01T00:00:00Z").toMSecsSinceEpoch());
        QCOMPARE(lastUsed.value(editor), utc("2024-03-01T00:00:00Z").toMSecsSinceEpoch());
        QCOMPARE(lastUsed.value(okular), utc("2024-04-01T00:00:00Z").toMSecsSinceEpoch());
        QCOMPARE(lastUsed.value(krita), utc("2024-05-01T00:00:00Z").toMSecsSinceEpoch());
    }
};

QTEST_GUILESS_MAIN(TestRecentlyUsed)
#include "tst_recentlyusedreader.moc"
