#include "TestHome.h"
#include "thumbnails/FileIcons.h"
#include "thumbnails/IconTheme.h"
#include "thumbnails/MimeApps.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray entry(const char *name, const char *mimeTypes, const QByteArray &extra = {})
{
    return "[Desktop Entry]\nType=Application\nName=" + QByteArray(name) + "\nExec=true\nMimeType=" + mimeTypes + "\n" + extra;
}

} // namespace

class TestFileIcons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultApplications_data()
    {
        QTest::addColumn<QString>("mimeType");
        QTest::addColumn<QString>("app"); // file name below ~/.local/share/applications, empty for none
        QTest::newRow("first installed default") << u"image/png"_s << u"viewer.desktop"_s;
        QTest::newRow("hidden default, removed association") << u"image/jpeg"_s << QString();
        QTest::newRow("entry in a subfolder") << u"application/pdf"_s << u"kde/okular.desktop"_s;
        QTest::newRow("default of a parent type") << u"image/x-canon-cr2"_s << u"viewer.desktop"_s;
        QTest::newRow("default from a less important list") << u"image/gif"_s << u"editor.desktop"_s;
        QTest::newRow("nothing takes it") << u"application/x-zerosize"_s << QString();
    }

    void defaultApplications()
    {
        QFETCH(QString, mimeType);
        QFETCH(QString, app);
        TestHome home;
        home.file(u".local/share/applications/viewer.desktop"_s, entry("Viewer", "image/png;image/tiff;"));
        home.file(u".local/share/applications/editor.desktop"_s, entry("Editor", "image/png;image/jpeg;"));
        home.file(u".local/share/applications/kde/okular.desktop"_s, entry("Okular", "application/pdf;"));
        home.file(u".local/share/applications/secret.desktop"_s, entry("Secret", "image/jpeg;", "Hidden=true\n"));
        home.file(u".config/mimeapps.list"_s,
            "[Default Applications]\n"
            "image/png=missing.desktop;viewer.desktop;\n"
            "image/jpeg=secret.desktop;\n"
            "image/tiff=viewer.desktop\n"
            "[Removed Associations]\n"
            "image/jpeg=editor.desktop;\n");
        home.file(u".local/share/applications/mimeapps.list"_s,
            "[Default Applications]\n"
            "image/png=editor.desktop;\n"
            "image/gif=editor.desktop;\n");

        const QString expected = app.isEmpty() ? QString() : home.path(u".local/share/applications/"_s + app);
        QCOMPARE(MimeApps::defaultApplication(mimeType), expected);
    }

    void changedListsAreReadAgain()
    {
        TestHome home;
        home.file(u".local/share/applications/viewer.desktop"_s, entry("Viewer", "image/webp;"));
        home.file(u".local/share/applications/other.desktop"_s, entry("Other", "image/webp;"));
        QCOMPARE(QFileInfo(MimeApps::defaultApplication(u"image/webp"_s)).dir().dirName(), u"applications"_s);
        home.file(u".config/mimeapps.list"_s, "[Default Applications]\nimage/webp=other.desktop\n");
        QCOMPARE(MimeApps::defaultApplication(u"image/webp"_s), home.path(u".local/share/applications/other.desktop"_s));
    }

    void iconNames_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<QString>("first");
        QTest::newRow("pictures folder") << u"Pictures"_s << u"folder-pictures"_s;
        QTest::newRow("renamed videos folder") << u"Filme"_s << u"folder-videos"_s;
        QTest::newRow("plain folder") << u"Projects"_s << u"inode-directory"_s;
        QTest::newRow("home") << QString() << u"user-home"_s;
        QTest::newRow("PNG") << u"a.png"_s << u"image-png"_s;
        QTest::newRow("launcher") << u".local/share/applications/viewer.desktop"_s << u"org.example.viewer"_s;
    }

    void iconNames()
    {
        QFETCH(QString, relative);
        QFETCH(QString, first);
        TestHome home;
        home.setUserDirs({{u"XDG_PICTURES_DIR"_s, u"Pictures"_s}, {u"XDG_VIDEOS_DIR"_s, u"Filme"_s}});
        home.folder(u"Projects"_s);
        home.file(u"a.png"_s);
        home.file(u".local/share/applications/viewer.desktop"_s, entry("Viewer", "image/png;", "Icon=org.example.viewer\n"));
        QCOMPARE(FileIcons::iconNames(relative.isEmpty() ? home.root() : home.path(relative)).value(0), first);
    }

    void iconsAreDrawnFromTheTheme()
    {
        TestHome home;
        // A theme of the user's own, found first and inheriting the installed ones for the rest.
        home.file(u".local/share/icons/Mine/index.theme"_s,
            "[Icon Theme]\nName=Mine\nInherits=hicolor\nDirectories=mimetypes/48\n\n[mimetypes/48]\nSize=48\nType=Fixed\n");
        home.folder(u".local/share/icons/Mine/mimetypes/48"_s);
        QImage mine(48, 48, QImage::Format_ARGB32);
        mine.fill(Qt::magenta);
        QVERIFY(mine.save(home.path(u".local/share/icons/Mine/mimetypes/48/image-png.png"_s)));
        home.file(u".config/kdeglobals"_s, "[Icons]\nTheme=Mine\n");
        QCOMPARE(IconTheme::current(), u"Mine"_s);
        // The installed theme every other inherits, with a scalable icon.
        home.systemFile(u"icons/hicolor/index.theme"_s,
            "[Icon Theme]\nName=Hicolor\nDirectories=scalable/mimetypes\n\n[scalable/mimetypes]\nSize=64\nMinSize=8\nMaxSize=512\nType=Scalable\n");
        home.systemFile(u"icons/hicolor/scalable/mimetypes/application-pdf.svg"_s,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"64\" height=\"64\"><rect x=\"4\" y=\"4\" width=\"56\" height=\"56\" fill=\"#00ff00\"/></svg>");

        const QImage png = FileIcons::iconForFile(home.file(u"photo.png"_s), 96);
        QCOMPARE(png.size(), QSize(96, 96));
        QCOMPARE(png.pixelColor(48, 48), QColor(Qt::magenta));

        // Names the theme lacks come from the installed themes; their SVGs are drawn at the size asked.
        const QImage pdf = FileIcons::iconForFile(home.file(u"report.pdf"_s), 200);
        QCOMPARE(std::max(pdf.width(), pdf.height()), 200);
        QCOMPARE(pdf.pixelColor(100, 100), QColor(Qt::green));
        QVERIFY(!IconTheme::lookup(u"application-pdf"_s, 200).isEmpty());

        // A launcher's icon may be a file of its own.
        QImage own(32, 32, QImage::Format_ARGB32);
        own.fill(Qt::cyan);
        QVERIFY(own.save(home.path(u"own.png"_s)));
        const QString launcher = home.file(u"tool.desktop"_s, entry("Tool", "", "Icon=" + home.path(u"own.png"_s).toUtf8() + "\n"));
        QCOMPARE(FileIcons::iconForFile(launcher, 64).pixelColor(32, 32), QColor(Qt::cyan));

        QVERIFY(IconTheme::lookup(u"no-such-icon-anywhere"_s, 64).isEmpty());
    }
};

QTEST_MAIN(TestFileIcons)
#include "tst_fileicons.moc"
